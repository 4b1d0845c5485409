#pragma once

#include "consumers/consumer.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace consumers
{

/// Looks for its device in one session and opens it in a second one without an update. A thread of its own
/// registers the event, queues the buffers and waits without limit, beside the start; a kill of the event
/// ends it. Buffers stay announced from stop to start. A snapshot announces one buffer. Never closes the
/// library.
class SnapshotConsumer : public Consumer
{
public:
    explicit SnapshotConsumer(const Producer &producer);
    ~SnapshotConsumer() override;

    void Open(const std::string &model) override;
    void Start() override;
    FrameConclusion TakeFrame() override;
    void Stop() override;
    void Close() override;
    std::optional<FrameConclusion> TakeSnapshot() override;

private:
    void Announce(size_t count);
    void RevokeAll();
    void EndThread();
    void Run();
    void TakeFrames(EVENT_HANDLE event);
    FrameConclusion Conclude(BUFFER_HANDLE buffer) const;

    std::vector<std::vector<uint8_t>> m_memory;
    std::vector<BUFFER_HANDLE> m_buffers;
    std::thread m_thread;
    std::atomic<bool> m_ends = false;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    EVENT_HANDLE m_event = nullptr; ///< while it is registered
    std::deque<FrameConclusion> m_frames;
    std::string m_refusal; ///< of the thread; empty while it works
};

} // namespace consumers
