#pragma once

#include "datastream/i_output_queue.h"
#include "events/event_queue.h"
#include "utils/mutex.h"

#include <atomic>
#include <condition_variable>
#include <memory>

namespace GenTL::internal
{

class EventHandler;
class ILibrary;

/// An output queue that belongs to the stream. An event that is registered late finds the buffers that wait,
/// and leaves them there when it is unregistered.
///
/// A buffer enters, waits in and leaves the queue under the queue's mutex, together with its state. So a
/// buffer is in the queue exactly while it is in Output. A flush does not take a buffer away from a fill: it
/// asks for the buffer, and FinishFlush waits for the end of the fill.
class StreamOutput final : public IOutputQueue
{
public:
    explicit StreamOutput(ILibrary &library);

    /// @throws GenTLException null `phEvent`; GC_ERR_NOT_IMPLEMENTED for another type than EVENT_NEW_BUFFER;
    /// GC_ERR_RESOURCE_IN_USE while an event is registered
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    /// The event stays in the registry, where a wait and its kill still find it.
    void UnregisterEvent(EVENT_TYPE iEventID) override;
    void RemoveEvent() override;
    /// Accepts any buffer that the stream gave out to be filled, also after a flush.
    void Complete(Buffer &buffer) override;
    void Flush(ACQ_QUEUE_TYPE operation, const AnnouncedBuffers::Buffers &buffers) override;
    void FinishFlush() override;
    void End(const AnnouncedBuffers::Buffers &buffers) override;
    uint64_t DeliveredCount() override { return m_queue->numDelivered; }
    uint64_t IncompleteCount() const override { return m_numIncomplete; }
    void ResetCounts() override;

private:
    void Append(Buffer &buffer) QVR_REQUIRES(m_queue->mutex);
    void DiscardAll(const AnnouncedBuffers::Buffers &buffers) QVR_REQUIRES(m_queue->mutex);

    ILibrary &m_library;
    std::shared_ptr<EventQueue> m_queue;
    utils::Mutex m_eventMutex;
    std::shared_ptr<EventHandler> m_newBufferEvent QVR_GUARDED_BY(m_eventMutex);
    /// The buffer that a flush wants and that is still being filled. One at most, because one thread fills.
    const Buffer *m_asked QVR_GUARDED_BY(m_queue->mutex) = nullptr;
    std::condition_variable m_fillEnded;
    std::atomic<uint64_t> m_numIncomplete = 0;
};

} // namespace GenTL::internal
