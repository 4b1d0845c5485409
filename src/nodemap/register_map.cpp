#include "nodemap/register_map.h"

#include "utils/checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace GenTL::internal::nodemap
{
namespace
{

[[noreturn]] void Fail(const std::string &message, GC_ERROR code)
{
    throw GenTLException(message, code);
}

void CheckBuffer(const void *buffer, size_t size, const char *emptyMessage)
{
    if (buffer == nullptr)
    {
        Fail("Invalid buffer pointer", GC_ERR_INVALID_PARAMETER);
    }
    if (size == 0)
    {
        Fail(emptyMessage, GC_ERR_BUFFER_TOO_SMALL);
    }
}

} // namespace

RegisterMap::RegisterMap(size_t reservedRegisters)
{
    m_registers.reserve(reservedRegisters);
}

void RegisterMap::AddRegister(Register &&reg, const void *initialValue, size_t initialSize)
{
    if (reg.Size == 0)
    {
        Fail("Cannot add a register with a size of 0!", GC_ERR_ERROR);
    }
    if (reg.Access == RegisterAccess::None)
    {
        Fail("Cannot add a register with access 'None'!", GC_ERR_ERROR);
    }
    if (initialSize > reg.Size)
    {
        Fail(fmt::format("Cannot initialize a register with a size of {} with an value of size {}", reg.Size,
                         initialSize),
             GC_ERR_ERROR);
    }
    const utils::MutexLock guard(m_lock);
    if (m_registers.empty() && reg.Address != 0)
    {
        Fail(fmt::format("The first registers start address must be 0x0 instead of 0x{:X}!", reg.Address),
             GC_ERR_ERROR);
    }
    if (reg.Address != Size())
    {
        Fail(fmt::format("The registers start address 0x{:X} must be right after the last registers address "
                         "+ size (0x{:X}).",
                         reg.Address, Size()),
             GC_ERR_ERROR);
    }
    const auto offset = m_storage.size();
    // A resize to the sum could wrap for a size near 2^64.
    m_storage.insert(m_storage.end(), reg.Size, 0);
    reg.StorageOffset = offset;
    m_registers.push_back(std::move(reg));
    if (initialSize > 0)
    {
        std::memcpy(m_storage.data() + offset, initialValue, initialSize);
    }
}

std::span<Register> RegisterMap::Touched(uint64_t address, size_t size)
{
    auto first = std::upper_bound(m_registers.begin(), m_registers.end(), address,
                                  [](uint64_t wanted, const Register &reg) { return wanted < reg.Address; });
    if (first == m_registers.begin())
    {
        Fail("Address not mapped", GC_ERR_INVALID_ADDRESS);
    }
    --first;
    // The caller has checked the range against the storage, so this sum cannot wrap.
    const auto last =
        std::find_if(first, m_registers.end(),
                     [end = address + size](const Register &reg) { return end <= reg.Address + reg.Size; });
    return {first, last == m_registers.end() ? last : last + 1};
}

void RegisterMap::Read(uint64_t address, void *buffer, size_t size)
{
    const utils::MutexLock guard(m_lock);
    CheckBuffer(buffer, size, "Cannot read an empty buffer");
    if (!utils::RangeFits(address, size, m_storage.size()))
    {
        Fail("Read out of bounds", GC_ERR_INVALID_ADDRESS);
    }
    const auto touched = Touched(address, size);
    for (auto &reg : touched)
    {
        if (!IsReadable(reg.Access))
        {
            Fail("Register not readable", GC_ERR_ACCESS_DENIED);
        }
        if (reg.OnRead)
        {
            reg.OnRead(std::span(m_storage).subspan(reg.StorageOffset, reg.Size), reg.Context);
        }
    }
    const auto offset = touched.front().StorageOffset + (address - touched.front().Address);
    std::memcpy(buffer, m_storage.data() + offset, size);
}

void RegisterMap::Write(uint64_t address, const void *buffer, size_t size)
{
    WriteBytes(address, buffer, size, WriteMode::Checked);
}

void RegisterMap::WriteInternal(uint64_t address, const void *buffer, size_t size)
{
    WriteBytes(address, buffer, size, WriteMode::Internal);
}

void RegisterMap::WriteBytes(uint64_t address, const void *buffer, size_t size, WriteMode mode)
{
    CheckBuffer(buffer, size, "Cannot write an empty buffer");
    const utils::MutexLock guard(m_lock);
    if (!utils::RangeFits(address, size, m_storage.size()))
    {
        Fail("Write out of bounds", GC_ERR_INVALID_ADDRESS);
    }
    const auto touched = Touched(address, size);
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    std::vector<uint8_t> pending(bytes, bytes + size);
    if (mode == WriteMode::Checked)
    {
        for (auto &reg : touched)
        {
            if (!IsWritable(reg.Access))
            {
                Fail("Register not writable", GC_ERR_ACCESS_DENIED);
            }
            if (reg.OnWrite)
            {
                // Every callback sees the whole write and may change it.
                reg.OnWrite(pending, reg.Context);
            }
        }
    }
    const auto offset = touched.front().StorageOffset + (address - touched.front().Address);
    std::memcpy(m_storage.data() + offset, pending.data(), size);
}

uint64_t RegisterMap::Size() const
{
    return m_registers.empty() ? 0 : m_registers.back().Address + m_registers.back().Size;
}

} // namespace GenTL::internal::nodemap
