#include "consumer/feature_registers.h"

#include "consumer/description_tree.h"
#include "port/whole_read.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstring>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::GenTLException;

void FeatureRegisters::Read(uint64_t address, void *data, size_t size)
{
    if (!m_chunkIds.empty() && address >= ChunkAddress(0))
    {
        const auto chunk = ChunkAt(address);
        if (size > chunk.size())
        {
            throw GenTLException("the chunk is too short", GC_ERR_INVALID_ADDRESS);
        }
        std::memcpy(data, chunk.data(), size);
        return;
    }
    internal::ReadAllRegisters(m_port, address, data, size);
}

void FeatureRegisters::Write(uint64_t address, const void *data, size_t size)
{
    if (!m_chunkIds.empty() && address >= ChunkAddress(0))
    {
        throw GenTLException("the chunks of a frame can only be read", GC_ERR_ACCESS_DENIED);
    }
    m_port.WriteRegisters(address, data, &size);
}

/// The bytes of a chunk from an address on.
std::span<const uint8_t> FeatureRegisters::ChunkAt(uint64_t address) const
{
    for (size_t index = 0; index < m_chunkIds.size(); ++index)
    {
        const auto chunk = m_chunks.find(m_chunkIds[index]);
        const auto offset = address - ChunkAddress(index);
        if (address < ChunkAddress(index) || address >= ChunkAddress(index + 1))
        {
            continue;
        }
        if (chunk == m_chunks.end())
        {
            throw GenTLException(fmt::format("there is no chunk {:#x}", m_chunkIds[index]),
                                 GC_ERR_NOT_AVAILABLE);
        }
        return offset < chunk->second.size() ? chunk->second.subspan(offset) : std::span<const uint8_t>();
    }
    throw GenTLException("it lies in no chunk", GC_ERR_INVALID_ADDRESS);
}

} // namespace gentlctl
