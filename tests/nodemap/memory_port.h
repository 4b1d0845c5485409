#pragma once

#include "support/registers_only_port.h"
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

/// A port over a few bytes. It records its accesses and accepts those of 0 bytes.
class MemoryPort final : public RegistersOnlyPort
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

private:
    void CheckRange(uint64_t address, size_t size) const
    {
        if (!utils::RangeFits(address, size, bytes.size()))
        {
            throw GenTLException("no such register", GC_ERR_INVALID_ADDRESS);
        }
    }
};

} // namespace GenTL::internal::nodemap
