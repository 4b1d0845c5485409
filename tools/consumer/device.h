#pragma once

#include "consumer/handle.h"
#include "consumer/port.h"
#include "consumer/producer.h"

#include <memory>
#include <string>

namespace gentlctl
{

/// An opened device with its remote port. Opens its first stream on demand.
class OpenDevice
{
public:
    /// @param selection as for Producer::Choose
    /// @throws std::runtime_error there is no such device, or it cannot be opened; the message says why
    OpenDevice(Producer &producer, const std::string &selection);

    const DeviceEntry &Entry() const { return m_entry; }
    void *InterfaceHandle() const { return m_interface; }
    void *DeviceHandle() const { return m_device.Get(); }
    void *RemotePortHandle() const { return m_remotePort; }
    /// The first stream. The first call opens it.
    void *Stream();

    /// @param module "system", "interface", "device", "remote" or "stream"
    /// @throws std::runtime_error any other name
    std::shared_ptr<Port> PortOf(const std::string &module);

    /// Closes the device, though a stream may be open on it. Nothing else may be called afterwards.
    /// @throws GenTLException the device does not close
    void Close();

private:
    Producer &m_producer;
    DeviceEntry m_entry;
    GenTL::IF_HANDLE m_interface;
    Handle m_device;
    void *m_remotePort = nullptr;
    Handle m_stream;
};

} // namespace gentlctl
