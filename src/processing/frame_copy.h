#pragma once

#include "processing/frame.h"

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// For a task that reads the lower buffer itself, where others leave that to the vision library.
/// @throws GenTLException "Input buffer has no memory!", GC_ERR_ERROR, for bytes at a null address
void CheckHasMemory(const InputData &input);

/// Copies a frame; without bytes, both pointers may be null. It goes through the cache, where the consumer
/// finds it: written past the cache, the copy takes less time and the consumer's read more than that.
void CopyFrame(uint8_t *target, const uint8_t *source, size_t size);

} // namespace GenTL::internal
