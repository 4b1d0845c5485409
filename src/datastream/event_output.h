#pragma once

#include "datastream/i_output_queue.h"
#include "utils/mutex.h"

#include <atomic>
#include <memory>

namespace GenTL::internal
{

class EventHandler;
class ILibrary;

/// An output queue inside the registered new-buffer event. Without an event, nothing is queued or counted as
/// delivered, and a pushed buffer stays in Output.
///
/// With its lock held, it calls only the Event registry.
class EventOutput final : public IOutputQueue
{
public:
    explicit EventOutput(ILibrary &library) : m_library(library) {}

    /// @throws GenTLException null `phEvent`; GC_ERR_NOT_IMPLEMENTED for another type than EVENT_NEW_BUFFER;
    /// GC_ERR_RESOURCE_IN_USE while an event is registered
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    /// The event stays in the registry, where a consumer can still read what is queued.
    void UnregisterEvent(EVENT_TYPE iEventID) override;
    void RemoveEvent() override;
    /// @throws std::runtime_error for a buffer that is neither queued nor being filled
    void Complete(Buffer &buffer) override;
    void Flush(ACQ_QUEUE_TYPE operation, const AnnouncedBuffers::Buffers &buffers) override;
    void FinishFlush() override {}
    void End(const AnnouncedBuffers::Buffers &) override {}
    uint64_t DeliveredCount() override;
    uint64_t IncompleteCount() const override { return m_numIncomplete; }
    void ResetCounts() override;

private:
    std::shared_ptr<EventHandler> Event() QVR_EXCLUDES(m_eventMutex);
    void FlushEvent();

    ILibrary &m_library;
    utils::Mutex m_eventMutex;
    std::shared_ptr<EventHandler> m_newBufferEvent QVR_GUARDED_BY(m_eventMutex);
    std::atomic<uint64_t> m_numIncomplete = 0;
};

} // namespace GenTL::internal
