#pragma once

#include "genapi/i_register_port.h"
#include "port/i_port.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace gentlctl
{

/// Chunks of a frame by their ids.
using Chunks = std::map<uint64_t, std::span<const uint8_t>>;

/// The registers behind the features of a module: those of its port, and those in the chunks of a frame.
///
/// Owned by Features, and for one thread at a time. The port must outlive it.
class FeatureRegisters final : public GenTL::internal::genapi::IRegisterPort
{
public:
    /// @param chunkIds the ids of the chunks that the description names, as in DescriptionTree
    FeatureRegisters(GenTL::internal::IPort &port, const std::vector<uint64_t> &chunkIds)
        : m_port(port), m_chunkIds(chunkIds)
    {
    }

    /// @throws GenTLException GC_ERR_IO: fewer bytes came; GC_ERR_NOT_AVAILABLE: the frame lacks the chunk;
    /// GC_ERR_INVALID_ADDRESS: outside of the chunk
    void Read(uint64_t address, void *data, size_t size) override;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED: a chunk
    void Write(uint64_t address, const void *data, size_t size) override;

    /// The chunks that can be read, whose bytes must stay in place until the next call.
    void Attach(Chunks chunks) { m_chunks = std::move(chunks); }

private:
    std::span<const uint8_t> ChunkAt(uint64_t address) const;

    GenTL::internal::IPort &m_port;
    const std::vector<uint64_t> &m_chunkIds;
    Chunks m_chunks;
};

} // namespace gentlctl
