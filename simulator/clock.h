#pragma once

#include <chrono>
#include <cstdint>

namespace GenTL::simulator
{

constexpr uint64_t nanosecondsPerSecond = 1000000000;

/// The clock of all cameras.
inline uint64_t Nanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::nanoseconds(now).count());
}

/// The same clock in ticks.
inline uint64_t Ticks(uint64_t ticksPerSecond)
{
    const auto now = Nanoseconds();
    return now / nanosecondsPerSecond * ticksPerSecond +
           now % nanosecondsPerSecond * ticksPerSecond / nanosecondsPerSecond;
}

} // namespace GenTL::simulator
