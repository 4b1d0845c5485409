#pragma once

#include "port/i_gentl_proxy.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace GenTL::internal
{

/// The clock of a device, which counts the time stamps of its frames.
///
/// Made by Device, which shares it with the FullFrameReader of its stream. Any thread may call anything.
class DeviceClock
{
public:
    static constexpr uint64_t nanosecondsPerSecond = 1'000'000'000;

    /// @param device the lower device; must stay open while AskFrequency is called
    DeviceClock(std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE device);

    /// Asks the lower device how many ticks a second has.
    void AskFrequency();
    /// Computes the time stamp that is missing from the other one. Without a frequency, nanoseconds alone
    /// count as ticks, and ticks alone stay alone.
    void Complete(std::optional<uint64_t> &ticks, std::optional<uint64_t> &nanoseconds);
    /// Whether a frame had nanoseconds while the frequency was unknown: a tick is a nanosecond then.
    bool CountsNanoseconds() const { return m_countsNanoseconds; }

private:
    std::shared_ptr<IGenTLProxy> m_proxy;
    DEV_HANDLE m_device;
    std::atomic<uint64_t> m_frequency = 0; ///< ticks per second, 0 when unknown
    std::atomic<bool> m_countsNanoseconds = false;
};

} // namespace GenTL::internal
