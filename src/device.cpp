#include "device.h"

#include "datastream/acquisition_worker.h"
#include "datastream/datastream.h"
#include "datastream/proxy_datastream.h"
#include "instance_manager.h"
#include "library.h"
#include "modules/lower_url.h"
#include "utils/checks.h"
#include "utils/info.h"
#include "utils/log.h"
#include "utils/lower_info.h"
#include "utils/try.h"

#include <cstring>
#include <exception>
#include <utility>

namespace GenTL::internal
{

Device::Device(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE lowerHandle,
               IF_HANDLE parentHandle, const Profile &profile, const Assembly &assembly,
               DEVICE_ACCESS_FLAGS access)
    : ProxyModule(std::move(proxy), lowerHandle), m_manager(manager), m_profile(profile),
      m_assembly(assembly), m_clock(std::make_shared<DeviceClock>(Proxy(), lowerHandle)),
      m_parentHandle(parentHandle)
{
    OpenLowerPort();
    OpenRemotePort(access);
    m_remotePortHandle = m_manager->remotePorts.Add(m_remote.port);
}

void Device::OpenLowerPort()
{
    try
    {
        Proxy()->DevGetPort(GetLowerHandle(), &m_lowerPortHandle);
    }
    catch (...)
    {
        // While it stays open, nobody else can open the device.
        CloseQuietly([this] { Proxy()->DevClose(GetLowerHandle()); });
        throw;
    }
}

void Device::OpenRemotePort(DEVICE_ACCESS_FLAGS access)
{
    try
    {
        m_remote = m_assembly.makeRemoteSide({Proxy(), GetLowerHandle(), m_lowerPortHandle, access});
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_DEBUG("The device cannot be opened: {}", exception.what());
        if (m_profile.admission.explainsFailures)
        {
            CloseQuietly([this] { Proxy()->DevClose(GetLowerHandle()); });
            throw;
        }
        Proxy()->DevClose(GetLowerHandle());
        // C-05: without the cause.
        throw std::exception();
    }
}

Device::~Device()
{
    m_remote.processor.reset();
    const auto removePort = [this] { m_manager->remotePorts.Remove(m_remotePortHandle); };
    // Without the lock: nobody else reaches a device that ends.
    const auto close = [this]() QVR_UNCHECKED
    {
        Proxy()->DevClose(GetLowerHandle());
        m_dataStream.reset();
        if (m_dataStreamHandle != nullptr)
        {
            m_manager->datastreams.Remove(m_dataStreamHandle);
        }
    };
    if (m_profile.lower.closesLowerAtExit)
    {
        CloseQuietly(removePort);
        CloseQuietly(close);
        return;
    }
    // One guard for all calls. When the library clears its registries, the remote port is already gone, so
    // the first call throws and DevClose is skipped. In GCCloseLib, the lower GCCloseLib then closes the
    // device.
    CloseQuietly(
        [&]
        {
            removePort();
            close();
        });
}

void Device::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                            size_t *piSize)
{
    m_profile.lower.readsUrlText ? GetLowerUrlInfo(*this, iURLIndex, iInfoCmd, piType, pBuffer, piSize)
                                 : ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

void Device::DevGetPort(PORT_HANDLE *phRemoteDevice)
{
    utils::CheckNotNull("phRemoteDevice", phRemoteDevice);
    *phRemoteDevice = m_remotePortHandle;
}

void Device::DevGetNumDataStreams(uint32_t *piNumDataStreams)
{
    utils::CheckNotNull("piNumDataStreams", piNumDataStreams);
    *piNumDataStreams = 1;
}

void Device::DevGetDataStreamID(uint32_t iIndex, char *sDataStreamID, size_t *piSize)
{
    utils::CheckNotNull("piSize", piSize);
    utils::CheckIndex(iIndex, 1);
    const size_t size = streamId.size() + 1;
    if (sDataStreamID == nullptr)
    {
        *piSize = size;
        return;
    }
    utils::CheckBufferSize(*piSize, size);
    std::memcpy(sDataStreamID, streamId.data(), size);
}

void Device::DevOpenDataStream(const char *sDataStreamID, DS_HANDLE *phDataStream)
{
    utils::CheckNotNull({{"sDataStreamID", sDataStreamID}, {"phDataStream", phDataStream}});
    if (streamId != sDataStreamID)
    {
        // C-06: not GC_ERR_INVALID_ID.
        throw GenTLException(fmt::format("Invalid stream id {} supplied", sDataStreamID),
                             GC_ERR_INVALID_PARAMETER);
    }
    const utils::MutexLock guard(m_dataStreamMutex);
    if (m_dataStream)
    {
        throw GenTLException(fmt::format("Datastream {} is already in use ", sDataStreamID),
                             GC_ERR_RESOURCE_IN_USE);
    }
    m_dataStream = MakeDataStream();
    m_dataStreamHandle = m_manager->datastreams.Add(m_dataStream);
    *phDataStream = m_dataStreamHandle;
}

std::shared_ptr<Datastream> Device::MakeDataStream()
{
    auto &library = Library::Instance();
    const auto &rules = m_profile.stream;
    auto lower = ProxyDataStream::Open(Proxy(), GetLowerHandle(), m_remote.payloadSize, rules);
    StreamSetup setup{
        .rules = rules, .buffers = m_profile.buffers, .output = m_assembly.makeOutputQueue(library)};
    if (rules.namesTypeOfDevice)
    {
        setup.tlType = TypeText();
    }
    if (rules.passesEvents)
    {
        setup.lower.events = lower.get();
    }
    if (rules.passesChunkLimit)
    {
        setup.lower.maxChunks = [stream = lower.get()] { return stream->GetMaxChunks(); };
    }
    auto payloadSize = [stream = lower.get()] { return stream->GetDefinedPayloadSize(); };
    auto worker = std::make_unique<AcquisitionWorker>(
        std::move(lower), m_remote.processor,
        m_assembly.makeFrameReader({.clock = m_clock, .tlType = TypeText()}), rules);
    auto stream = std::make_shared<Datastream>(library, std::move(worker), m_ownHandle, std::move(setup));
    // Last, since the lower stream ends with a failure of what comes before.
    m_remote.setStreamPayloadSize(std::move(payloadSize));
    return stream;
}

/// The transport layer type of the lower device, or of the lower producer.
std::string Device::TypeText()
{
    if (!m_profile.stream.namesTypeOfDevice)
    {
        return Library::Instance().GetTLType();
    }
    const auto type = utils::Try(
        [this]
        {
            return utils::ReadText(
                [this](INFO_DATATYPE *piType, void *buffer, size_t *size)
                { Proxy()->DevGetInfo(GetLowerHandle(), DEVICE_INFO_TLTYPE, piType, buffer, size); });
        });
    return type.value_or(Library::Instance().GetTLType());
}

void Device::DevGetInfo(DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    if (iInfoCmd == DEVICE_INFO_TIMESTAMP_FREQUENCY && m_clock->CountsNanoseconds())
    {
        return utils::WriteInfo(utils::Info::Uint64(DeviceClock::nanosecondsPerSecond), piType, pBuffer,
                                piSize);
    }
    Proxy()->DevGetInfo(GetLowerHandle(), iInfoCmd, piType, pBuffer, piSize);
}

void Device::ReleaseDataStream()
{
    // Declared before the lock, so that a last reference is destroyed after the lock is released.
    std::shared_ptr<Datastream> released;
    const utils::MutexLock guard(m_dataStreamMutex);
    m_remote.setStreamPayloadSize({});
    released.swap(m_dataStream);
    m_dataStreamHandle = nullptr;
}

} // namespace GenTL::internal
