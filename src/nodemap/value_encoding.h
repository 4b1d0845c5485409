#pragma once

#include "nodemap/nodemap_parser.h"

#include <cstddef>
#include <cstdint>

/// Numbers as the bytes of a register. C-21: the functions differ in their rule for a register of an unusual
/// size.
namespace GenTL::internal::nodemap
{

/// Writes a number as a register of `size` bytes holds it. Of a number in 8 bytes the upper half is lost; in
/// any size but 4 and 8 just the lowest byte is written.
/// @throws GenTLException "Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR, for
/// fewer than 4 bytes
void EncodeValue(uint64_t value, void *buffer, size_t size, Endianess endianess);

/// Reads the number that `size` bytes hold; at most 8 of them count.
uint64_t DecodeUnsigned(const void *buffer, size_t size, Endianess endianess);

/// The same with the sign of the topmost byte.
int64_t DecodeSigned(const void *buffer, size_t size, Endianess endianess);

/// Writes a number as a register of 1, 2, 4 or 8 bytes holds it; in any other size just its lowest byte, into
/// the first.
void StoreNumber(int64_t value, void *buffer, size_t size, Endianess endianess);

/// Sets bits of the number that a register holds. In a register of any size but 8 bytes, the number is its
/// first 4 bytes.
void SetBits(uint64_t mask, void *buffer, size_t size, Endianess endianess);

/// Writes all 64 bits of a number in the byte order, and of these bytes the first `size`.
void StoreLeadingBytes(uint64_t value, void *buffer, size_t size, Endianess endianess);

} // namespace GenTL::internal::nodemap
