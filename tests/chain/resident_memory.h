#pragma once

#include <cstddef>
#include <fstream>
#include <unistd.h>

namespace chain
{

/// Bytes of this process that are in memory.
inline size_t ResidentMemory()
{
    std::ifstream file("/proc/self/statm");
    size_t total = 0;
    size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

/// Whether a sanitizer is on, which keeps freed memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool hasSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool hasSanitizer = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool hasSanitizer = false;
#endif

} // namespace chain
