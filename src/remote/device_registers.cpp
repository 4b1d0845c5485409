#include "remote/device_registers.h"

#include "port/whole_read.h"
#include "remote/register_window.h"
#include "utils/log.h"

namespace GenTL::internal
{

void DeviceRegisters::Read(uint64_t address, void *data, size_t size)
{
    CheckWindow(address);
    ReadAllRegisters(m_port, address, data, size);
}

void DeviceRegisters::Write(uint64_t address, const void *data, size_t size)
{
    CheckWindow(address);
    m_port.WriteRegisters(address, data, &size);
}

void DeviceRegisters::CheckWindow(uint64_t address)
{
    const uint64_t base = m_window;
    if (base != 0 && address >= base && address - base < RegisterWindow::size)
    {
        m_window = 0;
        QVR_LOG_WARN("The device has a register at 0x{:X}, where the consumer gets another one", address);
    }
}

} // namespace GenTL::internal
