#include "datastream/output_queue.h"

#include "datastream/announced_buffers.h"
#include "datastream/buffer.h"
#include "events/event_handler.h"
#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/checks.h"

namespace GenTL::internal
{

namespace
{

void CheckIsNewBuffer(EVENT_TYPE type)
{
    if (type != EVENT_NEW_BUFFER)
    {
        throw GenTLException(fmt::format("Event type {} not implemented", type), GC_ERR_NOT_IMPLEMENTED);
    }
}

} // namespace

void OutputQueue::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    utils::CheckNotNull("phEvent", phEvent);
    CheckIsNewBuffer(iEventID);
    const utils::MutexLock guard(m_eventMutex);
    if (m_newBufferEvent)
    {
        throw GenTLException("Event is already registered", GC_ERR_RESOURCE_IN_USE);
    }
    // The event may outlive the stream, so the callback holds the library and not `this`.
    const auto release = [&library = m_library](BUFFER_HANDLE handle) { return GiveBack(library, handle); };
    m_newBufferEvent = std::make_shared<EventHandler>(release, iEventID);
    *phEvent = m_library.GetInstanceManager().events.Add(m_newBufferEvent);
}

void OutputQueue::UnregisterEvent(EVENT_TYPE iEventID)
{
    CheckIsNewBuffer(iEventID);
    const utils::MutexLock guard(m_eventMutex);
    m_newBufferEvent.reset();
}

void OutputQueue::RemoveEvent()
{
    if (const auto event = Event())
    {
        m_library.GetInstanceManager().events.Remove(event.get());
    }
}

void OutputQueue::Push(const Buffer &buffer)
{
    if (const auto event = Event())
    {
        event->Push({.id = HandleOf(m_library, buffer), .value = buffer.GetUserPointer()});
    }
}

void OutputQueue::Flush()
{
    if (const auto event = Event())
    {
        event->Flush();
    }
}

uint64_t OutputQueue::DeliveredCount()
{
    const auto event = Event();
    return event ? event->GetDeliveredCount() : 0;
}

void OutputQueue::ResetDeliveredCount()
{
    if (const auto event = Event())
    {
        event->ResetDeliveredCount();
    }
}

std::shared_ptr<EventHandler> OutputQueue::Event()
{
    const utils::MutexLock guard(m_eventMutex);
    return m_newBufferEvent;
}

} // namespace GenTL::internal
