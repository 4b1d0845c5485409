#include "datastream/event_output.h"

#include "datastream/buffer.h"
#include "events/event_handler.h"
#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/checks.h"
#include "utils/log.h"

#include <algorithm>
#include <stdexcept>

namespace GenTL::internal
{

void EventOutput::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    utils::CheckNotNull("phEvent", phEvent);
    CheckIsNewBuffer(iEventID);
    const utils::MutexLock guard(m_eventMutex);
    *phEvent = AddNewBufferEvent(m_library, std::make_shared<EventQueue>(), m_newBufferEvent);
}

void EventOutput::UnregisterEvent(EVENT_TYPE iEventID)
{
    CheckIsNewBuffer(iEventID);
    const utils::MutexLock guard(m_eventMutex);
    m_newBufferEvent.reset();
}

void EventOutput::RemoveEvent()
{
    if (const auto event = Event())
    {
        m_library.GetInstanceManager().events.Remove(event.get());
    }
}

void EventOutput::Complete(Buffer &buffer)
{
    const auto state = buffer.GetState();
    if (state != BufferState::Input && state != BufferState::Filling)
    {
        constexpr auto text = "Cannot push a buffer that is not in the input or filling state!";
        QVR_LOG_ERROR_FOR("Datastream::PushBuffer", text);
        throw std::runtime_error(text);
    }
    buffer.SetState(BufferState::Output);
    if (!buffer.IsComplete())
    {
        ++m_numIncomplete;
    }
    if (const auto event = Event())
    {
        event->Push({.id = HandleOf(m_library, buffer), .value = buffer.GetUserPointer()});
    }
}

void EventOutput::Flush(ACQ_QUEUE_TYPE operation, const AnnouncedBuffers::Buffers &buffers)
{
    using enum BufferState;
    switch (operation)
    {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        return ForEachIn(Input, buffers, [this](Buffer &buffer) { Complete(buffer); });
    case ACQ_QUEUE_OUTPUT_DISCARD:
        MoveBuffers(buffers, Output, Announced);
        return FlushEvent();
    case ACQ_QUEUE_ALL_TO_INPUT:
        std::ranges::for_each(buffers, [](const auto &buffer) { buffer->SetState(Input); });
        // C-17: moves the buffers of the event's queue on to Announced.
        return FlushEvent();
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        return MoveBuffers(buffers, Announced, Input);
    case ACQ_QUEUE_ALL_DISCARD:
        MoveBuffers(buffers, Output, Announced);
        FlushEvent();
        MoveBuffers(buffers, Input, Announced);
        return MoveBuffers(buffers, Filling, Announced);
    default:
        ThrowNoSuchFlush(operation);
    }
}

void EventOutput::FlushEvent()
{
    if (const auto event = Event())
    {
        event->Flush();
    }
}

uint64_t EventOutput::DeliveredCount()
{
    const auto event = Event();
    return event ? event->GetDeliveredCount() : 0;
}

void EventOutput::ResetCounts()
{
    m_numIncomplete = 0;
    if (const auto event = Event())
    {
        event->ResetDeliveredCount();
    }
}

std::shared_ptr<EventHandler> EventOutput::Event()
{
    const utils::MutexLock guard(m_eventMutex);
    return m_newBufferEvent;
}

} // namespace GenTL::internal
