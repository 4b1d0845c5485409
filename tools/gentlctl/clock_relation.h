#pragma once

#include "consumer/features.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace gentlctl
{

/// Relates the clock that gives frames their time stamps to the clock of this machine.
///
/// A command of the device, TimestampLatch, copies its clock into a feature. The clock of this machine is
/// read before and after the command: the copied time belongs to the middle of the two, give or take half of
/// their distance. The clocks drift, so the relation is made anew every few seconds.
///
/// One thread calls, the one that uses the features.
class ClockRelation
{
public:
    using Clock = std::chrono::steady_clock;

    /// Relates the clocks, unless the device lacks the command.
    /// @param remote features of the device; outlives this object
    /// @param ticksPerSecond of the time stamps of frames
    ClockRelation(const Features &remote, uint64_t ticksPerSecond);

    /// How long ago the device took a time stamp; none while the clocks are not related.
    /// @param ticks the time stamp
    std::optional<std::chrono::nanoseconds> Age(uint64_t ticks, Clock::time_point now);

    /// Half of the longest distance of two readings of this machine's clock.
    std::chrono::nanoseconds Uncertainty() const { return m_uncertainty; }

    /// Why the clocks are not related; empty when they are.
    const std::string &Obstacle() const { return m_obstacle; }

private:
    struct Latch
    {
        const char *command;
        const char *value;
    };

    void FindLatch();
    void Relate(int attempts);

    const Features &m_remote;
    const double m_nanosecondsPerTick;
    Latch m_latch{};
    std::string m_obstacle;
    Clock::time_point m_related; ///< when the device's clock showed m_ticks
    uint64_t m_ticks = 0;
    std::chrono::nanoseconds m_uncertainty{};
};

} // namespace gentlctl
