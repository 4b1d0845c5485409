#pragma once

#include "consumer/frame_info.h"
#include "utils/mutex.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace gentlctl
{

/// Why frames were left out, to be added to a sentence; empty when a failure says it.
/// @param isAbandoned FrameWriter::Abandon was called
const char *WhyUnwritten(bool hasFailed, bool isAbandoned);

/// Writes frames on a thread of its own, in their order, while others arrive. The first failure ends the
/// writing: later frames are given back unwritten.
///
/// One thread calls Offer and Finish.
class FrameWriter
{
public:
    /// Writes a frame under its number, from 1 on, and returns the names of its files.
    using Write = std::function<std::vector<std::string>(const FrameInfo &, uint64_t)>;
    /// Gives a frame back to the stream, written or not.
    using Release = std::function<void(const FrameInfo &)>;

    /// Takes how many frames are still to be written.
    using OnWait = std::function<void(size_t frames)>;

    /// @param capacity most frames to hold, with the one that is being written
    FrameWriter(size_t capacity, Write write, Release release);
    FrameWriter(const FrameWriter &) = delete;
    FrameWriter &operator=(const FrameWriter &) = delete;
    ~FrameWriter() { Finish(); }

    /// Takes a frame. While `capacity` frames are held, returns false and leaves the frame to the caller.
    bool Offer(FrameInfo &frame) QVR_EXCLUDES(m_mutex);

    /// Waits until no frame is held. Offer must not be called afterwards.
    /// @param onWait called each half of a second until then
    void Finish(const OnWait &onWait = [](size_t) {}) QVR_EXCLUDES(m_mutex);

    /// From now on frames are given back unwritten, after the one that is being written.
    void Abandon() QVR_EXCLUDES(m_mutex);

    /// Frames that wait to be written, with the one that is being written.
    size_t Held() const QVR_EXCLUDES(m_mutex);
    uint64_t Written() const QVR_EXCLUDES(m_mutex);
    /// The first failure; null when there was none.
    std::exception_ptr Failure() const QVR_EXCLUDES(m_mutex);
    /// Names of the files that were written, the first 100,000; to be called after Finish.
    const std::vector<std::string> &Files() const { return m_files; }

private:
    void Run();
    const FrameInfo *WaitForFrame() QVR_EXCLUDES(m_mutex);
    size_t WaitUntilNoneIsHeld(std::chrono::milliseconds longest) QVR_EXCLUDES(m_mutex);
    bool IsToWrite() const QVR_EXCLUDES(m_mutex);
    void RemoveFirst() QVR_EXCLUDES(m_mutex);
    void WriteAndRelease(const FrameInfo &frame) QVR_EXCLUDES(m_mutex);
    void WriteOne(const FrameInfo &frame) QVR_EXCLUDES(m_mutex);
    template <typename Step>
    void KeepFailure(Step step) QVR_EXCLUDES(m_mutex);

    const size_t m_capacity;
    const Write m_write;
    const Release m_release;
    std::vector<std::string> m_files; ///< only the writer's thread may use it until Finish

    mutable GenTL::internal::utils::Mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<FrameInfo> m_held QVR_GUARDED_BY(m_mutex); ///< the first is being written
    uint64_t m_written QVR_GUARDED_BY(m_mutex) = 0;
    std::exception_ptr m_failure QVR_GUARDED_BY(m_mutex);
    bool m_isAbandoned QVR_GUARDED_BY(m_mutex) = false;
    bool m_isFinishing QVR_GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

} // namespace gentlctl
