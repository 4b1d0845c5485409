#include "consumer/port.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace gentlctl
{
namespace
{

static_assert(std::endian::native == std::endian::little, "own registers are little-endian");

// No device has registers in the upper half of the addresses.
constexpr uint64_t ownRegisters = uint64_t{1} << 63U;

} // namespace

void Port::ReadRegisters(uint64_t address, void *buffer, size_t *size)
{
    const auto own = m_own.find(address);
    if (own == m_own.end())
    {
        return ProxyModule::ReadRegisters(address, buffer, size);
    }
    *size = std::min(*size, sizeof own->second);
    std::memcpy(buffer, &own->second, *size);
}

void Port::WriteRegisters(uint64_t address, const void *buffer, size_t *size)
{
    const auto own = m_own.find(address);
    if (own == m_own.end())
    {
        return ProxyModule::WriteRegisters(address, buffer, size);
    }
    *size = std::min(*size, sizeof own->second);
    std::memcpy(&own->second, buffer, *size);
}

uint64_t Port::AddRegister(int64_t value)
{
    const auto address = ownRegisters + m_own.size() * sizeof value;
    m_own[address] = value;
    return address;
}

} // namespace gentlctl
