#pragma once

#include "nodemap/nodemap_parser.h"

#include <cstddef>
#include <cstdint>

/// Numbers as the bytes of a register. C-21: the functions differ in their rule for a register of an unusual
/// size.
namespace GenTL::internal::nodemap
{

/// Writes a number to a register of `size` bytes. With 8 bytes, the upper half of the number is lost. With a
/// size other than 4 and 8, only the lowest byte is written.
/// @throws GenTLException "Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR, for
/// fewer than 4 bytes
void EncodeValue(uint64_t value, void *buffer, size_t size, Endianess endianess);

/// Reads a number from `size` bytes; at most 8 of them count.
uint64_t DecodeUnsigned(const void *buffer, size_t size, Endianess endianess);

/// Reads a number and extends the sign of its topmost byte.
int64_t DecodeSigned(const void *buffer, size_t size, Endianess endianess);

/// Writes a number to a register of 1, 2, 4 or 8 bytes. With any other size, only its lowest byte is written.
void StoreNumber(int64_t value, void *buffer, size_t size, Endianess endianess);

/// Sets bits of the number in a register. Unless the register has 8 bytes, the number is its first 4 bytes.
void SetBits(uint64_t mask, void *buffer, size_t size, Endianess endianess);

/// Encodes all 64 bits of a number in the byte order and writes the first `size` bytes.
void StoreLeadingBytes(uint64_t value, void *buffer, size_t size, Endianess endianess);

} // namespace GenTL::internal::nodemap
