#pragma once

#include <chrono>

namespace GenTL::simulator
{

/// Keeps a frame rate, without a burst after a pause. Used by one thread.
class Pacer
{
public:
    using Clock = std::chrono::steady_clock;

    /// When the next frame is due. `rate` in frames per second, above 0.
    Clock::time_point Due(double rate) const;
    /// A frame is sent now.
    void Sent(double rate);

private:
    Clock::time_point m_last{};
};

} // namespace GenTL::simulator
