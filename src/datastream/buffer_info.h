#pragma once

#include "processing/frame.h"
#include "utils/info.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

class ILibrary;
enum class BufferState : int32_t;

/// The last frame of a consumer buffer, without its pixels.
struct FrameDescription
{
    size_t sizeFilled = 0;
    size_t dataSize = 0; ///< of the whole frame, bytes; 0 unless the frame was read in full
    bool isLargerThanBuffer = false;
    BufferMetadata metadata{};
    std::vector<BufferPartInfo> parts{}; ///< empty for a single image
    uint64_t chunkLayoutId = 0;
    size_t chunkPayloadSize = 0;
    std::vector<ChunkEntry> chunks{};
};

/// Everything that a query of a consumer buffer may ask for.
struct BufferFacts
{
    const ILibrary &library; ///< for the transport layer type
    const FrameDescription &frame;
    void *base;
    size_t size;
    void *userPointer;
    bool complete;
    bool newData; ///< when false, all commands that describe the frame fail with GC_ERR_NOT_AVAILABLE
    BufferState state;
    bool passesLowerValues = false; ///< as in BufferAnswers
    std::string_view tlType{};      ///< of the device; empty: that of the library
};

/// @throws GenTLException GC_ERR_NOT_IMPLEMENTED for a command that is not in the list of queries;
/// GC_ERR_NOT_AVAILABLE for one that describes the frame, when there is none or it lacks the value
utils::Info AnswerBufferInfo(BUFFER_INFO_CMD command, const BufferFacts &facts);

/// @throws GenTLException GC_ERR_NOT_IMPLEMENTED for an unknown command; GC_ERR_NOT_AVAILABLE for a value
/// that the part lacks
/// @param passesLowerValues as in BufferAnswers
utils::Info AnswerPartInfo(BUFFER_PART_INFO_CMD command, const BufferPartInfo &part,
                           bool passesLowerValues = false);

} // namespace GenTL::internal
