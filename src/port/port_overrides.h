#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

namespace GenTL::internal
{

/// Callbacks that answer for one register in place of the device.
struct PortCallback
{
    std::string Name; ///< the node's name, for messages
    /// @param size in: bytes of the register; out: bytes that were handled
    /// @return false: the device answers
    std::function<bool(void *buffer, size_t *size)> OnRead;
    std::function<bool(const void *buffer, size_t *size)> OnWrite;
    uint64_t Length = 0; ///< the register's length in bytes
};

/// The registers of a port that callbacks answer for.
///
/// Cuts a request into the registers that have a callback and lie fully inside the request, and the gaps
/// between them, which go on to the device. A register that the request covers only in part belongs to a gap.
class PortOverrides
{
public:
    using ReadGap = std::function<void(uint64_t address, void *buffer, size_t size)>;
    using WriteGap = std::function<void(uint64_t address, const void *buffer, size_t size)>;

    /// Adds an entry. If the address already has one, each callback that is set replaces the earlier one.
    /// @throws GenTLException "Port callback register size mismatch detected on {} ({})", GC_ERR_ERROR
    void AddPortCallback(uint64_t address, PortCallback entry);

    void Read(uint64_t address, void *buffer, size_t size, const ReadGap &readGap) const;
    /// Writes the registers first, in no particular order, then the gaps by ascending address. A register
    /// whose callback leaves it to the device is written there on its own.
    void Write(uint64_t address, const void *buffer, size_t size, const WriteGap &writeGap) const;

private:
    std::unordered_map<uint64_t, PortCallback> m_callbacks;
};

} // namespace GenTL::internal
