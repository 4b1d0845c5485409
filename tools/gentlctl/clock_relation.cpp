#include "gentlctl/clock_relation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <exception>

namespace gentlctl
{

ClockRelation::ClockRelation(const Features &remote, uint64_t ticksPerSecond)
    : m_remote(remote), m_nanosecondsPerTick(1e9 / static_cast<double>(ticksPerSecond))
{
    constexpr int attempts = 5;
    FindLatch();
    Relate(attempts);
}

void ClockRelation::FindLatch()
{
    static constexpr std::array<Latch, 2> latches{
        {{"TimestampLatch", "TimestampLatchValue"}, {"GevTimestampControlLatch", "GevTimestampValue"}}};
    const auto *const found =
        std::ranges::find_if(latches, [this](const Latch &latch)
                             { return m_remote.Has(latch.command) && m_remote.Has(latch.value); });
    if (found == latches.end())
    {
        m_obstacle = "the device has no TimestampLatch";
        return;
    }
    m_latch = *found;
}

/// Latches the device's clock several times, and keeps the attempt that took least time.
void ClockRelation::Relate(int attempts)
{
    auto best = Clock::duration::max();
    try
    {
        for (int attempt = 0; attempt < attempts && m_obstacle.empty(); ++attempt)
        {
            const auto before = Clock::now();
            m_remote.Execute(m_latch.command);
            const auto took = Clock::now() - before;
            const auto ticks = static_cast<uint64_t>(m_remote.GetInteger(m_latch.value));
            if (took < best)
            {
                best = took;
                m_related = before + took / 2;
                m_ticks = ticks;
            }
        }
    }
    catch (const std::exception &exception)
    {
        m_obstacle = fmt::format("{} fails: {}", m_latch.command, exception.what());
    }
    if (m_obstacle.empty())
    {
        m_uncertainty = std::max<std::chrono::nanoseconds>(m_uncertainty, best / 2);
    }
}

std::optional<std::chrono::nanoseconds> ClockRelation::Age(uint64_t ticks, Clock::time_point now)
{
    constexpr std::chrono::seconds interval(5);
    constexpr double plausible = 60e9; // ns
    if (m_obstacle.empty() && now - m_related > interval)
    {
        Relate(2);
    }
    // The difference of two counts is small, and may be negative.
    const auto since = static_cast<double>(static_cast<int64_t>(ticks - m_ticks)) * m_nanosecondsPerTick;
    const auto age = static_cast<double>(std::chrono::nanoseconds(now - m_related).count()) - since;
    if (m_obstacle.empty() && std::abs(age) > plausible)
    {
        m_obstacle = fmt::format("{} and the time stamps of frames do not count alike", m_latch.value);
    }
    return m_obstacle.empty() ? std::optional(std::chrono::nanoseconds(static_cast<int64_t>(age)))
                              : std::nullopt;
}

} // namespace gentlctl
