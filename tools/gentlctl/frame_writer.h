#pragma once

#include "gentlctl/frame.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace gentlctl
{

/// Writes frames on a thread of its own, in their order, while others arrive. What cannot be written ends the
/// writing: the frames behind it are given back unwritten.
///
/// One thread offers and finishes.
class FrameWriter
{
public:
    /// Writes a frame of this number, from 1 on, and gives the names of its files.
    using Write = std::function<Json(const Frame &, uint64_t)>;
    /// Gives a frame back to the stream, written or not.
    using Release = std::function<void(const Frame &)>;

    /// @param capacity frames that are held at most, the one that is being written included
    FrameWriter(size_t capacity, Write write, Release release);
    FrameWriter(const FrameWriter &) = delete;
    FrameWriter &operator=(const FrameWriter &) = delete;
    ~FrameWriter() { Finish(); }

    /// Takes a frame, unless as many as can be held wait to be written: then the frame stays the caller's.
    bool Offer(Frame &frame);

    /// Waits until no frame is held. Nothing is offered after this.
    void Finish();

    uint64_t Written() const;
    /// Why the writing ended; null while it goes on.
    std::exception_ptr Failure() const;
    /// Names of the files that were written; after Finish.
    const Json &Files() const { return m_files; }

private:
    void Run();
    void Handle(const Frame &frame);

    const size_t m_capacity;
    const Write m_write;
    const Release m_release;
    Json m_files = Json::array();

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<Frame> m_held; ///< the first is being written
    uint64_t m_written = 0;
    std::exception_ptr m_failure;
    bool m_isFinishing = false;
    std::thread m_thread;
};

} // namespace gentlctl
