#pragma once

#include "utils/mutex.h"

#include <gentl/gentl.h>

#include <cstdint>
#include <memory>

namespace GenTL::internal
{

class Buffer;
class EventHandler;
class ILibrary;

/// The output queue of a stream: the queue of its registered new-buffer event. Without an event nothing is
/// queued, flushed or counted.
///
/// Events come and go while the acquisition thread pushes, so any thread may call anything. With its lock
/// held, it calls only the Event registry.
class OutputQueue
{
public:
    explicit OutputQueue(ILibrary &library) : m_library(library) {}

    /// @throws GenTLException null `phEvent`; GC_ERR_NOT_IMPLEMENTED for another type than EVENT_NEW_BUFFER;
    /// GC_ERR_RESOURCE_IN_USE while an event is registered
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent);
    /// The event stays in the registry, where a consumer can still read what is queued.
    void UnregisterEvent(EVENT_TYPE iEventID);
    /// Takes the event out of the registry.
    void RemoveEvent();

    void Push(const Buffer &buffer);
    /// Gives all queued buffers back to the consumer.
    void Flush();
    uint64_t DeliveredCount();
    void ResetDeliveredCount();

private:
    std::shared_ptr<EventHandler> Event() QVR_EXCLUDES(m_eventMutex);

    ILibrary &m_library;
    utils::Mutex m_eventMutex;
    std::shared_ptr<EventHandler> m_newBufferEvent QVR_GUARDED_BY(m_eventMutex);
};

} // namespace GenTL::internal
