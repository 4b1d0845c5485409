#include "datastream/datastream.h"

#include "datastream/buffer.h"
#include "datastream/datastream_features.h"
#include "events/event_handler.h"
#include "instance_manager.h"
#include "nodemap/descriptions.h"
#include "port/i_library.h"
#include "port/proxy_module.h"
#include "utils/checks.h"
#include "utils/info.h"
#include "utils/log.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr std::string_view streamId = "Stream1";
constexpr size_t minimumBuffers = 2;

} // namespace

Datastream::Datastream(ILibrary &library, std::unique_ptr<IAcquisitionWorker> worker, DEV_HANDLE parentHandle)
    : m_library(library),
      m_nodeMap(std::make_shared<nodemap::NodeMap>("StreamPort", library.GetTLType(), ModuleType::DataStream,
                                                   nodemap::DataStreamDescription(), this,
                                                   DatastreamFeatures())),
      m_parentHandle(parentHandle), m_worker(std::move(worker))
{
    m_worker->SetBufferCallbacks([this] { return PopFreeInputBuffer(); },
                                 [this](const std::shared_ptr<Buffer> &buffer) { PushBuffer(buffer); });
    m_worker->SetFinishedCallback([this] { SetGrabbing(false); });
    auto &registers = m_nodeMap->GetRegisterMap();
    registers.WriteInternal(datastream_registers::streamId, streamId.data(), streamId.size());
    // Decided once: a consumer's node map does not expect a feature to come or go.
    const uint8_t hasDroppedFrameCount = m_worker->GetDroppedFrameCount().has_value() ? 1 : 0;
    registers.WriteInternal(datastream_registers::streamDroppedFrameCountImplemented, &hasDroppedFrameCount,
                            sizeof hasDroppedFrameCount);
}

Datastream::~Datastream()
{
    // A failure leaves the rest to the clean-up of the registries.
    CloseQuietly([this] { ReleaseBuffersAndEvent(); });
}

void Datastream::ReleaseBuffersAndEvent()
{
    if (IsGrabbing())
    {
        m_worker->KillAcquisition();
        SetGrabbing(false);
    }
    for (const auto &buffer : CopyOfBuffers())
    {
        if (auto *const handle = HandleOf(*buffer))
        {
            DSRevokeBuffer(handle, nullptr, nullptr);
        }
    }
    if (const auto event = Event())
    {
        m_library.GetInstanceManager().events.Remove(event.get());
    }
}

bool Datastream::IsGrabbing() const
{
    return std::atomic_ref(m_isGrabbing).load(std::memory_order_relaxed);
}

void Datastream::SetGrabbing(bool isGrabbing)
{
    std::atomic_ref(m_isGrabbing).store(isGrabbing, std::memory_order_relaxed);
}

std::shared_ptr<EventHandler> Datastream::Event()
{
    const utils::MutexLock guard(m_eventMutex);
    return m_newBufferEvent;
}

BUFFER_HANDLE Datastream::HandleOf(const Buffer &buffer)
{
    auto *const handle = const_cast<Buffer *>(&buffer);
    return m_library.GetInstanceManager().buffers.Contains(handle) ? handle : nullptr;
}

Datastream::Buffers Datastream::CopyOfBuffers()
{
    const utils::MutexLock guard(m_mutex);
    return m_buffers;
}

void Datastream::Announce(const std::shared_ptr<Buffer> &buffer, BUFFER_HANDLE *phBuffer)
{
    m_buffers.push_back(buffer);
    ++m_numAnnounced;
    *phBuffer = m_library.GetInstanceManager().buffers.Add(buffer);
}

void Datastream::DSAllocAndAnnounceBuffer(size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull("phBuffer", phBuffer);
    utils::CheckNotZero("iBufferSize", iBufferSize);
    const utils::MutexLock guard(m_mutex);
    Announce(std::make_shared<Buffer>(m_library, iBufferSize, pPrivate), phBuffer);
}

