#pragma once

#include <cstddef>
#include <cstdint>

namespace gentlctl
{

constexpr uint64_t unlimited = UINT64_MAX;

/// Buffers that wait to be filled while frames wait to be written. They also take the frames that come before
/// the device stops.
constexpr size_t spareBuffers = 16;

/// How many buffers to announce where no option names a number: one for each frame that may wait to be
/// written, so that all can arrive before the first is written, and the spare ones.
/// @param waiting frames that may wait; `unlimited` for a number not known
/// @param size bytes of a buffer; the buffers take up to 512 MiB together
/// @return `least` to 1024
size_t BufferCount(uint64_t waiting, size_t size, size_t least);

} // namespace gentlctl
