#include "gentlctl/frame_writer.h"

#include <utility>

namespace gentlctl
{

using GenTL::internal::utils::MutexLock;

namespace
{

/// A grab without end would fill the memory with names.
constexpr size_t mostFiles = 100'000;

} // namespace

const char *WhyUnwritten(bool hasFailed, bool isAbandoned)
{
    return hasFailed ? "" : isAbandoned ? ": a signal ended the writing" : ": the writing did not keep up";
}

FrameWriter::FrameWriter(size_t capacity, Write write, Release release)
    : m_capacity(capacity), m_write(std::move(write)), m_release(std::move(release)),
      m_thread([this] { Run(); })
{
}

bool FrameWriter::Offer(FrameInfo &frame)
{
    const MutexLock lock(m_mutex);
    if (m_held.size() >= m_capacity)
    {
        return false;
    }
    m_held.push_back(std::move(frame));
    m_changed.notify_all();
    return true;
}

void FrameWriter::Finish(const OnWait &onWait)
{
    constexpr std::chrono::milliseconds interval(500);
    while (const auto left = WaitUntilNoneIsHeld(interval))
    {
        onWait(left);
    }
    {
        const MutexLock lock(m_mutex);
        m_isFinishing = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

/// @return how many frames are still held
size_t FrameWriter::WaitUntilNoneIsHeld(std::chrono::milliseconds longest)
{
    const auto end = std::chrono::steady_clock::now() + longest;
    MutexLock lock(m_mutex);
    while (!m_held.empty() && m_changed.wait_until(lock.ForWait(), end) != std::cv_status::timeout)
    {
    }
    return m_held.size();
}

void FrameWriter::Abandon()
{
    const MutexLock lock(m_mutex);
    m_isAbandoned = true;
}

size_t FrameWriter::Held() const
{
    const MutexLock lock(m_mutex);
    return m_held.size();
}

uint64_t FrameWriter::Written() const
{
    const MutexLock lock(m_mutex);
    return m_written;
}

std::exception_ptr FrameWriter::Failure() const
{
    const MutexLock lock(m_mutex);
    return m_failure;
}

void FrameWriter::Run()
{
    while (const auto *frame = WaitForFrame())
    {
        WriteAndRelease(*frame);
        RemoveFirst();
    }
}

/// Waits for the first held frame; null when the writer is finishing and holds none. The pointer stays valid
/// while frames are added, because a deque keeps its elements in place.
const FrameInfo *FrameWriter::WaitForFrame()
{
    MutexLock lock(m_mutex);
    while (!m_isFinishing && m_held.empty())
    {
        m_changed.wait(lock.ForWait());
    }
    return m_held.empty() ? nullptr : &m_held.front();
}

void FrameWriter::RemoveFirst()
{
    const MutexLock lock(m_mutex);
    m_held.pop_front();
    m_changed.notify_all();
}

void FrameWriter::WriteAndRelease(const FrameInfo &frame)
{
    if (IsToWrite())
    {
        KeepFailure([&] { WriteOne(frame); });
    }
    KeepFailure([&] { m_release(frame); });
}

bool FrameWriter::IsToWrite() const
{
    const MutexLock lock(m_mutex);
    return !m_failure && !m_isAbandoned;
}

void FrameWriter::WriteOne(const FrameInfo &frame)
{
    const auto files = m_write(frame, Written() + 1);
    if (m_files.size() < mostFiles)
    {
        m_files.insert(m_files.end(), files.begin(), files.end());
    }
    const MutexLock lock(m_mutex);
    ++m_written;
}

/// Runs a step, and keeps its exception as the writer's failure unless there is an earlier one.
template <typename Step>
void FrameWriter::KeepFailure(Step step)
{
    try
    {
        step();
    }
    catch (...)
    {
        const MutexLock lock(m_mutex);
        m_failure = m_failure ? m_failure : std::current_exception();
    }
}

} // namespace gentlctl
