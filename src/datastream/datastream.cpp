#include "datastream/datastream.h"

#include "datastream/buffer.h"
#include "datastream/datastream_features.h"
#include "datastream/event_output.h"
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

[[noreturn]] void ThrowNotImplemented(STREAM_INFO_CMD command)
{
    switch (command)
    {
    case STREAM_INFO_FLOW_TABLE:
        throw GenTLException("Flow table is not implemented.", GC_ERR_NOT_IMPLEMENTED);
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
        throw GenTLException("GenDC is not implemented.", GC_ERR_NOT_IMPLEMENTED);
    default:
        throw GenTLException(fmt::format("Command {} is not implemented", command), GC_ERR_NOT_IMPLEMENTED);
    }
}

} // namespace

Datastream::Datastream(ILibrary &library, std::unique_ptr<IAcquisitionWorker> worker, DEV_HANDLE parentHandle,
                       StreamSetup setup)
    : m_library(library), m_tlType(setup.tlType),
      m_nodeMap(std::make_shared<nodemap::NodeMap>("StreamPort", TypeText(), ModuleType::DataStream,
                                                   nodemap::DataStreamDescription(), this,
                                                   DatastreamFeatures(), library.GetProfile().identity)),
      m_parentHandle(parentHandle), m_buffers(library), m_rules(setup.rules), m_bufferAnswers(setup.buffers),
      m_lower(std::move(setup.lower)), m_output(std::move(setup.output)), m_worker(std::move(worker))
{
    if (!m_output)
    {
        m_output = std::make_unique<EventOutput>(library);
    }
    m_worker->SetBufferCallbacks([this] { return PopFreeInputBuffer(); },
                                 [this](const std::shared_ptr<Buffer> &buffer) { PushBuffer(buffer); });
    m_worker->SetFinishedCallback([this] { m_isGrabbing = false; });
    auto &registers = m_nodeMap->GetRegisterMap();
    registers.WriteInternal(datastream_registers::streamId, streamId.data(), streamId.size());
    // C-16: the register is filled here and never again.
    const uint8_t hasDroppedFrameCount = m_worker->GetDroppedFrameCount().has_value() ? 1 : 0;
    registers.WriteInternal(datastream_registers::streamDroppedFrameCountImplemented, &hasDroppedFrameCount,
                            sizeof hasDroppedFrameCount);
}

Datastream::~Datastream()
{
    // A failure leaves the rest to the clean-up of the registries.
    CloseQuietly(
        [this]
        {
            if (m_isGrabbing)
            {
                m_worker->KillAcquisition();
                m_isGrabbing = false;
            }
            m_buffers.Visit([this](const auto &buffers) { m_output->End(buffers); });
            for (const auto &buffer : m_buffers.Copy())
            {
                if (auto *const handle = HandleOf(m_library, *buffer))
                {
                    DSRevokeBuffer(handle, nullptr, nullptr);
                }
            }
            m_output->RemoveEvent();
        });
}

void Datastream::DSAllocAndAnnounceBuffer(size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull("phBuffer", phBuffer);
    utils::CheckNotZero("iBufferSize", iBufferSize);
    *phBuffer =
        m_buffers.Add(std::make_shared<Buffer>(m_library, iBufferSize, pPrivate, m_bufferAnswers, m_tlType));
}

