#include "datastream/proxy_datastream.h"

#include "nodemap/node_access.h"
#include "port/module_description.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/lower_info.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

namespace
{

/// Logs the failure of a lower call that the caller can do without.
void Tolerate(std::string_view call, GC_ERROR code)
{
    if (code != GC_ERR_SUCCESS)
    {
        QVR_LOG_DEBUG("{} of the lower producer failed: {}", call, code);
    }
}

} // namespace

std::unique_ptr<ProxyDataStream> ProxyDataStream::Open(std::shared_ptr<IGenTLProxy> proxy,
                                                       DEV_HANDLE lowerDevice, DevicePayloadSize payloadSize,
                                                       const StreamRules &rules)
{
    uint32_t count = 0;
    proxy->DevGetNumDataStreams(lowerDevice, &count);
    if (count == 0)
    {
        throw std::runtime_error("Failed to get number of data streams");
    }
    size_t size = 0;
    proxy->DevGetDataStreamID(lowerDevice, 0, nullptr, &size);
    // One byte more, since a lower producer may leave the terminator out of the size and the text.
    std::vector<char> id(size + 1);
    proxy->DevGetDataStreamID(lowerDevice, 0, id.data(), &size);
    DS_HANDLE handle = nullptr;
    proxy->DevOpenDataStream(lowerDevice, id.data(), &handle);
    return std::make_unique<ProxyDataStream>(std::move(proxy), handle, std::move(payloadSize), rules);
}

ProxyDataStream::ProxyDataStream(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE handle,
                                 DevicePayloadSize payloadSize, const StreamRules &rules)
    : ProxyModule(std::move(proxy), handle), m_devicePayloadSize(std::move(payloadSize)), m_rules(rules)
{
    bool hasEvent = false;
    try
    {
        RegisterEvent(EVENT_NEW_BUFFER, &m_newBufferEvent);
        hasEvent = true;
        ReadLowerDescription();
    }
    catch (...)
    {
        // While the lower stream stays open, it cannot be opened again.
        Close(hasEvent);
        throw;
    }
}

