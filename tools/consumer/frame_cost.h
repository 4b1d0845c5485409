#pragma once

#include <cstddef>
#include <cstdint>

namespace gentlctl
{

/// Reads each byte of a frame once, as a consumer that does something with it. The caller uses the sum, so
/// that the compiler keeps the reads.
uint64_t SumOf(const void *bytes, size_t size);

/// Processor time of all threads of this process, in s.
double CpuSeconds();

} // namespace gentlctl
