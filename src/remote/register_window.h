#pragma once

#include "genapi/graph_walks.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{

using genapi::AddressRange;

/// The producer's addresses beside the device's: first the description, then registers that callbacks answer
/// for.
///
/// Owned by the view of a device; filled when the device is opened, constant afterwards. As thread-safe as
/// the callbacks.
class RegisterWindow
{
public:
    static constexpr uint64_t size = uint64_t{1} << 32U;
    static constexpr uint64_t registersAlignment = uint64_t{64} << 10U;
    static constexpr size_t numberLength = 8;

    /// The base of the first window that touches none of the ranges. Windows lie 2^40 bytes apart, below
    /// 2^63, since addresses of GenApi are signed. None when all are taken.
    static std::optional<uint64_t> FreeBase(std::span<const AddressRange> taken);
    /// Bytes from the window's base to its first register.
    static uint64_t RegistersOffset(uint64_t documentSize);

    /// A register, and the callbacks that answer for it. A callback sees all bytes of the register, and
    /// throws to refuse an access.
    struct Register
    {
        std::string name; ///< for messages
        size_t length = numberLength;
        std::function<void(std::span<uint8_t>)> read;
        std::function<void(std::span<const uint8_t>)> write; ///< none: the register is read-only
    };

    RegisterWindow(uint64_t base, std::string document);

    /// Adds a register behind the last one.
    void Add(Register entry);

    uint64_t Base() const { return m_base; }
    const std::string &Document() const { return m_document; }
    /// Whether an access has a byte in the window.
    bool IsTouchedBy(uint64_t address, size_t length) const;
    /// Reads one or more whole registers, or a range of the document.
    /// @throws GenTLException GC_ERR_INVALID_ADDRESS for any other range; whatever a callback throws
    void Read(uint64_t address, std::span<uint8_t> bytes) const;
    /// Writes one or more whole registers, in the order of their addresses.
    /// @throws GenTLException GC_ERR_INVALID_ADDRESS for any other range; GC_ERR_ACCESS_DENIED, before
    /// anything is written, when a register or the document is read-only; whatever a callback throws
    void Write(uint64_t address, std::span<const uint8_t> bytes) const;

private:
    struct Placed
    {
        uint64_t offset;
        Register entry;
    };

    bool IsInDocument(uint64_t address, size_t length) const;
    /// The registers that cover a range exactly.
    std::span<const Placed> RegistersIn(uint64_t address, size_t length) const;

    uint64_t m_base;
    std::string m_document;
    uint64_t m_end; ///< offset behind the last register
    std::vector<Placed> m_registers;
};

} // namespace GenTL::internal
