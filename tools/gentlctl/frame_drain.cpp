#include "gentlctl/frame_drain.h"

#include <exception>

namespace gentlctl
{

namespace
{

constexpr size_t drainedBuffers = 4;

} // namespace

FrameDrain::FrameDrain(Producer &producer, OpenDevice &device, const Features &remote)
    : m_stream(producer, device, remote, [](size_t) { return drainedBuffers; }), m_thread([this] { Run(); })
{
}

FrameDrain::~FrameDrain()
{
    m_ends = true;
    m_thread.join();
}

void FrameDrain::Run()
{
    constexpr uint64_t longestWait = 100; // ms until an end is seen
    try
    {
        while (!m_ends)
        {
            // None in time: the device may wait for a trigger.
            if (auto *const buffer = m_stream.TryNextBuffer(longestWait))
            {
                m_stream.QueueAgain(buffer);
            }
        }
    }
    catch (const std::exception &) // NOLINT(bugprone-empty-catch)
    {
        // The device is gone, as its events tell.
    }
}

} // namespace gentlctl
