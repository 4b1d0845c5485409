#ifndef QVR_SIMULATOR_REGISTER_SPACE_H
#define QVR_SIMULATOR_REGISTER_SPACE_H

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

/** One register, in little-endian byte order. The functions may be empty. */
struct Register
{
    uint64_t address;
    std::vector<uint8_t> value; /**< its size is the register's length */
    Access access;
    std::function<void(std::vector<uint8_t> &value)> refresh;     /**< before a read */
    std::function<void(const std::vector<uint8_t> &value)> check; /**< of a new value; throws to refuse it */
    std::function<void()> written;                                /**< after the value was stored */
};

/**
 * The registers behind a port. A request may cover several registers or a part of one, as long as there
 * is a register under each of its bytes. No lock: the owner serialises the calls.
 */
class RegisterSpace
{
public:
    void Add(Register added);

    Register &At(uint64_t address);

    /**
     * GC_ERR_INVALID_ADDRESS: no register under some byte of the request.
     * GC_ERR_ACCESS_DENIED: a register of the request can not be read.
     */
    void Read(uint64_t address, std::span<uint8_t> out);

    /**
     * As Read; and what the register's `check` throws. The registers in front of one that is refused are
     * written then.
     */
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

#endif
