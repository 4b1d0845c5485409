#include "datastream/i_output_queue.h"

#include "events/event_handler.h"
#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <utility>

namespace GenTL::internal
{

void ThrowNoSuchFlush(ACQ_QUEUE_TYPE operation)
{
    throw GenTLException(fmt::format("Flush mode {} not implemented", operation), GC_ERR_NOT_IMPLEMENTED);
}

void CheckIsNewBuffer(EVENT_TYPE type)
{
    if (type != EVENT_NEW_BUFFER)
    {
        throw GenTLException(fmt::format("Event type {} not implemented", type), GC_ERR_NOT_IMPLEMENTED);
    }
}

EVENT_HANDLE AddNewBufferEvent(ILibrary &library, std::shared_ptr<EventQueue> queue,
                               std::shared_ptr<EventHandler> &event)
{
    if (event)
    {
        throw GenTLException("Event is already registered", GC_ERR_RESOURCE_IN_USE);
    }
    // The event may outlive the stream, so the callback holds the library and nothing of the stream.
    const auto release = [&library](BUFFER_HANDLE handle) { return GiveBack(library, handle); };
    event = std::make_shared<EventHandler>(release, EVENT_NEW_BUFFER, std::move(queue));
    return library.GetInstanceManager().events.Add(event);
}

} // namespace GenTL::internal
