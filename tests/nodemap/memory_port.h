#pragma once

#include "port/i_port.h"
#include "utils/checks.h"
#include "utils/gentl_exception.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::nodemap
{

/// Wraps nodes into a description.
inline std::string Description(const std::string &nodes)
{
    return "<RegisterDescription>" + nodes + "</RegisterDescription>";
}

/// A port over a few bytes. It records its accesses and takes one of 0 bytes as well.
class MemoryPort final : public IPort
{
public:
    struct Access
    {
        uint64_t address;
        size_t size;
        bool hasBuffer;

        friend bool operator==(const Access &, const Access &) = default;
    };

    explicit MemoryPort(std::vector<uint8_t> content = std::vector<uint8_t>(64)) : bytes(std::move(content))
    {
    }

    std::vector<uint8_t> bytes;
    std::vector<Access> reads;
    std::vector<Access> writes;

    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override
    {
        reads.push_back({iAddress, *piSize, pBuffer != nullptr});
        CheckRange(iAddress, *piSize);
        if (*piSize != 0)
        {
            std::memcpy(pBuffer, bytes.data() + iAddress, *piSize);
        }
    }
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override
    {
        writes.push_back({iAddress, *piSize, pBuffer != nullptr});
        CheckRange(iAddress, *piSize);
        if (*piSize != 0)
        {
            std::memcpy(bytes.data() + iAddress, pBuffer, *piSize);
        }
    }

    // Nothing but the plain registers may be used below the consumer's view.
    void ReadPort(uint64_t, void *, size_t *) override { Unused(); }
    void WritePort(uint64_t, const void *, size_t *) override { Unused(); }
    void GetPortURL(char *, size_t *) override { Unused(); }
    void GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void GetNumPortURLs(uint32_t *) override { Unused(); }
    void GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

private:
    void CheckRange(uint64_t address, size_t size) const
    {
        if (!utils::RangeFits(address, size, bytes.size()))
        {
            throw GenTLException("no such register", GC_ERR_INVALID_ADDRESS);
        }
    }
    [[noreturn]] static void Unused() { throw std::logic_error("not an access to registers"); }
};

} // namespace GenTL::internal::nodemap
