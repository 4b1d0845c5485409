#include "vision_module/shift.h"

namespace tarn::vision
{

namespace
{

template <typename From, typename To>
void ShiftAs(uint32_t fromDepth, const uint8_t *source, uint32_t toDepth, uint8_t *target, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i)
    {
        Store(target, i, static_cast<To>(ShiftSample(Load<From>(source, i), fromDepth, toDepth)));
    }
}

} // namespace

void ShiftSamples(common::PixelFormat from, const uint8_t *source, common::PixelFormat to, uint8_t *target,
                  uint64_t count)
{
    constexpr uint32_t byte = 8;
    const auto fromDepth = DepthOf(from);
    const auto toDepth = DepthOf(to);
    const auto shift = fromDepth == byte
                           ? (toDepth == byte ? ShiftAs<uint8_t, uint8_t> : ShiftAs<uint8_t, uint16_t>)
                           : (toDepth == byte ? ShiftAs<uint16_t, uint8_t> : ShiftAs<uint16_t, uint16_t>);
    shift(fromDepth, source, toDepth, target, count);
}

} // namespace tarn::vision
