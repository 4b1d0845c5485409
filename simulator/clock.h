#pragma once

#include <chrono>
#include <cstdint>

namespace GenTL::simulator
{

/// The clock of all cameras.
inline uint64_t Nanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::nanoseconds(now).count());
}

} // namespace GenTL::simulator
