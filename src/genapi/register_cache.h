#pragma once

#include "genapi/i_register_port.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace GenTL::internal::genapi
{

/// The bytes of registers as last read, by address and length.
///
/// Owned by GraphFeatures and, except for Invalidate, as thread-safe as it. Each port has its own cache, so
/// an address means one place.
class RegisterCache
{
public:
    explicit RegisterCache(IRegisterPort &port) : m_port(port) {}

    /// Fills `bytes` from the cache if it has this address and length, else from the port.
    void Read(uint64_t address, std::span<uint8_t> bytes);
    /// Fills `bytes` from the port and keeps nothing.
    void ReadDevice(uint64_t address, std::span<uint8_t> bytes);
    /// Writes to the port. A write may change any register, so all of them are dropped, even if it fails.
    void Write(uint64_t address, std::span<const uint8_t> bytes);

    /// Drops all registers, including any that are being read meanwhile. Any thread may call it at any time.
    void Invalidate() noexcept { ++m_generation; }

private:
    IRegisterPort &m_port;
    std::atomic<uint64_t> m_generation = 0;
    uint64_t m_heldGeneration = 0; ///< to which m_registers belongs
    std::map<std::pair<uint64_t, size_t>, std::vector<uint8_t>> m_registers;
};

} // namespace GenTL::internal::genapi
