#pragma once

#include <gentl/gentl.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace GenTL::internal
{

/// Description of a frame.
struct BufferMetadata
{
    uint64_t frameId{}; ///< from 1 in each acquisition
    std::optional<uint64_t> timestamp{};
    std::optional<size_t> width{};  ///< pixels
    std::optional<size_t> height{}; ///< lines
    std::optional<size_t> xOffset{};
    std::optional<size_t> yOffset{};
    std::optional<uint64_t> pixelFormat{}; ///< PFNC code
};

/// Description of one part of a multi-part buffer.
struct BufferPartInfo
{
    uint8_t *base{};
    size_t size{};                    ///< bytes
    int32_t type{};                   ///< PARTDATATYPE_IDS
    std::optional<uint64_t> format{}; ///< PFNC code
    std::optional<size_t> width{};
    std::optional<size_t> height{};
    std::optional<uint64_t> sourceId{};
};

/// Copied to the consumer byte for byte: chunk id, offset, length.
using ChunkEntry = SINGLE_CHUNK_DATA;
static_assert(sizeof(ChunkEntry) == 24);

struct ChunkList
{
    uint64_t payloadSize{}; ///< delivered chunk payload, bytes
    uint64_t layoutId{};
    std::vector<ChunkEntry> entries{};
};

/// One filled lower buffer, described and not owned.
struct InputData
{
    uint8_t *data{};
    uint64_t size{};                     ///< the buffer's whole memory, not the bytes delivered
    int32_t payloadType{};               ///< PAYLOADTYPE_INFO_IDS
    std::vector<BufferPartInfo> parts{}; ///< empty for a single image
    BufferMetadata attributes{};
    std::optional<ChunkList> chunks{}; ///< set when the buffer holds chunk data
};

/// What a task wrote into the consumer's buffer.
struct ProcessingResult
{
    uint64_t bytesWritten{};
    std::vector<BufferPartInfo> parts{}; ///< `base` points into the consumer's buffer
    BufferMetadata attributes{};
    std::optional<ChunkList> chunks{};
};

} // namespace GenTL::internal
