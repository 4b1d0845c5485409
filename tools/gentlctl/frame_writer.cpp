#include "gentlctl/frame_writer.h"

#include <utility>

namespace gentlctl
{

FrameWriter::FrameWriter(size_t capacity, Write write, Release release)
    : m_capacity(capacity), m_write(std::move(write)), m_release(std::move(release)),
      m_thread([this] { Run(); })
{
}

bool FrameWriter::Offer(FrameInfo &frame)
{
    const std::lock_guard guard(m_mutex);
    if (m_held.size() >= m_capacity)
    {
        return false;
    }
    m_held.push_back(std::move(frame));
    m_changed.notify_one();
    return true;
}

void FrameWriter::Finish()
{
    {
        const std::lock_guard guard(m_mutex);
        m_isFinishing = true;
        m_changed.notify_one();
    }
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

uint64_t FrameWriter::Written() const
{
    const std::lock_guard guard(m_mutex);
    return m_written;
}

std::exception_ptr FrameWriter::Failure() const
{
    const std::lock_guard guard(m_mutex);
    return m_failure;
}

void FrameWriter::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_changed.wait(lock, [this] { return m_isFinishing || !m_held.empty(); });
        if (m_held.empty())
        {
            return;
        }
        // A deque keeps its first element in place while others are added behind it.
        const auto &frame = m_held.front();
        lock.unlock();
        Handle(frame);
        lock.lock();
        m_held.pop_front();
    }
}

void FrameWriter::Handle(const FrameInfo &frame)
{
    const auto attempt = [this](auto step)
    {
        try
        {
            step();
        }
        catch (...)
        {
            const std::lock_guard guard(m_mutex);
            m_failure = m_failure ? m_failure : std::current_exception();
        }
    };
    if (!Failure())
    {
        attempt(
            [&]
            {
                const auto files = m_write(frame, m_written + 1);
                m_files.insert(m_files.end(), files.begin(), files.end());
                const std::lock_guard guard(m_mutex);
                ++m_written;
            });
    }
    attempt([&] { m_release(frame); });
}

} // namespace gentlctl
