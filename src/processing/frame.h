#pragma once

#include <gentl/gentl.h>

#include <cstdint>
#include <optional>
#include <string>
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

    // Unset unless the frame is read in full.
    std::optional<size_t> payloadType{};            ///< PAYLOADTYPE_INFO_IDS
    std::optional<uint64_t> pixelFormatNamespace{}; ///< PIXELFORMAT_NAMESPACE_IDS
    std::optional<int32_t> pixelEndianness{};       ///< PIXELENDIANNESS_IDS
    std::optional<size_t> imageOffset{};            ///< bytes from the buffer's start
    std::optional<size_t> xPadding{};               ///< bytes behind each line
    std::optional<size_t> yPadding{};               ///< bytes behind the last line
    std::optional<size_t> deliveredImageHeight{};
    std::optional<bool> isImagePresent{};
    std::optional<uint64_t> timestampNs{};
    std::optional<bool> hasChunks{};            ///< CONTAINS_CHUNKDATA
    std::optional<uint64_t> chunkPayloadSize{}; ///< DELIVERED_CHUNKPAYLOADSIZE
    std::optional<uint64_t> chunkLayoutId{};
    std::optional<std::string> fileName{};
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

    // Unset unless the frame is read in full.
    std::optional<uint64_t> formatNamespace{}; ///< PIXELFORMAT_NAMESPACE_IDS
    std::optional<size_t> xOffset{};
    std::optional<size_t> yOffset{};
    std::optional<size_t> xPadding{}; ///< bytes behind each line
    std::optional<size_t> deliveredImageHeight{};
    std::optional<uint64_t> regionId{};
    std::optional<uint64_t> purposeId{};
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

/// How the end of a buffer describes its chunks, besides the list. Each chunk is followed by its id and its
/// length in 32 bits each; the image is the first chunk.
enum class ChunkTrailers : uint8_t
{
    None,
    BigEndian,   ///< of GigE Vision, TLTYPE "GEV"
    LittleEndian ///< of USB3 Vision, TLTYPE "U3V"
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

    // Unset unless the frame is read in full.
    std::optional<uint64_t> sizeFilled{}; ///< bytes delivered from `data` on; none: `size`
    std::optional<uint64_t> dataSize{};   ///< bytes that the device meant to send; none: the delivered ones
    bool isIncomplete{};                  ///< whether bytes of the frame are missing
    ChunkTrailers trailers{};
};

/// What a task wrote into the consumer's buffer.
struct ProcessingResult
{
    uint64_t bytesWritten{};             ///< SIZE_FILLED
    std::vector<BufferPartInfo> parts{}; ///< `base` points into the consumer's buffer
    BufferMetadata attributes{};
    std::optional<ChunkList> chunks{};

    // Unused in the results of a task, which processes complete frames only.
    uint64_t dataSize{};       ///< DATA_SIZE: bytes of the whole frame
    bool isIncomplete{};       ///< whether bytes of the frame are missing in the buffer
    bool isLargerThanBuffer{}; ///< whether they are missing because the buffer is too small
};

} // namespace GenTL::internal