void ProxyDataStream::ReadLowerDescription()
{
    try
    {
        const auto bytes = ReadDescription(*this);
        m_lowerNodeMap = std::make_unique<nodemap::NodeMapParser>(
            std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
    }
    catch (const std::exception &exception)
    {
        if (m_rules.needsDescription)
        {
            throw;
        }
        QVR_LOG_DEBUG("The lower stream has no description: {}", exception.what());
    }
}

ProxyDataStream::~ProxyDataStream()
{
    Close(true);
}

void ProxyDataStream::Close(bool hasEvent) noexcept
{
    if (m_rules.stopAlwaysSucceeds)
    {
        return CloseWhateverFails();
    }
    CloseQuietly(
        [this, hasEvent]
        {
            if (hasEvent)
            {
                UnregisterEvent(EVENT_NEW_BUFFER);
            }
            Proxy()->DSClose(GetLowerHandle());
        });
}

void ProxyDataStream::CloseWhateverFails() noexcept
{
    CloseQuietly(
        [this]
        {
            const utils::MutexLock guard(m_lowerBuffersMutex);
            RevokeAll();
        });
    CloseQuietly(
        [this]
        {
            Tolerate("GCUnregisterEvent", Proxy()->TryGCUnregisterEvent(GetLowerHandle(), EVENT_NEW_BUFFER));
            Tolerate("DSClose", Proxy()->TryDSClose(GetLowerHandle()));
        });
}

template <typename T>
T ProxyDataStream::StreamInfo(STREAM_INFO_CMD command, INFO_DATATYPE type)
{
    return utils::ReadValue<T>(type, [&](INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
                               { Proxy()->DSGetInfo(GetLowerHandle(), command, piType, pBuffer, piSize); });
}

void ProxyDataStream::AnnounceBuffers()
{
    const utils::MutexLock guard(m_lowerBuffersMutex);
    const auto size = GetLowerPayloadSize();
    if (m_rules.keepsLowerBuffers && QueueKeptBuffers(size))
    {
        return;
    }
    m_lowerBufferSize = size;
    const auto count = NumLowerBuffers();
    try
    {
        AllocateBuffers(count);
    }
    catch (...)
    {
        if (m_rules.keepsLowerBuffers)
        {
            RevokeAll();
        }
        throw;
    }
}

/// Makes a lower call of a start. With StreamRules::namesFailedCall, its name leads the error text.
template <typename Call>
void ProxyDataStream::CallToStart(std::string_view name, Call call)
{
    try
    {
        call();
    }
    catch (const GenTLException &exception)
    {
        if (!m_rules.namesFailedCall)
        {
            throw;
        }
        throw GenTLException(fmt::format("{}: {} ({})", name, exception.what(), exception.Code()),
                             exception.Code());
    }
}

void ProxyDataStream::AllocateBuffers(size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        BUFFER_HANDLE buffer = nullptr;
        const auto size = m_lowerBufferSize;
        CallToStart("DSAllocAndAnnounceBuffer",
                    [&] { Proxy()->DSAllocAndAnnounceBuffer(GetLowerHandle(), size, nullptr, &buffer); });
        QueueNewBuffer(buffer);
        m_lowerBuffers.push_back({.handle = buffer, .base = BaseOf(buffer)});
    }
}

/// Queues a buffer that is not yet among m_lowerBuffers. One that cannot be queued is revoked, where the
/// lower buffers outlive a failed start.
void ProxyDataStream::QueueNewBuffer(BUFFER_HANDLE buffer)
{
    try
    {
        CallToStart("DSQueueBuffer", [&] { Proxy()->DSQueueBuffer(GetLowerHandle(), buffer); });
    }
    catch (...)
    {
        if (m_rules.keepsLowerBuffers)
        {
            Revoke(buffer);
        }
        throw;
    }
}

size_t ProxyDataStream::NumLowerBuffers()
{
    const auto ask = [this] { return StreamInfo<size_t>(STREAM_INFO_BUF_ANNOUNCE_MIN, INFO_DATATYPE_SIZET); };
    const auto minimum =
        m_rules.lowerBuffersUnknown == 0 ? ask() : utils::Try(ask).value_or(m_rules.lowerBuffersUnknown);
    return std::max(minimum, m_rules.lowerBuffers);
}

/// Queues the buffers of the last acquisition. False when there are none, or when one of them cannot be used;
/// all are revoked then.
bool ProxyDataStream::QueueKeptBuffers(size_t size)
{
    const auto queue = [this](const LowerBuffer &buffer)
    { return Proxy()->TryDSQueueBuffer(GetLowerHandle(), buffer.handle) == GC_ERR_SUCCESS; };
    if (!m_lowerBuffers.empty() && size == m_lowerBufferSize && std::ranges::all_of(m_lowerBuffers, queue))
    {
        return true;
    }
    RevokeAll();
    return false;
}

/// The address of a lower buffer; null when no frame needs it, or when it is unknown.
void *ProxyDataStream::BaseOf(BUFFER_HANDLE buffer)
{
    void *base = nullptr;
    if (m_rules.deliversWhatArrived)
    {
        size_t size = sizeof base;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        Tolerate("DSGetBufferInfo", Proxy()->TryDSGetBufferInfo(GetLowerHandle(), buffer, BUFFER_INFO_BASE,
                                                                &type, &base, &size));
    }
    return base;
}

void ProxyDataStream::RevokeBuffers()
{
    const utils::MutexLock guard(m_lowerBuffersMutex);
    if (m_rules.keepsLowerBuffers)
    {
        return Tolerate("DSFlushQueue", Proxy()->TryDSFlushQueue(GetLowerHandle(), ACQ_QUEUE_ALL_DISCARD));
    }
    Proxy()->DSFlushQueue(GetLowerHandle(), ACQ_QUEUE_ALL_DISCARD);
    for (const auto &buffer : m_lowerBuffers)
    {
        Proxy()->DSRevokeBuffer(GetLowerHandle(), buffer.handle, nullptr, nullptr);
    }
    m_lowerBuffers.clear();
}

void ProxyDataStream::RevokeAll()
{
    if (m_lowerBuffers.empty())
    {
        return;
    }
    Tolerate("DSFlushQueue", Proxy()->TryDSFlushQueue(GetLowerHandle(), ACQ_QUEUE_ALL_DISCARD));
    for (const auto &buffer : m_lowerBuffers)
    {
        Revoke(buffer.handle);
    }
    m_lowerBuffers.clear();
}

void ProxyDataStream::Revoke(BUFFER_HANDLE buffer)
{
    Tolerate("DSRevokeBuffer", Proxy()->TryDSRevokeBuffer(GetLowerHandle(), buffer, nullptr, nullptr));
}

void ProxyDataStream::StartAcquisition(uint64_t numToAcquire)
{
    CallToStart("DSStartAcquisition", [&]
                { Proxy()->DSStartAcquisition(GetLowerHandle(), ACQ_START_FLAGS_DEFAULT, numToAcquire); });
}

void ProxyDataStream::StopAcquisition()
{
    if (m_rules.stopAlwaysSucceeds)
    {
        Tolerate("DSStopAcquisition", Proxy()->TryDSStopAcquisition(GetLowerHandle(), ACQ_STOP_FLAGS_KILL));
        return Tolerate("EventKill", Proxy()->TryEventKill(m_newBufferEvent));
    }
    Proxy()->DSStopAcquisition(GetLowerHandle(), ACQ_STOP_FLAGS_KILL);
    Proxy()->EventKill(m_newBufferEvent);
}

ProxyBuffer ProxyDataStream::WaitForBuffer(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    if (m_rules.logsTimeouts)
    {
        Proxy()->EventGetData(m_newBufferEvent, &data, &size, timeoutMs);
    }
    else if (const auto code = Proxy()->TryEventGetData(m_newBufferEvent, &data, &size, timeoutMs);
             code != GC_ERR_SUCCESS)
    {
        throw GenTLException(fmt::format("The wait for a frame failed: {}", code), code);
    }
    return m_rules.deliversWhatArrived ? TakeLowerBuffer(data.BufferHandle)
                                       : ProxyBuffer(Proxy(), GetLowerHandle(), data.BufferHandle);
}

ProxyBuffer ProxyDataStream::TakeLowerBuffer(BUFFER_HANDLE handle)
{
    const utils::MutexLock guard(m_lowerBuffersMutex);
    const auto known = std::ranges::find(m_lowerBuffers, handle, &LowerBuffer::handle);
    if (known == m_lowerBuffers.end())
    {
        throw GenTLException("The lower producer delivered a buffer that it was not given",
                             GC_ERR_INVALID_BUFFER);
    }
    return {Proxy(), GetLowerHandle(), handle, known->base, m_lowerBufferSize};
}

void ProxyDataStream::RequeueBuffer(const ProxyBuffer &buffer)
{
    Proxy()->DSQueueBuffer(GetLowerHandle(), buffer.GetLowerHandle());
}

/// A lower stream that fails to answer counts as one that defines no payload size.
bool ProxyDataStream::DefinesPayloadSize()
{
    try
    {
        return StreamInfo<bool8_t>(STREAM_INFO_DEFINES_PAYLOADSIZE, INFO_DATATYPE_BOOL8) != 0;
    }
    catch (const std::exception &)
    {
        return false;
    }
}

std::optional<size_t> ProxyDataStream::GetDefinedPayloadSize()
{
    if (!DefinesPayloadSize())
    {
        return std::nullopt;
    }
    return StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE, INFO_DATATYPE_SIZET);
}

