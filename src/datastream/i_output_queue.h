#pragma once

#include "datastream/announced_buffers.h"
#include "port/i_event_source.h"

#include <gentl/gentl.h>

#include <cstdint>
#include <memory>

namespace GenTL::internal
{

class EventHandler;
class ILibrary;
struct EventQueue;

/// The output side of a stream: the filled buffers that wait for the consumer, and the event that hands them
/// out.
///
/// Owned by the Datastream. Events come and go while the acquisition thread completes buffers, so any thread
/// may call anything. It calls nothing of the stream; of the library it calls the Event and the Buffer
/// registry.
class IOutputQueue : public IEventSource
{
public:
    /// Takes the event out of the registry.
    virtual void RemoveEvent() = 0;

    /// Moves a buffer that was filled, or that the consumer takes back unfilled, to Output.
    virtual void Complete(Buffer &buffer) = 0;
    /// DSFlushQueue. `buffers` are those of the stream, whose list is locked.
    /// @throws GenTLException "Flush mode {} not implemented", GC_ERR_NOT_IMPLEMENTED
    virtual void Flush(ACQ_QUEUE_TYPE operation, const AnnouncedBuffers::Buffers &buffers) = 0;
    /// Ends a flush, without the list's lock: waits until the buffer that the flush found in Filling is free.
    virtual void FinishFlush() = 0;
    /// The stream ends and revokes its buffers. The list is locked.
    virtual void End(const AnnouncedBuffers::Buffers &buffers) = 0;

    /// Buffers handed out, and buffers completed without all of their data, since the last reset.
    virtual uint64_t DeliveredCount() = 0;
    virtual uint64_t IncompleteCount() const = 0;
    virtual void ResetCounts() = 0;
};

/// @throws GenTLException "Flush mode {} not implemented", GC_ERR_NOT_IMPLEMENTED
[[noreturn]] void ThrowNoSuchFlush(ACQ_QUEUE_TYPE operation);
/// @throws GenTLException for another type than EVENT_NEW_BUFFER, GC_ERR_NOT_IMPLEMENTED
void CheckIsNewBuffer(EVENT_TYPE type);
/// Makes the new-buffer event of a stream, which hands out what is in `queue`, and registers it.
/// @param event null, or the event that is registered already; becomes the new one
/// @throws GenTLException GC_ERR_RESOURCE_IN_USE when an event is registered already
EVENT_HANDLE AddNewBufferEvent(ILibrary &library, std::shared_ptr<EventQueue> queue,
                               std::shared_ptr<EventHandler> &event);

} // namespace GenTL::internal
