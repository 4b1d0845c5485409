#pragma once

#include "gentlctl/frame_statistics.h"
#include "gentlctl/stream_connection.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace gentlctl
{

class Interrupt;

struct StreamOptions
{
    std::string device;  ///< as for Producer::Choose
    uint64_t frames = 0; ///< end after so many; 0: no limit
    std::optional<std::chrono::nanoseconds> duration{};
    uint64_t timeoutMs = 5000; ///< longest wait for a frame
    size_t buffers = 16;
    bool reconnects = false; ///< go on when the device was lost and is back
};

/// What a stream needs of its caller. All are called by the thread that runs it.
struct StreamHooks
{
    /// Sets the device up, each time that it is opened.
    std::function<void(OpenDevice &device)> prepare;
    /// Takes what happens to the connection.
    std::function<void(const std::string &step)> tell;
    /// About once in a second, and at the end: takes the frames since the last time.
    std::function<void(const std::string &device, const FrameStatistics &last)> report;
};

struct StreamTotals
{
    uint64_t delivered = 0;
    uint64_t incomplete = 0;
    uint64_t lost = 0;
    uint64_t reconnects = 0;
};

/// Takes the frames of a device and gives their buffers back, until it is told to end. When the device is
/// lost, it can close it, wait until the producer lists it again, open it, set it up and go on.
///
/// A device counts as lost as for a RunningStream, when a call for it fails, and when no frame comes in time.
class StreamRun
{
public:
    StreamRun(Producer &producer, StreamOptions options, StreamHooks hooks);

    /// An interrupt ends it in order.
    /// @throws std::exception the device cannot be opened at first, or was lost and the options do not
    /// reconnect
    StreamTotals Run(const Interrupt &interrupt);

private:
    using Clock = std::chrono::steady_clock;

    bool IsOver();
    /// Makes Run return soon. Any thread may call, again and again.
    void End();
    void Connect();
    void Disconnect();
    void Reconnect();
    void Stream();
    void Lose(const DeviceLost &loss);
    void Count(void *buffer);
    void Report();

    Producer &m_producer;
    StreamOptions m_options;
    const StreamHooks m_hooks;
    StreamTotals m_totals;
    std::optional<Clock::time_point> m_until;
    FrameStatistics m_period;
    Clock::time_point m_periodBegan;
    uint64_t m_underruns = 0; ///< of the connection before the period

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    bool m_ends = false;
    std::unique_ptr<StreamConnection> m_connection; ///< only the thread that runs changes it
};

} // namespace gentlctl