size_t ProxyDataStream::GetLowerPayloadSize()
{
    const auto defined = GetDefinedPayloadSize();
    return defined ? *defined : m_devicePayloadSize();
}

std::optional<size_t> ProxyDataStream::GetMaxChunks()
{
    size_t count = 0;
    size_t size = sizeof count;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto code =
        Proxy()->TryDSGetInfo(GetLowerHandle(), STREAM_INFO_NUM_CHUNKS_MAX, &type, &count, &size);
    return code == GC_ERR_SUCCESS ? std::optional(count) : std::nullopt;
}

std::optional<uint64_t> ProxyDataStream::GetDroppedFrameCount()
{
    if (m_rules.needsDescription)
    {
        return ReadDroppedFrameCount();
    }
    return utils::Try([this] { return ReadDroppedFrameCount(); }).value_or(std::nullopt);
}

std::optional<uint64_t> ProxyDataStream::ReadDroppedFrameCount()
{
    if (!m_lowerNodeMap || !m_lowerNodeMap->IsValid())
    {
        return std::nullopt;
    }
    const auto node = m_lowerNodeMap->TryFindNode("StreamDroppedFrameCount");
    if (!node || !nodemap::IsReadable(*this, *m_lowerNodeMap, *node))
    {
        return std::nullopt;
    }
    return static_cast<uint64_t>(nodemap::ReadInteger(*this, *node));
}

} // namespace GenTL::internal
