#pragma once

#include "processing/types.h"

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// For a task that reads the lower buffer itself, where others leave that to the vision library.
/// @throws GenTLException "Input buffer has no memory!", GC_ERR_ERROR, for bytes at a null address
void CheckHasMemory(const InputData &input);

/// Copies a frame. One that is larger than a processor's own cache goes past the cache into memory: it would
/// not stay there until the consumer reads it, and so it does not push out the frame that comes next.
void CopyFrame(uint8_t *target, const uint8_t *source, size_t size);

} // namespace GenTL::internal
