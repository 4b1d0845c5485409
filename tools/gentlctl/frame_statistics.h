#pragma once

#include "consumer/json.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace gentlctl
{

/// The smallest, the mean and the largest of some values, and how much they vary. All are 0 without values.
class Spread
{
public:
    void Add(double value);

    uint64_t Count() const { return m_count; }
    double Minimum() const { return m_minimum; }
    double Mean() const { return m_mean; }
    double Maximum() const { return m_maximum; }
    /// The standard deviation.
    double Deviation() const;

private:
    uint64_t m_count = 0;
    double m_minimum = 0;
    double m_maximum = 0;
    double m_mean = 0;
    double m_squares = 0; ///< sum of the squared distances from the mean
};

/// A frame that came.
struct FrameArrival
{
    std::chrono::nanoseconds at{};                     ///< on a clock that never goes back
    std::optional<uint64_t> number{};                  ///< the number that the producer gives the frame
    std::optional<std::chrono::nanoseconds> latency{}; ///< from the frame's time stamp until it came
    bool isIncomplete = false;
};

/// Counts, intervals and latency of a stream of frames. It reads no clock: the caller says when each frame
/// came. For one thread at a time.
class FrameStatistics
{
public:
    void Add(const FrameArrival &frame);

    /// @param frames that came and were given back in favour of newer ones; the gaps that they leave in the
    /// numbers are not lost frames
    void SetSkipped(uint64_t frames) { m_skipped = frames; }

    /// @param frames for which no buffer was free, as the producer counts them since the stream started
    void SetUnderruns(uint64_t frames) { m_underruns = frames; }

    uint64_t Delivered() const { return m_delivered; }
    uint64_t Incomplete() const { return m_incomplete; }
    uint64_t Skipped() const { return m_skipped; }
    /// Frames that never came: those that the producer counts, or those whose numbers are missing between two
    /// frames, whichever are more. A frame lost on the network is missing in the numbers alone.
    uint64_t Lost() const;

    /// From the first to the last frame.
    double Seconds() const;
    /// Frames per second; 0 while fewer than ten frames came in less than 100 ms.
    double Rate() const;
    /// Seconds between a frame and the next. Their deviation is the jitter.
    const Spread &Intervals() const { return m_intervals; }
    /// Seconds from the time stamp of a frame until it came.
    const Spread &Latency() const { return m_latency; }

private:
    void CountGap(const std::optional<uint64_t> &number);

    uint64_t m_delivered = 0;
    uint64_t m_incomplete = 0;
    uint64_t m_skipped = 0;
    uint64_t m_underruns = 0;
    uint64_t m_missing = 0; ///< numbers between those of the frames
    std::optional<uint64_t> m_number;
    std::chrono::nanoseconds m_first{};
    std::chrono::nanoseconds m_last{};
    Spread m_intervals;
    Spread m_latency;
};

/// "delivered", "incomplete", "lost", "skipped", "seconds", "framesPerSecond", then "intervalMs" and
/// "latencyMs" with "minimum", "mean", "maximum" and "jitter" in milliseconds. Null stands for what is not
/// known.
Json ToJson(const FrameStatistics &statistics);

} // namespace gentlctl
