#include "vision_module/scale.h"

#include "vision_module/past_cache.h"
#include "vision_module/samples.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/scale.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE void ScaleOneByOne(const uint8_t *samples, size_t begin, size_t end, double factor,
                              uint8_t *floats)
{
    for (auto i = begin; i < end; ++i)
    {
        Store(floats, i, static_cast<float>(Load<uint16_t>(samples, i) * factor));
    }
}

#if HWY_TARGET == HWY_SCALAR

void ScaleWordsHere(const uint8_t *samples, size_t count, double factor, uint8_t *floats)
{
    ScaleOneByOne(samples, 0, count, factor, floats);
}

#else

using Doubles = hn::ScalableTag<double>;
using Floats = hn::Rebind<float, Doubles>;

constexpr size_t vectorBytes = hn::MaxLanes(Floats()) * sizeof(float);

template <bool isPastCache>
size_t ScaleVectors(const uint8_t *samples, size_t done, size_t count, double factor, uint8_t *floats)
{
    const Doubles d;
    const Floats single;
    const hn::Rebind<int32_t, Doubles> whole;
    const hn::Rebind<uint16_t, Doubles> words;
    const auto factors = hn::Set(d, factor);
    for (; count - done >= hn::Lanes(d); done += hn::Lanes(d))
    {
        const auto sample = hn::LoadU(words, reinterpret_cast<const uint16_t *>(samples) + done);
        const auto scaled = hn::Mul(hn::PromoteTo(d, hn::PromoteTo(whole, sample)), factors);
        auto *const to = reinterpret_cast<float *>(floats) + done;
        if constexpr (isPastCache)
        {
            hn::Stream(hn::DemoteTo(single, scaled), single, to);
        }
        else
        {
            hn::StoreU(hn::DemoteTo(single, scaled), single, to);
        }
    }
    return done;
}

void ScaleWordsHere(const uint8_t *samples, size_t count, double factor, uint8_t *floats)
{
    // A vector of 8 bytes cannot be streamed, so its alignment does not matter.
    constexpr bool isStreamable = vectorBytes >= 16;
    [[maybe_unused]] const auto beyond = reinterpret_cast<uintptr_t>(floats) % vectorBytes;
    size_t done = 0;
    if (isStreamable && count * sizeof(float) >= pastCacheFrom && beyond % sizeof(float) == 0)
    {
        const auto head = beyond == 0 ? 0 : (vectorBytes - beyond) / sizeof(float);
        ScaleOneByOne(samples, 0, head, factor, floats);
        done = ScaleVectors<isStreamable>(samples, head, count, factor, floats);
        hwy::FlushStream();
    }
    else
    {
        done = ScaleVectors<false>(samples, 0, count, factor, floats);
    }
    ScaleOneByOne(samples, done, count, factor, floats);
}

#endif

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(ScaleWordsHere);

void ScaleWords(const uint8_t *samples, size_t count, double factor, uint8_t *floats)
{
    HWY_DYNAMIC_DISPATCH(ScaleWordsHere)(samples, count, factor, floats);
}

} // namespace tarn::vision

#endif
