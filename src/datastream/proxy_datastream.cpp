#include "datastream/proxy_datastream.h"

#include "nodemap/node_access.h"
#include "port/module_description.h"
#include "utils/lower_info.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

std::unique_ptr<ProxyDataStream> ProxyDataStream::Open(ILibrary &library, std::shared_ptr<IGenTLProxy> proxy,
                                                       DEV_HANDLE lowerDevice, DevicePayloadSize payloadSize)
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
    return std::make_unique<ProxyDataStream>(library, std::move(proxy), handle, std::move(payloadSize));
}

ProxyDataStream::ProxyDataStream(ILibrary &library, std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE handle,
                                 DevicePayloadSize payloadSize)
    : ProxyModule(std::move(proxy), handle), m_devicePayloadSize(std::move(payloadSize)), m_library(&library)
{
    bool hasEvent = false;
    try
    {
        RegisterEvent(EVENT_NEW_BUFFER, &m_newBufferEvent);
        hasEvent = true;
        const auto bytes = ReadDescription(*this);
        m_lowerNodeMap = std::make_unique<nodemap::NodeMapParser>(
            std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
    }
    catch (...)
    {
        // While the lower stream stays open, it cannot be opened again.
        Close(hasEvent);
        throw;
    }
}

ProxyDataStream::~ProxyDataStream()
{
    Close(true);
}

void ProxyDataStream::Close(bool hasEvent) noexcept
{
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
    const auto count = StreamInfo<size_t>(STREAM_INFO_BUF_ANNOUNCE_MIN, INFO_DATATYPE_SIZET);
    for (size_t i = 0; i < count; ++i)
    {
        BUFFER_HANDLE buffer = nullptr;
        Proxy()->DSAllocAndAnnounceBuffer(GetLowerHandle(), size, nullptr, &buffer);
        Proxy()->DSQueueBuffer(GetLowerHandle(), buffer);
        m_lowerBuffers.push_back(buffer);
    }
}

void ProxyDataStream::RevokeBuffers()
{
    const utils::MutexLock guard(m_lowerBuffersMutex);
    Proxy()->DSFlushQueue(GetLowerHandle(), ACQ_QUEUE_ALL_DISCARD);
    for (auto *const buffer : m_lowerBuffers)
    {
        Proxy()->DSRevokeBuffer(GetLowerHandle(), buffer, nullptr, nullptr);
    }
    m_lowerBuffers.clear();
}

void ProxyDataStream::StartAcquisition(uint64_t numToAcquire)
{
    Proxy()->DSStartAcquisition(GetLowerHandle(), ACQ_START_FLAGS_DEFAULT, numToAcquire);
}

void ProxyDataStream::StopAcquisition()
{
    Proxy()->DSStopAcquisition(GetLowerHandle(), ACQ_STOP_FLAGS_KILL);
    Proxy()->EventKill(m_newBufferEvent);
}

ProxyBuffer ProxyDataStream::WaitForBuffer(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    Proxy()->EventGetData(m_newBufferEvent, &data, &size, timeoutMs);
    return {Proxy(), GetLowerHandle(), data.BufferHandle};
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

size_t ProxyDataStream::GetLowerPayloadSize()
{
    if (DefinesPayloadSize())
    {
        return StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE, INFO_DATATYPE_SIZET);
    }
    return m_devicePayloadSize();
}

std::optional<uint64_t> ProxyDataStream::GetDroppedFrameCount()
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
