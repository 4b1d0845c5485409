#pragma once

#include "port/proxy_module.h"
#include "processing/i_processor.h"
#include "utils/mutex.h"

#include <memory>
#include <string>

namespace GenTL::internal
{

class Datastream;
class InstanceManager;
class RemotePort;

/// What a DEV_HANDLE stands for: an opened device, with the one processor and the remote port that belong to
/// it, and the one data stream that a consumer may open on it.
///
/// Made by Interface::IFOpenDevice, owned by the Device registry. Two states: without a stream, where
/// DevOpenDataStream is allowed, and with one, where it is refused until DSClose. Streams may be opened and
/// closed by several threads at a time; all else is without a lock.
class Device final : public ProxyModule
{
public:
    /// Reads the device's description. On a failure the lower device is closed again.
    /// @throws GenTLException of the lower DevGetPort; std::exception when the description is of no use
    Device(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE lowerHandle,
           IF_HANDLE parentHandle);
    ~Device() override;

    void SetHandle(DEV_HANDLE handle) { m_ownHandle = handle; }
    IF_HANDLE GetParentHandle() const { return m_parentHandle; }
    ModuleType GetModuleType() const override { return ModuleType::Device; }

    void DevGetPort(PORT_HANDLE *phRemoteDevice);
    /// One, however many the lower device has.
    void DevGetNumDataStreams(uint32_t *piNumDataStreams);
    void DevGetDataStreamID(uint32_t iIndex, char *sDataStreamID, size_t *piSize);
    /// @throws GenTLException GC_ERR_INVALID_PARAMETER for another id than "Stream1", GC_ERR_RESOURCE_IN_USE
    /// while a stream is open
    void DevOpenDataStream(const char *sDataStreamID, DS_HANDLE *phDataStream);
    void DevGetInfo(DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

    /// Forgets the open stream; for DSClose.
    void ReleaseDataStream();

private:
    void OpenLowerPort();
    void OpenRemotePort();

    InstanceManager *m_manager;
    std::shared_ptr<RemotePort> m_remotePort;
    /// Of two concurrent DSClose calls exactly one releases the stream. Held while the lower stream is
    /// opened: the lower producer calls nothing of ours, so it never waits for this mutex.
    utils::Mutex m_dataStreamMutex;
    std::shared_ptr<Datastream> m_dataStream QVR_GUARDED_BY(m_dataStreamMutex);
    std::shared_ptr<IProcessor> m_processor;
    PORT_HANDLE m_lowerPortHandle = nullptr;
    PORT_HANDLE m_remotePortHandle = nullptr;
    DS_HANDLE m_dataStreamHandle QVR_GUARDED_BY(m_dataStreamMutex) = nullptr;
    IF_HANDLE m_parentHandle;
    DEV_HANDLE m_ownHandle = nullptr;
    std::string m_streamId = "Stream1";
};

} // namespace GenTL::internal
