#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <vector>

namespace GenTL::simulator
{

enum class Access
{
    ReadOnly,
    WriteOnly,
    ReadWrite
};

/// One register, in little-endian byte order. The functions may be empty.
struct Register
{
    uint64_t address;
    std::vector<uint8_t> *value; ///< the owner's; its size is the register's length
    Access access;
    std::function<void()> refresh; ///< before a read: brings `value` up to date
    std::function<void(const std::vector<uint8_t> &value)> check; ///< of a new value; throws to refuse it
    std::function<void()> written;                                ///< after the value was stored
};

/// The registers behind a port. A request may cover several registers or a part of one, as long as each of
/// its bytes belongs to a register. No lock: the owner serialises the calls.
class RegisterSpace
{
public:
    void Add(Register added);

    /// @throws Error GC_ERR_INVALID_ADDRESS: a byte of the request belongs to no register.
    /// @throws Error GC_ERR_ACCESS_DENIED: a register of the request cannot be read.
    void Read(uint64_t address, std::span<uint8_t> out);

    /// Throws as Read does, and what the `check` of a register throws. The registers before a refused one
    /// have been written by then.
    void Write(uint64_t address, std::span<const uint8_t> in);

private:
    struct Piece
    {
        Register *target;
        size_t inRegister;
        size_t inRequest;
        size_t count;
    };

    std::vector<Piece> Cover(uint64_t address, size_t size, Access denied);

    std::map<uint64_t, Register> m_registers;
};

} // namespace GenTL::simulator
