#pragma once

#include "port/proxy_module.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace gentlctl
{

/// A register port of the producer, for reading features by name.
///
/// It also holds registers of its own, at addresses that no device uses. They store the literal values of a
/// description. Only one thread at a time may use them.
class Port final : public GenTL::internal::ProxyModule
{
public:
    Port(std::shared_ptr<GenTL::internal::IGenTLProxy> proxy, void *handle,
         GenTL::internal::ModuleType module)
        : ProxyModule(std::move(proxy), handle), m_module(module)
    {
    }

    GenTL::internal::ModuleType GetModuleType() const override { return m_module; }
    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override;
    void WriteRegisters(uint64_t address, const void *buffer, size_t *size) override;

    /// Adds a register of 8 bytes, little-endian.
    /// @return its address
    uint64_t AddRegister(int64_t value);

private:
    GenTL::internal::ModuleType m_module;
    std::map<uint64_t, int64_t> m_own;
};

} // namespace gentlctl
