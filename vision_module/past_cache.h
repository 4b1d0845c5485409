#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// Images that become this large or larger are written past the caches, which do not keep all of it for
/// whoever reads it next. What is written in whole lines need not be read before, which is a third of the
/// traffic. Smaller images stay in a cache, and to read them from there saves more.
constexpr uint64_t pastCacheFrom = uint64_t{4} << 20;

/// Copies bytes, whole cache lines past the caches. FinishPastCache has to follow once all is copied.
void CopyPastCache(uint8_t *target, const uint8_t *source, size_t size);

/// Others see what was written past the caches no later than what is written from now on.
void FinishPastCache();

/// Sets bytes to 0, whole cache lines past the caches.
void ClearPastCache(uint8_t *target, size_t size);

} // namespace tarn::vision
