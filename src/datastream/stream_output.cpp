#include "datastream/stream_output.h"

#include "datastream/buffer.h"
#include "events/event_handler.h"
#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/checks.h"

#include <utility>

namespace GenTL::internal
{

StreamOutput::StreamOutput(ILibrary &library) : m_library(library), m_queue(std::make_shared<EventQueue>()) {}

void StreamOutput::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
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
    m_newBufferEvent = std::make_shared<EventHandler>(release, iEventID, m_queue);
    *phEvent = m_library.GetInstanceManager().events.Add(m_newBufferEvent);
}

void StreamOutput::UnregisterEvent(EVENT_TYPE iEventID)
{
    CheckIsNewBuffer(iEventID);
    const utils::MutexLock guard(m_eventMutex);
    if (const auto event = std::exchange(m_newBufferEvent, nullptr))
    {
        event->Detach();
    }
}

void StreamOutput::RemoveEvent()
{
    const utils::MutexLock guard(m_eventMutex);
    if (m_newBufferEvent)
    {
        m_library.GetInstanceManager().events.Remove(m_newBufferEvent.get());
    }
}

void StreamOutput::Complete(Buffer &buffer)
{
    {
        const utils::MutexLock guard(m_queue->mutex);
        if (m_asked == &buffer)
        {
            m_asked = nullptr;
            buffer.SetState(BufferState::Announced);
            m_fillEnded.notify_all();
            return;
        }
        Append(buffer);
    }
    m_queue->changed.notify_all();
}

void StreamOutput::Append(Buffer &buffer)
{
    if (!buffer.IsComplete())
    {
        ++m_numIncomplete;
    }
    buffer.SetState(BufferState::Output);
    m_queue->Append({.id = BUFFER_HANDLE{&buffer}, .value = buffer.GetUserPointer()});
}

void StreamOutput::Flush(ACQ_QUEUE_TYPE operation, const AnnouncedBuffers::Buffers &buffers)
{
    using enum BufferState;
    const utils::MutexLock guard(m_queue->mutex);
    switch (operation)
    {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        return ForEachIn(Input, buffers,
                         [this](Buffer &buffer) QVR_UNCHECKED
                         {
                             Append(buffer);
                             m_queue->changed.notify_all();
                         });
    case ACQ_QUEUE_OUTPUT_DISCARD:
        MoveBuffers(buffers, Output, Announced);
        return m_queue->DropAll();
    case ACQ_QUEUE_ALL_TO_INPUT:
        MoveBuffers(buffers, Output, Input);
        m_queue->DropAll();
        return MoveBuffers(buffers, Announced, Input);
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        return MoveBuffers(buffers, Announced, Input);
    case ACQ_QUEUE_ALL_DISCARD:
        DiscardAll(buffers);
        return ForEachIn(Filling, buffers, [this](Buffer &buffer) QVR_UNCHECKED { m_asked = &buffer; });
    default:
        ThrowNoSuchFlush(operation);
    }
}

void StreamOutput::DiscardAll(const AnnouncedBuffers::Buffers &buffers)
{
    MoveBuffers(buffers, BufferState::Output, BufferState::Announced);
    m_queue->DropAll();
    MoveBuffers(buffers, BufferState::Input, BufferState::Announced);
}

void StreamOutput::FinishFlush()
{
    utils::MutexLock lock(m_queue->mutex);
    while (m_asked != nullptr)
    {
        m_fillEnded.wait(lock.ForWait());
    }
}

void StreamOutput::End(const AnnouncedBuffers::Buffers &buffers)
{
    const utils::MutexLock guard(m_queue->mutex);
    DiscardAll(buffers);
}

void StreamOutput::ResetCounts()
{
    m_numIncomplete = 0;
    m_queue->numDelivered = 0;
}

} // namespace GenTL::internal
