#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// Images of at least this many bytes bypass the caches when they are written. The caches could not keep the
/// whole image for its next reader, and writing whole cache lines saves reading them first, a third of the
/// traffic. A smaller image stays in a cache, from which its reader saves more.
constexpr uint64_t pastCacheFrom = uint64_t{4} << 20;

/// Copies bytes; whole cache lines bypass the caches. Call FinishPastCache after the last copy.
void CopyPastCache(uint8_t *target, const uint8_t *source, size_t size);

/// Orders the writes that bypassed the caches before all later writes, for other threads.
void FinishPastCache();

/// Sets bytes to 0; whole cache lines bypass the caches.
void ClearPastCache(uint8_t *target, size_t size);

} // namespace tarn::vision