void Datastream::DSAnnounceBuffer(void *pBuffer, size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull({{"phBuffer", phBuffer}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("iBufferSize", iBufferSize);
    const utils::MutexLock guard(m_mutex);
    if (std::ranges::any_of(m_buffers, [&](const auto &known) { return known->GetBase() == pBuffer; }))
    {
        throw GenTLException("Buffer is already in use!", GC_ERR_RESOURCE_IN_USE);
    }
    Announce(std::make_shared<Buffer>(m_library, pBuffer, iBufferSize, pPrivate), phBuffer);
}

void Datastream::DSGetBufferID(uint32_t iIndex, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull("phBuffer", phBuffer);
    const utils::MutexLock guard(m_mutex);
    utils::CheckIndex(iIndex, m_buffers.size());
    *phBuffer = HandleOf(*m_buffers[iIndex]);
}

void Datastream::QueueBuffer(BUFFER_HANDLE hBuffer)
{
    const auto buffer = m_library.GetInstanceManager().buffers.Find(hBuffer);
    if (!buffer)
    {
        const auto text = fmt::format("Buffer handle {} invalid!", hBuffer);
        SPDLOG_WARN(text);
        throw GenTLException(text, GC_ERR_INVALID_HANDLE);
    }
    if (buffer->GetState() != BufferState::Announced)
    {
        throw GenTLException("Buffer has invalid state!", GC_ERR_RESOURCE_IN_USE);
    }
    buffer->SetState(BufferState::Input);
}

void Datastream::DSRevokeBuffer(BUFFER_HANDLE hBuffer, void **ppBuffer, void **ppPrivate)
{
    const utils::MutexLock guard(m_mutex);
    const auto entry =
        std::ranges::find_if(m_buffers, [&](const auto &buffer)
                             { return buffer.get() == hBuffer && HandleOf(*buffer) != nullptr; });
    if (entry == m_buffers.end())
    {
        throw GenTLException("Buffer not found", GC_ERR_INVALID_HANDLE);
    }
    const auto &buffer = **entry;
    if (buffer.GetState() != BufferState::Announced)
    {
        throw GenTLException("Buffer is currently queued and cannot be revoked.", GC_ERR_BUSY);
    }
    if (IsGrabbing() && m_buffers.size() == minimumBuffers)
    {
        throw GenTLException(fmt::format("The minimum number of buffers is {}. No more buffers can be "
                                         "revoked during acquisition.",
                                         minimumBuffers),
                             GC_ERR_INVALID_BUFFER);
    }
    if (ppBuffer != nullptr)
    {
        *ppBuffer = buffer.OwnsMemory() ? nullptr : buffer.GetBase();
    }
    if (ppPrivate != nullptr)
    {
        *ppPrivate = buffer.GetUserPointer();
    }
    m_buffers.erase(entry);
    --m_numAnnounced;
    m_library.GetInstanceManager().buffers.Remove(hBuffer);
}

void Datastream::MoveBuffers(BufferState from, BufferState to)
{
    for (const auto &buffer : m_buffers)
    {
        if (buffer->GetState() == from)
        {
            buffer->SetState(to);
        }
    }
}

void Datastream::FlushEvent()
{
    if (const auto event = Event())
    {
        event->Flush();
    }
}

void Datastream::DSFlushQueue(ACQ_QUEUE_TYPE iOperation)
{
    const utils::MutexLock guard(m_mutex);
    switch (iOperation)
    {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        for (const auto &buffer : m_buffers)
        {
            if (buffer->GetState() == BufferState::Input)
            {
                PushBuffer(buffer);
            }
        }
        return;
    case ACQ_QUEUE_OUTPUT_DISCARD:
        MoveBuffers(BufferState::Output, BufferState::Announced);
        return FlushEvent();
    case ACQ_QUEUE_ALL_TO_INPUT:
        for (const auto &buffer : m_buffers)
        {
            buffer->SetState(BufferState::Input);
        }
        // What waited in the event's queue goes on to Announced, as consumers of this producer know it.
        return FlushEvent();
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        return MoveBuffers(BufferState::Announced, BufferState::Input);
    case ACQ_QUEUE_ALL_DISCARD:
        MoveBuffers(BufferState::Output, BufferState::Announced);
        FlushEvent();
        MoveBuffers(BufferState::Input, BufferState::Announced);
        return MoveBuffers(BufferState::Filling, BufferState::Announced);
    default:
        throw GenTLException(fmt::format("Flush mode {} not implemented", iOperation),
                             GC_ERR_NOT_IMPLEMENTED);
    }
}

size_t Datastream::CountBuffers(BufferState first, BufferState second)
{
    return static_cast<size_t>(std::ranges::count_if(CopyOfBuffers(),
                                                     [&](const auto &buffer)
                                                     {
                                                         const auto state = buffer->GetState();
                                                         return state == first || state == second;
                                                     }));
}

uint64_t Datastream::DeliveredCount()
{
    const auto event = Event();
    return event ? event->GetDeliveredCount() : 0;
}

void Datastream::DSGetInfo(STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    const utils::InfoQuery query{piType, pBuffer, piSize};
    switch (iInfoCmd)
    {
    case STREAM_INFO_ID:
        return utils::WriteStringInfo(streamId, query);
    case STREAM_INFO_NUM_DELIVERED:
        return query.AnswerUint64(DeliveredCount());
    case STREAM_INFO_NUM_UNDERRUN:
        return query.AnswerUint64(m_numLost);
    case STREAM_INFO_NUM_ANNOUNCED:
        return query.AnswerSize(m_numAnnounced);
    case STREAM_INFO_NUM_QUEUED:
        return query.AnswerSize(CountBuffers(BufferState::Input, BufferState::Filling));
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return query.AnswerSize(CountBuffers(BufferState::Output, BufferState::Output));
    case STREAM_INFO_NUM_STARTED:
        return query.AnswerUint64(m_numStarted);
    case STREAM_INFO_PAYLOAD_SIZE:
        return query.AnswerSize(m_worker->GetPayloadSize());
    case STREAM_INFO_IS_GRABBING:
        return query.AnswerBool(IsGrabbing());
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return query.AnswerBool(true);
    case STREAM_INFO_TLTYPE:
        return utils::WriteStringInfo(m_library.GetTLType(), query);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return query.AnswerSize(0);
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        return query.AnswerSize(minimumBuffers);
    case STREAM_INFO_BUF_ALIGNMENT:
        return query.AnswerSize(1);
    case STREAM_INFO_FLOW_TABLE:
        throw GenTLException("Flow table is not implemented.", GC_ERR_NOT_IMPLEMENTED);
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
        throw GenTLException("GenDC is not implemented.", GC_ERR_NOT_IMPLEMENTED);
    default:
        throw GenTLException(fmt::format("Command {} is not implemented", iInfoCmd), GC_ERR_NOT_IMPLEMENTED);
    }
}

void Datastream::DSStartAcquisition(ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire)
{
    if (iStartFlags != ACQ_START_FLAGS_DEFAULT)
    {
        throw GenTLException("Start flag not implemented!", GC_ERR_NOT_IMPLEMENTED);
    }
    utils::CheckNotZero("iNumToAcquire", iNumToAcquire);
    if (m_numAnnounced < minimumBuffers)
    {
        throw GenTLException("Not enough buffers announced!", GC_ERR_INVALID_BUFFER);
    }
    if (IsGrabbing())
    {
        throw GenTLException("Acquisition is already running!", GC_ERR_RESOURCE_IN_USE);
    }
    m_numToAcquire = iNumToAcquire;
    // Before the thread begins: its first frames would find the stream stopped and be lost.
    SetGrabbing(true);
    try
    {
        m_worker->StartAcquisition(iNumToAcquire);
    }
    catch (...)
    {
        SetGrabbing(false);
        throw;
    }
    if (const auto event = Event())
    {
        event->ResetDeliveredCount();
    }
    m_numPushed = 0;
    m_numIncomplete = 0;
}

void Datastream::DSStopAcquisition(ACQ_STOP_FLAGS iStopFlags)
{
    if (iStopFlags != ACQ_STOP_FLAGS_DEFAULT && iStopFlags != ACQ_STOP_FLAGS_KILL)
    {
        throw GenTLException("Stop flag not implemented!", GC_ERR_NOT_IMPLEMENTED);
    }
    if (!IsGrabbing())
    {
        throw GenTLException("Acquisition is not running!", GC_ERR_RESOURCE_IN_USE);
    }
    m_worker->StopAcquisition();
    SetGrabbing(false);
    const utils::MutexLock guard(m_mutex);
    for (const auto &buffer : m_buffers)
    {
        if (buffer->GetState() != BufferState::Filling)
        {
            continue;
        }
        if (iStopFlags == ACQ_STOP_FLAGS_KILL)
        {
            buffer->SetResult(false, 0, true);
            PushBuffer(buffer);
        }
        else
        {
            buffer->SetState(BufferState::Input);
        }
    }
}

void Datastream::PushBuffer(const std::shared_ptr<Buffer> &buffer)
{
    const auto state = buffer->GetState();
    if (state != BufferState::Input && state != BufferState::Filling)
    {
        constexpr auto text = "Cannot push a buffer that is not in the input or filling state!";
        SPDLOG_ERROR(text);
        throw std::runtime_error(text);
    }
    buffer->SetState(BufferState::Output);
    ++m_numPushed;
    if (!buffer->IsComplete())
    {
        ++m_numIncomplete;
    }
    if (const auto event = Event())
    {
        event->Push({.id = HandleOf(*buffer), .value = buffer->GetUserPointer()});
    }
}

std::shared_ptr<Buffer> Datastream::PopFreeInputBuffer()
{
    if (!IsGrabbing())
    {
        constexpr auto text = "The acquisition is not started!";
        SPDLOG_ERROR(text);
        throw std::runtime_error(text);
    }
    const utils::MutexLock guard(m_mutex);
    const auto entry = std::ranges::find(m_buffers, BufferState::Input,
                                         [](const auto &buffer) { return buffer->GetState(); });
    if (entry == m_buffers.end())
    {
        ++m_numLost;
        return nullptr;
    }
    (*entry)->SetState(BufferState::Filling);
    ++m_numStarted;
    return *entry;
}

void Datastream::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    utils::CheckNotNull("phEvent", phEvent);
    if (iEventID != EVENT_NEW_BUFFER)
    {
        throw GenTLException(fmt::format("Event type {} not implemented", iEventID), GC_ERR_NOT_IMPLEMENTED);
    }
    const utils::MutexLock guard(m_eventMutex);
    if (m_newBufferEvent)
    {
        throw GenTLException("Event is already registered", GC_ERR_RESOURCE_IN_USE);
    }
    m_newBufferEvent = std::make_shared<EventHandler>(m_library, iEventID);
    *phEvent = m_library.GetInstanceManager().events.Add(m_newBufferEvent);
}

void Datastream::UnregisterEvent(EVENT_TYPE iEventID)
{
    if (iEventID != EVENT_NEW_BUFFER)
    {
        throw GenTLException(fmt::format("Event type {} not implemented", iEventID), GC_ERR_NOT_IMPLEMENTED);
    }
    // The handle stays in the registry: what is queued can still be read.
    const utils::MutexLock guard(m_eventMutex);
    m_newBufferEvent.reset();
}

uint64_t Datastream::GetDroppedFrameCount()
{
    const auto count = m_worker->GetDroppedFrameCount();
    if (!count)
    {
        throw GenTLException("StreamDroppedFrameCount is not implemented!", GC_ERR_ACCESS_DENIED);
    }
    return *count;
}

} // namespace GenTL::internal
