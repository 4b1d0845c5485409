#pragma once

#include "port/proxy_module.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace gentlctl
{

/// The bytes of a chunk as a port that can only be read. They must outlive it.
class ChunkPort final : public GenTL::internal::ProxyModule
{
public:
    explicit ChunkPort(std::span<const uint8_t> bytes) : ProxyModule(nullptr, nullptr), m_bytes(bytes) {}

    GenTL::internal::ModuleType GetModuleType() const override
    {
        return GenTL::internal::ModuleType::RemoteDevice;
    }

    /// @throws std::runtime_error outside of the chunk
    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        if (address > m_bytes.size() || *size > m_bytes.size() - address)
        {
            throw std::runtime_error("the chunk is too short");
        }
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(address), *size,
                    static_cast<uint8_t *>(buffer));
    }

private:
    std::span<const uint8_t> m_bytes;
};

} // namespace gentlctl
