#pragma once

#include "processing/frame.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// Copies the chunks of a buffer behind an image whose size differs from the delivered one. Each chunk has a
/// trailer: id and length as 32-bit words. The image is already in the output.
/// @param imageSize size of the image in the output, in bytes
/// @return positions of the chunks in the output
/// @throws GenTLException "Input buffer has no memory!" and "Received chunks, but no image chunk!",
/// GC_ERR_ERROR; GC_ERR_PARSING_CHUNK_DATA for a chunk that lies beyond a buffer
ChunkList MoveChunks(const InputData &input, std::span<uint8_t> output, uint64_t imageSize);

} // namespace GenTL::internal
