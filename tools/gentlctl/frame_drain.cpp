#include "gentlctl/frame_drain.h"

#include "utils/try.h"

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
    // It fails when the device is gone, as its events tell.
    GenTL::internal::utils::Attempt(
        [&]
        {
            while (!m_ends)
            {
                // None in time: the device may wait for a trigger.
                if (auto *const buffer = m_stream.TryNextBuffer(longestWait))
                {
                    m_stream.QueueAgain(buffer);
                }
            }
        });
}

} // namespace gentlctl
