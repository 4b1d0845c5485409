#pragma once

#include "consumer/frame_info.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace gentlctl
{

/// Writes frames on a thread of its own, in their order, while others arrive. The first failure ends the
/// writing: later frames are given back unwritten.
///
/// Offer and Finish are for one thread.
class FrameWriter
{
public:
    /// Writes a frame under its number, from 1 on, and returns the names of its files.
    using Write = std::function<std::vector<std::string>(const FrameInfo &, uint64_t)>;
    /// Gives a frame back to the stream, written or not.
    using Release = std::function<void(const FrameInfo &)>;

    /// @param capacity most frames to hold, with the one that is being written
    FrameWriter(size_t capacity, Write write, Release release);
    FrameWriter(const FrameWriter &) = delete;
    FrameWriter &operator=(const FrameWriter &) = delete;
    ~FrameWriter() { Finish(); }

    /// Takes a frame; false, and the frame stays the caller's, while no more can be held.
    bool Offer(FrameInfo &frame);

    /// Waits until no frame is held. Offer must not be called afterwards.
    void Finish();

    uint64_t Written() const;
    /// Why the writing ended; null while it goes on.
    std::exception_ptr Failure() const;
    /// Names of the files that were written; to be called after Finish.
    const std::vector<std::string> &Files() const { return m_files; }

private:
    void Run();
    void Handle(const FrameInfo &frame);

    const size_t m_capacity;
    const Write m_write;
    const Release m_release;
    std::vector<std::string> m_files;

    mutable std::mutex m_mutex; ///< guards the following
    std::condition_variable m_changed;
    std::deque<FrameInfo> m_held; ///< the first is being written
    uint64_t m_written = 0;
    std::exception_ptr m_failure;
    bool m_isFinishing = false;
    std::thread m_thread;
};

} // namespace gentlctl
