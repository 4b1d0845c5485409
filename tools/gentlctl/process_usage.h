#pragma once

#include <cstdint>
#include <filesystem>

namespace gentlctl
{

/// The memory, file handles and threads of a process.
struct ProcessUsage
{
    int64_t memory = 0;  ///< resident bytes
    int64_t handles = 0; ///< open file descriptors
    int64_t threads = 0;
};

/// @param process its folder in /proc
/// @throws std::runtime_error it cannot be read
ProcessUsage ReadUsage(const std::filesystem::path &process = "/proc/self");

} // namespace gentlctl