void Datastream::DSAnnounceBuffer(void *pBuffer, size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull({{"phBuffer", phBuffer}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("iBufferSize", iBufferSize);
    *phBuffer = m_buffers.Add(
        std::make_shared<Buffer>(m_library, pBuffer, iBufferSize, pPrivate, m_bufferAnswers, m_tlType));
}

void Datastream::DSGetBufferID(uint32_t iIndex, BUFFER_HANDLE *phBuffer)
{
    utils::CheckNotNull("phBuffer", phBuffer);
    *phBuffer = m_buffers.HandleAt(iIndex);
}

void Datastream::QueueBuffer(BUFFER_HANDLE hBuffer)
{
    const auto buffer = m_library.GetInstanceManager().buffers.Find(hBuffer);
    if (!buffer)
    {
        const auto text = fmt::format("Buffer handle {} invalid!", hBuffer);
        QVR_LOG_WARN(text);
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
    const auto buffer =
        m_buffers.Remove(hBuffer, m_isGrabbing && m_rules.keepsMinimum ? m_rules.minimumBuffers : 0);
    if (ppBuffer != nullptr)
    {
        *ppBuffer = buffer->OwnsMemory() ? nullptr : buffer->GetBase();
    }
    if (ppPrivate != nullptr)
    {
        *ppPrivate = buffer->GetUserPointer();
    }
}

void Datastream::DSFlushQueue(ACQ_QUEUE_TYPE iOperation)
{
    m_buffers.Visit([&](const AnnouncedBuffers::Buffers &buffers) { m_output->Flush(iOperation, buffers); });
    m_output->FinishFlush();
}

void Datastream::DSGetInfo(STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    utils::WriteInfo(Answer(iInfoCmd), piType, pBuffer, piSize);
}

size_t Datastream::MaxChunks() const
{
    return m_lower.maxChunks ? m_lower.maxChunks().value_or(0) : 0;
}

std::string Datastream::TypeText() const
{
    return m_tlType.empty() ? m_library.GetTLType() : m_tlType;
}

utils::Info Datastream::Answer(STREAM_INFO_CMD command)
{
    using utils::Info;
    switch (command)
    {
    case STREAM_INFO_ID:
        return Info::Text(streamId);
    case STREAM_INFO_NUM_DELIVERED:
        return Info::Uint64(m_output->DeliveredCount());
    case STREAM_INFO_NUM_UNDERRUN:
        return Info::Uint64(m_numLost);
    case STREAM_INFO_NUM_ANNOUNCED:
        return Info::Size(m_buffers.Size());
    case STREAM_INFO_NUM_QUEUED:
        return Info::Size(m_buffers.CountIn({BufferState::Input, BufferState::Filling}));
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return Info::Size(m_buffers.CountIn({BufferState::Output}));
    case STREAM_INFO_NUM_STARTED:
        return Info::Uint64(m_numStarted);
    case STREAM_INFO_PAYLOAD_SIZE:
        return Info::Size(m_worker->GetPayloadSize());
    case STREAM_INFO_IS_GRABBING:
        return Info::Bool(m_isGrabbing);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return Info::Bool(true);
    case STREAM_INFO_TLTYPE:
        return Info::Text(TypeText());
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return Info::Size(MaxChunks());
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        return Info::Size(m_rules.minimumBuffers);
    case STREAM_INFO_BUF_ALIGNMENT:
        return Info::Size(1);
    default:
        ThrowNotImplemented(command);
    }
}

void Datastream::DSStartAcquisition(ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire)
{
    if (iStartFlags != ACQ_START_FLAGS_DEFAULT)
    {
        throw GenTLException("Start flag not implemented!", GC_ERR_NOT_IMPLEMENTED);
    }
    utils::CheckNotZero("iNumToAcquire", iNumToAcquire);
    if (m_buffers.Size() < m_rules.minimumBuffers)
    {
        throw GenTLException("Not enough buffers announced!", GC_ERR_INVALID_BUFFER);
    }
    if (m_isGrabbing)
    {
        throw GenTLException("Acquisition is already running!", GC_ERR_RESOURCE_IN_USE);
    }
    m_numToAcquire = iNumToAcquire;
    // Set before the thread begins. Otherwise PopFreeInputBuffer would fail and the first frames would be
    // lost.
    m_isGrabbing = true;
    try
    {
        m_worker->StartAcquisition(iNumToAcquire);
    }
    catch (...)
    {
        m_isGrabbing = false;
        throw;
    }
    m_output->ResetCounts();
}

void Datastream::DSStopAcquisition(ACQ_STOP_FLAGS iStopFlags)
{
    if (iStopFlags != ACQ_STOP_FLAGS_DEFAULT && iStopFlags != ACQ_STOP_FLAGS_KILL)
    {
        throw GenTLException("Stop flag not implemented!", GC_ERR_NOT_IMPLEMENTED);
    }
    if (m_rules.stopAlwaysSucceeds)
    {
        const utils::MutexLock guard(m_stopMutex);
        return m_isGrabbing ? Stop(iStopFlags) : void();
    }
    if (!m_isGrabbing)
    {
        throw GenTLException("Acquisition is not running!", GC_ERR_RESOURCE_IN_USE);
    }
    Stop(iStopFlags);
}

void Datastream::Stop(ACQ_STOP_FLAGS flags)
{
    m_worker->StopAcquisition();
    m_isGrabbing = false;
    m_buffers.Visit(
        [&](const AnnouncedBuffers::Buffers &buffers)
        {
            if (flags != ACQ_STOP_FLAGS_KILL)
            {
                return MoveBuffers(buffers, BufferState::Filling, BufferState::Input);
            }
            ForEachIn(BufferState::Filling, buffers,
                      [this](Buffer &buffer)
                      {
                          buffer.SetResult(false, 0, true);
                          m_output->Complete(buffer);
                      });
        });
}

void Datastream::PushBuffer(const std::shared_ptr<Buffer> &buffer)
{
    m_output->Complete(*buffer);
}

std::shared_ptr<Buffer> Datastream::PopFreeInputBuffer()
{
    if (!m_isGrabbing)
    {
        constexpr auto text = "The acquisition is not started!";
        QVR_LOG_ERROR(text);
        throw std::runtime_error(text);
    }
    auto buffer = m_buffers.TakeFree();
    ++(buffer ? m_numStarted : m_numLost);
    return buffer;
}

void Datastream::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    if (iEventID == EVENT_NEW_BUFFER || m_lower.events == nullptr)
    {
        return m_output->RegisterEvent(iEventID, phEvent);
    }
    utils::CheckNotNull("phEvent", phEvent);
    try
    {
        m_lower.events->RegisterEvent(iEventID, phEvent);
    }
    catch (const GenTLException &exception)
    {
        // Lower producers say in many ways that they have no such event, and consumers go on after this one.
        const bool isRegistered = exception.Code() == GC_ERR_RESOURCE_IN_USE;
        throw GenTLException(exception.what(), isRegistered ? exception.Code() : GC_ERR_NOT_IMPLEMENTED);
    }
}

void Datastream::UnregisterEvent(EVENT_TYPE iEventID)
{
    if (iEventID == EVENT_NEW_BUFFER || m_lower.events == nullptr)
    {
        return m_output->UnregisterEvent(iEventID);
    }
    m_lower.events->UnregisterEvent(iEventID);
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
