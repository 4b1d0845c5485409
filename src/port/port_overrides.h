#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

namespace GenTL::internal
{

/// What answers for one register instead of the device, or does something beside it.
struct PortCallback
{
    std::string Name; ///< of the node, for messages
    /// @return true: handled; *size tells how many bytes
    std::function<bool(void *buffer, size_t *size)> OnRead;
    std::function<bool(const void *buffer, size_t *size)> OnWrite;
    uint64_t Length = 0; ///< bytes of the register
};

/// The registers of a port that are answered in another way.
///
/// A request is cut into the registers that have a callback and lie in it as a whole, and the gaps between
/// them, which go on to the device. A request that covers a register in part passes it by.
class PortOverrides
{
public:
    using ReadGap = std::function<void(uint64_t address, void *buffer, size_t size)>;
    using WriteGap = std::function<void(uint64_t address, const void *buffer, size_t size)>;

    /// Adds an entry, or replaces those callbacks of the address that the entry has.
    /// @throws GenTLException "Port callback register size mismatch detected on {} ({})", GC_ERR_ERROR
    void AddPortCallback(uint64_t address, PortCallback entry);

    void Read(uint64_t address, void *buffer, size_t size, const ReadGap &readGap) const;
    /// The registers first, in no particular order, then the gaps by ascending address.
    void Write(uint64_t address, const void *buffer, size_t size, const WriteGap &writeGap) const;

private:
    std::unordered_map<uint64_t, PortCallback> m_callbacks;
};

} // namespace GenTL::internal
