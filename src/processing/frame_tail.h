#pragma once

#include "processing/frame.h"

#include <cstdint>
#include <optional>
#include <span>

namespace GenTL::internal
{

/// The bytes behind the image of a frame: its chunks. All positions count from the start of the buffer that
/// the frame came in.
struct FrameTail
{
    uint64_t imageBegin{};
    uint64_t begin{};
    uint64_t end{};
    /// Whether the tail begins with the trailer of the image, which holds the image's length.
    bool hasImageTrailer{};

    uint64_t Size() const { return end - begin; }
};

/// Behind a converted image, the tail begins at a multiple of this.
inline constexpr uint64_t tailAlignment = 4;

constexpr uint64_t Aligned(uint64_t position, uint64_t alignment)
{
    return (position + alignment - 1) / alignment * alignment;
}

/// Bytes of the frame that were delivered, from the start of its buffer.
/// @throws GenTLException GC_ERR_ERROR when they are more than the buffer has
uint64_t DeliveredBytes(const InputData &input);

/// Finds the tail of a complete frame with one image; none when the frame has no chunks. Follows the trailers
/// from the end of the frame to the image. If there are none, or they do not lead there, the tail begins
/// where the chunk at the image's place ends, else at the first chunk.
/// @param imageEnd of the pixels
/// @throws GenTLException GC_ERR_PARSING_CHUNK_DATA for a chunk that lies outside of the bytes delivered
std::optional<FrameTail> FindTail(const InputData &input, uint64_t imageBegin, uint64_t imageEnd);

/// Copies the tail and corrects the length in the image's trailer.
/// @param target where the tail begins in the output, which has room for it
/// @return the list of the chunks, moved by the same distance. The entry of the image covers the bytes up to
/// the target; other entries in front of the tail are left out.
/// @throws GenTLException GC_ERR_PARSING_CHUNK_DATA when the image's trailer cannot hold the length
ChunkList MoveTail(const InputData &input, const FrameTail &tail, std::span<uint8_t> output, uint64_t target);

} // namespace GenTL::internal
