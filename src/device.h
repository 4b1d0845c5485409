#pragma once

#include "assembly.h"
#include "port/proxy_module.h"
#include "profile/profile.h"
#include "utils/mutex.h"

#include <memory>
#include <string>

namespace GenTL::internal
{

class Datastream;
class DeviceClock;
class InstanceManager;

/// The object behind a DEV_HANDLE: an opened device with its processor, its remote port and the one data
/// stream that a consumer may open on it.
///
/// Made by Interface::IFOpenDevice, owned by the Device registry. Two states: without a stream,
/// DevOpenDataStream is allowed; with one, it is refused until DSClose. Several threads may open and close
/// the stream at the same time; the other operations have no lock.
class Device final : public ProxyModule
{
public:
    /// Reads the device's description. On a failure the lower device is closed again.
    /// @throws GenTLException of the lower DevGetPort; std::exception when the description cannot be used
    Device(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE lowerHandle,
           IF_HANDLE parentHandle, const Profile &profile = {}, const Assembly &assembly = {},
           DEVICE_ACCESS_FLAGS access = DEVICE_ACCESS_CONTROL);
    ~Device() override;

    void SetHandle(DEV_HANDLE handle) { m_ownHandle = handle; }
    IF_HANDLE GetParentHandle() const { return m_parentHandle; }
    ModuleType GetModuleType() const override { return ModuleType::Device; }
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;

    void DevGetPort(PORT_HANDLE *phRemoteDevice);
    /// Always 1, however many streams the lower device has.
    void DevGetNumDataStreams(uint32_t *piNumDataStreams);
    void DevGetDataStreamID(uint32_t iIndex, char *sDataStreamID, size_t *piSize);
    /// @throws GenTLException GC_ERR_INVALID_PARAMETER for another id than streamId, GC_ERR_RESOURCE_IN_USE
    /// while a stream is open
    void DevOpenDataStream(const char *sDataStreamID, DS_HANDLE *phDataStream);
    /// Passes on the lower producer's answer, except for the frequency of a clock that counts nanoseconds.
    void DevGetInfo(DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

    /// Releases the open stream; called by DSClose.
    void ReleaseDataStream();

private:
    void OpenLowerPort();
    void OpenRemotePort(DEVICE_ACCESS_FLAGS access);
    std::string TypeText();
    std::shared_ptr<Datastream> MakeDataStream();

    InstanceManager *m_manager;
    Profile m_profile;
    Assembly m_assembly;
    RemoteSide m_remote;
    std::shared_ptr<DeviceClock> m_clock;
    /// Of two concurrent DSClose calls exactly one releases the stream. Held while the lower stream is
    /// opened: the lower producer calls no function of this library, so it never waits for this mutex.
    utils::Mutex m_dataStreamMutex;
    std::shared_ptr<Datastream> m_dataStream QVR_GUARDED_BY(m_dataStreamMutex);
    PORT_HANDLE m_lowerPortHandle = nullptr;
    PORT_HANDLE m_remotePortHandle = nullptr;
    DS_HANDLE m_dataStreamHandle QVR_GUARDED_BY(m_dataStreamMutex) = nullptr;
    IF_HANDLE m_parentHandle;
    DEV_HANDLE m_ownHandle = nullptr;
};

} // namespace GenTL::internal
