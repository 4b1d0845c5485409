#pragma once

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// Copies a frame. One that is larger than a processor's own cache goes past the cache into memory: it would
/// not stay there until the consumer reads it, and so it does not push out the frame that comes next.
void CopyFrame(uint8_t *target, const uint8_t *source, size_t size);

} // namespace GenTL::internal
