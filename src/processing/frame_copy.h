#pragma once

#include "processing/frame.h"

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// For a task that reads the lower buffer itself and does not leave that to the vision library.
/// @throws GenTLException "Input buffer has no memory!", GC_ERR_ERROR, when the input has a size and a null
/// address
void CheckHasMemory(const InputData &input);

/// Copies a frame. Both pointers may be null when the size is 0. Copies through the cache, where the consumer
/// then reads it: bypassing the cache would save less time here than it costs the consumer.
void CopyFrame(uint8_t *target, const uint8_t *source, size_t size);

} // namespace GenTL::internal
