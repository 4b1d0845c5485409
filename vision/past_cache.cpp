#include "vision/past_cache.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision/past_cache.cpp"
#include <hwy/foreach_target.h>
// Highway wants its own header after that one.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

void ClearPastCacheHere(uint8_t *target, size_t size)
{
#if HWY_TARGET == HWY_SCALAR
    std::memset(target, 0, size);
#else
    constexpr size_t line = 64;
    const hn::CappedTag<uint8_t, line> d;
    const auto head = std::min(size, (line - reinterpret_cast<uintptr_t>(target) % line) % line);
    std::memset(target, 0, head);
    size_t done = head;
    for (; size - done >= line; done += line)
    {
        for (size_t i = 0; i < line; i += hn::Lanes(d))
        {
            hn::Stream(hn::Zero(d), d, target + done + i);
        }
    }
    std::memset(target + done, 0, size - done);
    hwy::FlushStream();
#endif
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(ClearPastCacheHere);

void ClearPastCache(uint8_t *target, size_t size)
{
    HWY_DYNAMIC_DISPATCH(ClearPastCacheHere)(target, size);
}

} // namespace tarn::vision

#endif
