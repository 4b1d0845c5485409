#pragma once

#include "genapi/i_register_port.h"
#include "port/proxy_module.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace GenTL::internal
{

/// The lower port of a device that stores this description and has these registers.
class StoredDevice final : public ProxyModule
{
public:
    /// @param registers null: no address but the description's may be read or written
    explicit StoredDevice(std::span<const uint8_t> document, genapi::IRegisterPort *registers = nullptr)
        : ProxyModule(nullptr, nullptr), m_document(document), m_registers(registers)
    {
    }

    void GetPortURL(char *text, size_t *size) override
    {
        const auto url = fmt::format("local:///Cam.xml;{:X};{:X}", documentAddress, m_document.size());
        if (text != nullptr)
        {
            std::memcpy(text, url.c_str(), std::min(*size, url.size() + 1));
        }
        *size = url.size() + 1;
    }
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }
    void GetNumPortURLs(uint32_t *) override { throw GenTLException("not known", GC_ERR_NOT_IMPLEMENTED); }
    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        const auto offset = address - documentAddress;
        if (offset < m_document.size() && *size <= m_document.size() - offset)
        {
            std::memcpy(buffer, m_document.data() + offset, *size);
            return;
        }
        Registers().Read(address, buffer, *size);
    }
    void WriteRegisters(uint64_t address, const void *buffer, size_t *size) override
    {
        Registers().Write(address, buffer, *size);
    }

private:
    static constexpr uint64_t documentAddress = 0x10000;

    genapi::IRegisterPort &Registers() const
    {
        if (m_registers == nullptr)
        {
            throw GenTLException("The device has no registers", GC_ERR_INVALID_ADDRESS);
        }
        return *m_registers;
    }

    std::span<const uint8_t> m_document;
    genapi::IRegisterPort *m_registers;
};

} // namespace GenTL::internal
