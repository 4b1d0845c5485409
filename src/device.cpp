#include "device.h"

#include "datastream/acquisition_worker.h"
#include "datastream/datastream.h"
#include "datastream/proxy_datastream.h"
#include "instance_manager.h"
#include "library.h"
#include "nodemap/node_access.h"
#include "processing/processor.h"
#include "remoteport.h"
#include "utils/checks.h"
#include "utils/log.h"

#include <cstring>
#include <exception>
#include <utility>

namespace GenTL::internal
{

Device::Device(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE lowerHandle,
               IF_HANDLE parentHandle)
    : ProxyModule(std::move(proxy), lowerHandle), m_manager(manager),
      m_processor(std::make_shared<Processor>()), m_parentHandle(parentHandle)
{
    OpenLowerPort();
    OpenRemotePort();
    m_remotePortHandle = m_manager->remotePorts.Add(m_remotePort);
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

void Device::OpenRemotePort()
{
    try
    {
        m_remotePort = std::make_shared<RemotePort>(Proxy(), m_lowerPortHandle, m_processor);
    }
    catch (const std::exception &exception)
    {
        SPDLOG_DEBUG("The device cannot be opened: {}", exception.what());
        Proxy()->DevClose(GetLowerHandle());
        // C-05: without the cause.
        throw std::exception();
    }
}

Device::~Device()
{
    m_processor.reset();
    // One guard for all calls. When the library clears its registries, the remote port is already gone, so
    // the first call throws and DevClose is skipped. In GCCloseLib, the lower GCCloseLib then closes the
    // device.
    CloseQuietly(
        // Without the lock: nobody else reaches a device that ends.
        [this]() QVR_UNCHECKED
        {
            m_manager->remotePorts.Remove(m_remotePortHandle);
            Proxy()->DevClose(GetLowerHandle());
            m_dataStream.reset();
            if (m_dataStreamHandle != nullptr)
            {
                m_manager->datastreams.Remove(m_dataStreamHandle);
            }
        });
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
    const size_t size = m_streamId.size() + 1;
    if (sDataStreamID == nullptr)
    {
        *piSize = size;
        return;
    }
    utils::CheckBufferSize(*piSize, size);
    std::memcpy(sDataStreamID, m_streamId.c_str(), size);
}

void Device::DevOpenDataStream(const char *sDataStreamID, DS_HANDLE *phDataStream)
{
    utils::CheckNotNull({{"sDataStreamID", sDataStreamID}, {"phDataStream", phDataStream}});
    if (m_streamId != sDataStreamID)
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
    auto &library = Library::Instance();
    const auto payloadSize = [port = m_remotePort]
    { return nodemap::ReadUnsigned(*port, port->FindNode("PayloadSize")); };
    auto proxyStream = ProxyDataStream::Open(library, Proxy(), GetLowerHandle(), payloadSize);
    auto worker = std::make_unique<AcquisitionWorker>(std::move(proxyStream), m_processor);
    m_dataStream = std::make_shared<Datastream>(library, std::move(worker), m_ownHandle);
    m_dataStreamHandle = m_manager->datastreams.Add(m_dataStream);
    *phDataStream = m_dataStreamHandle;
}

void Device::DevGetInfo(DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    Proxy()->DevGetInfo(GetLowerHandle(), iInfoCmd, piType, pBuffer, piSize);
}

void Device::ReleaseDataStream()
{
    // Declared before the lock, so that a last reference is destroyed after the lock is released.
    std::shared_ptr<Datastream> released;
    const utils::MutexLock guard(m_dataStreamMutex);
    released.swap(m_dataStream);
    m_dataStreamHandle = nullptr;
}

} // namespace GenTL::internal
