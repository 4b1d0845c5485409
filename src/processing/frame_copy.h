#pragma once

#include "processing/frame.h"

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// Checks a buffer that a task reads itself, not through the vision library.
/// @throws GenTLException "Input buffer has no memory!", GC_ERR_ERROR, when the input has a size and a null
/// address
void CheckHasMemory(const InputData &input);

/// Copies a frame. Both pointers may be null when the size is 0. The copy goes through the cache, from which
/// the consumer then reads it: bypassing the cache would save less time here than it costs the consumer.
void CopyFrame(uint8_t *target, const uint8_t *source, size_t size);

} // namespace GenTL::internal
