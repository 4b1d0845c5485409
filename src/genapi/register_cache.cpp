#include "genapi/register_cache.h"

#include <algorithm>

namespace GenTL::internal::genapi
{

void RegisterCache::Read(uint64_t address, std::span<uint8_t> bytes)
{
    const uint64_t now = m_generation;
    if (m_heldGeneration != now)
    {
        m_registers.clear();
        m_heldGeneration = now;
    }
    const std::pair place{address, bytes.size()};
    if (const auto known = m_registers.find(place); known != m_registers.end())
    {
        std::ranges::copy(known->second, bytes.begin());
        return;
    }
    ReadDevice(address, bytes);
    // Kept under the generation before the read: if Invalidate was called meanwhile, the next read drops it.
    m_registers.emplace(place, std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

void RegisterCache::ReadDevice(uint64_t address, std::span<uint8_t> bytes)
{
    m_port.Read(address, bytes.data(), bytes.size());
}

void RegisterCache::Write(uint64_t address, std::span<const uint8_t> bytes)
{
    Invalidate();
    m_port.Write(address, bytes.data(), bytes.size());
}

} // namespace GenTL::internal::genapi
