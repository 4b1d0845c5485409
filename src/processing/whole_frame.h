#pragma once

#include "processing/frame.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// The bytes of a part in the frame's buffer that have been delivered.
/// @throws GenTLException GC_ERR_ERROR for a part that does not lie in the buffer
std::span<uint8_t> DeliveredPart(const InputData &input, const BufferPartInfo &part);

/// Copies the bytes of a frame that were delivered, or as many of them as fit. Parts keep their places.
/// Parts that do not fit are left out, and so are chunks that were not delivered or do not fit.
/// @throws GenTLException GC_ERR_ERROR for a part outside of the buffer, for more bytes than the buffer has,
/// and without memory; GC_ERR_PARSING_CHUNK_DATA for a chunk outside of a complete frame
ProcessingResult CopyWholeFrame(const InputData &input, std::span<uint8_t> output);

} // namespace GenTL::internal
