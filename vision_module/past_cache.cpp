#include "vision_module/past_cache.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/past_cache.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void CopyPastCacheHere(uint8_t *target, const uint8_t *source, size_t size)
{
    std::memcpy(target, source, size);
}

void ClearPastCacheHere(uint8_t *target, size_t size)
{
    std::memset(target, 0, size);
}

#else

constexpr size_t lineBytes = 64;
using Vectors = hn::CappedTag<uint8_t, lineBytes>;

/// The number of bytes before the first whole cache line.
size_t HeadOf(const uint8_t *target, size_t size)
{
    return std::min(size, (lineBytes - reinterpret_cast<uintptr_t>(target) % lineBytes) % lineBytes);
}

void CopyPastCacheHere(uint8_t *target, const uint8_t *source, size_t size)
{
    const Vectors d;
    auto done = HeadOf(target, size);
    std::memcpy(target, source, done);
    for (; size - done >= lineBytes; done += lineBytes)
    {
        for (auto i = done; i < done + lineBytes; i += hn::Lanes(d))
        {
            hn::Stream(hn::LoadU(d, source + i), d, target + i);
        }
    }
    std::memcpy(target + done, source + done, size - done);
}

void ClearPastCacheHere(uint8_t *target, size_t size)
{
    const Vectors d;
    auto done = HeadOf(target, size);
    std::memset(target, 0, done);
    for (; size - done >= lineBytes; done += lineBytes)
    {
        for (auto i = done; i < done + lineBytes; i += hn::Lanes(d))
        {
            hn::Stream(hn::Zero(d), d, target + i);
        }
    }
    std::memset(target + done, 0, size - done);
    hwy::FlushStream();
}

#endif

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(CopyPastCacheHere);
HWY_EXPORT(ClearPastCacheHere);

void CopyPastCache(uint8_t *target, const uint8_t *source, size_t size)
{
    HWY_DYNAMIC_DISPATCH(CopyPastCacheHere)(target, source, size);
}

void FinishPastCache()
{
    hwy::FlushStream();
}

void ClearPastCache(uint8_t *target, size_t size)
{
    HWY_DYNAMIC_DISPATCH(ClearPastCacheHere)(target, size);
}

} // namespace tarn::vision

#endif
