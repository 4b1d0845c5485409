#pragma once

#include "genapi/i_register_port.h"

#include <atomic>
#include <cstdint>

namespace GenTL::internal
{

class IPort;

/// The registers of a device behind its lower port.
///
/// Owned by EditedRemote; the port must outlive it. As thread-safe as the port.
class DeviceRegisters final : public genapi::IRegisterPort
{
public:
    /// @param port whose ReadRegisters and WriteRegisters reach the device
    explicit DeviceRegisters(IPort &port) : m_port(port) {}

    /// Logs a warning at the device's first access inside the window: a computed address of the device lies
    /// there, where the consumer gets the producer's registers.
    void WatchWindow(uint64_t base) { m_window = base; }

    void Read(uint64_t address, void *data, size_t size) override;
    void Write(uint64_t address, const void *data, size_t size) override;

private:
    void CheckWindow(uint64_t address);

    IPort &m_port;
    std::atomic<uint64_t> m_window = 0; ///< 0: none, or already logged
};

} // namespace GenTL::internal
