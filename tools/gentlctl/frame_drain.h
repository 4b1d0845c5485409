#pragma once

#include "consumer/stream.h"

#include <atomic>
#include <thread>

namespace gentlctl
{

/// Lets a device send frames and gives each buffer back at once, on a thread of its own, from construction to
/// destruction.
class FrameDrain
{
public:
    /// @throws GenTLException the stream cannot be started
    FrameDrain(Producer &producer, OpenDevice &device, const Features &remote);
    FrameDrain(const FrameDrain &) = delete;
    FrameDrain &operator=(const FrameDrain &) = delete;
    ~FrameDrain();

private:
    void Run();

    RunningStream m_stream;
    std::atomic<bool> m_ends = false;
    std::thread m_thread;
};

} // namespace gentlctl
