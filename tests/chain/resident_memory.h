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

} // namespace chain
