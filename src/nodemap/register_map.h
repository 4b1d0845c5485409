#pragma once

#include "utils/mutex.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace GenTL::internal::nodemap
{

enum class RegisterAccess : int32_t
{
    None = 0,
    ReadOnly = 1,
    WriteOnly = 2,
    ReadWrite = 3,
};

constexpr bool IsReadable(RegisterAccess access)
{
    return (static_cast<int32_t>(access) | 2) == 3;
}
constexpr bool IsWritable(RegisterAccess access)
{
    return (static_cast<int32_t>(access) & ~1) == 2;
}

/// Called with the bytes and the register's context before the register is read or changed.
using RegisterCallback = std::function<void(std::span<uint8_t> data, void *context)>;

/// One register of a RegisterMap.
struct Register
{
    RegisterAccess Access{};
    uint64_t Address{};
    uint64_t Size{}; ///< bytes, never 0
    RegisterCallback OnWrite{};
    RegisterCallback OnRead{};
    void *Context{};          ///< passed to both callbacks
    uint64_t StorageOffset{}; ///< set by AddRegister
};

/// The register space behind a local port.
class IRegisterMap
{
public:
    IRegisterMap() = default;
    IRegisterMap(const IRegisterMap &) = delete;
    IRegisterMap &operator=(const IRegisterMap &) = delete;
    virtual ~IRegisterMap() = default;

    /// Appends a register behind the last one.
    /// @throws GenTLException GC_ERR_ERROR for a register without a size, without access, or at the wrong
    /// address, and for an initial value longer than the register. The map stays unchanged.
    virtual void AddRegister(Register &&reg, const void *initialValue, size_t initialSize) = 0;
    /// Checks access, runs the read callbacks, and reads.
    /// @throws GenTLException GC_ERR_INVALID_PARAMETER, GC_ERR_BUFFER_TOO_SMALL, GC_ERR_INVALID_ADDRESS,
    /// GC_ERR_ACCESS_DENIED
    virtual void Read(uint64_t address, void *buffer, size_t size) = 0;
    /// Checks access, runs the write callbacks, and writes. An error leaves the registers unchanged.
    virtual void Write(uint64_t address, const void *buffer, size_t size) = 0;
    /// Writes without access checks and callbacks, so that owners can fill read-only registers.
    virtual void WriteInternal(uint64_t address, const void *buffer, size_t size) = 0;
    /// The first address behind the last register. Takes no lock.
    virtual uint64_t Size() const = 0;
};

/// A byte array from address 0 without gaps, divided into registers in ascending order.
///
/// Every operation and its callbacks run under one recursive mutex, so a callback may use its own map. A
/// callback may also call the lower producer. That cannot deadlock: the lower producer calls no function of
/// this library, so its answer never waits for this mutex.
class RegisterMap final : public IRegisterMap
{
public:
    explicit RegisterMap(size_t reservedRegisters);

    void AddRegister(Register &&reg, const void *initialValue, size_t initialSize) override;
    void Read(uint64_t address, void *buffer, size_t size) override;
    void Write(uint64_t address, const void *buffer, size_t size) override;
    void WriteInternal(uint64_t address, const void *buffer, size_t size) override;
    uint64_t Size() const override;

private:
    enum class WriteMode
    {
        Checked,
        Internal,
    };

    std::span<Register> Touched(uint64_t address, size_t size);
    void WriteBytes(uint64_t address, const void *buffer, size_t size, WriteMode mode);

    utils::RecursiveMutex m_lock;
    std::vector<Register> m_registers; ///< constant once the map is built, hence read without the lock
    std::vector<uint8_t> m_storage QVR_GUARDED_BY(m_lock);
};

} // namespace GenTL::internal::nodemap
