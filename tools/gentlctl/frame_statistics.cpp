#include "gentlctl/frame_statistics.h"

#include <algorithm>
#include <cmath>

namespace gentlctl
{
namespace
{

constexpr double millisecondsPerSecond = 1000;

double InSeconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

Json InMilliseconds(const Spread &seconds)
{
    if (seconds.Count() == 0)
    {
        return nullptr;
    }
    return {{"minimum", seconds.Minimum() * millisecondsPerSecond},
            {"mean", seconds.Mean() * millisecondsPerSecond},
            {"maximum", seconds.Maximum() * millisecondsPerSecond},
            {"jitter", seconds.Deviation() * millisecondsPerSecond}};
}

} // namespace

void Spread::Add(double value)
{
    m_minimum = m_count == 0 ? value : std::min(m_minimum, value);
    m_maximum = m_count == 0 ? value : std::max(m_maximum, value);
    // The mean moves with each value: a sum of millions of squares would lose the digits that differ.
    const double distance = value - m_mean;
    m_mean += distance / static_cast<double>(++m_count);
    m_squares += distance * (value - m_mean);
}

double Spread::Deviation() const
{
    return m_count == 0 ? 0 : std::sqrt(m_squares / static_cast<double>(m_count));
}

void FrameStatistics::Add(const FrameArrival &frame)
{
    if (m_delivered == 0)
    {
        m_first = frame.at;
    }
    else
    {
        m_intervals.Add(InSeconds(frame.at - m_last));
    }
    m_last = frame.at;
    ++m_delivered;
    m_incomplete += frame.isIncomplete ? 1 : 0;
    if (frame.latency)
    {
        m_latency.Add(InSeconds(*frame.latency));
    }
    CountGap(frame.number);
}

/// A number that does not grow begins a new count: the device has started again, or the number has wrapped.
void FrameStatistics::CountGap(const std::optional<uint64_t> &number)
{
    if (m_number && number && *number > *m_number)
    {
        m_missing += *number - *m_number - 1;
    }
    // A frame without a number counts as the next one.
    m_number = number ? number : m_number ? std::optional(*m_number + 1) : std::nullopt;
}

uint64_t FrameStatistics::Lost() const
{
    return std::max(m_underruns, m_missing - std::min(m_missing, m_skipped));
}

double FrameStatistics::Seconds() const
{
    return InSeconds(m_last - m_first);
}

double FrameStatistics::Rate() const
{
    // Few frames that waited in their buffers come at once, which says nothing about the camera.
    constexpr uint64_t enough = 10;
    constexpr std::chrono::milliseconds longEnough(100);
    const bool isKnown = m_last > m_first && (m_delivered >= enough || m_last - m_first >= longEnough);
    return isKnown ? static_cast<double>(m_delivered - 1) / Seconds() : 0.0;
}

Json ToJson(const FrameStatistics &statistics)
{
    return {{"delivered", statistics.Delivered()},
            {"incomplete", statistics.Incomplete()},
            {"lost", statistics.Lost()},
            {"skipped", statistics.Skipped()},
            {"seconds", statistics.Seconds()},
            {"framesPerSecond", statistics.Rate() > 0 ? Json(statistics.Rate()) : Json()},
            {"intervalMs", InMilliseconds(statistics.Intervals())},
            {"latencyMs", InMilliseconds(statistics.Latency())}};
}

} // namespace gentlctl
