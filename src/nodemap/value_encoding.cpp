#include "nodemap/value_encoding.h"

#include "utils/gentl_exception.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace GenTL::internal::nodemap
{

namespace
{

static_assert(std::endian::native == std::endian::little);

template <typename T>
std::array<uint8_t, sizeof(T)> BytesOf(T value, Endianess endianess)
{
    auto bytes = std::bit_cast<std::array<uint8_t, sizeof(T)>>(value);
    if (endianess != Endianess::Little)
    {
        std::ranges::reverse(bytes);
    }
    return bytes;
}

/// Writes the low bytes of a number, as a register of `length` bytes holds them.
void StoreLowBytes(uint64_t value, void *buffer, size_t length, Endianess endianess)
{
    auto *const bytes = static_cast<uint8_t *>(buffer);
    for (size_t i = 0; i < length; ++i)
    {
        const size_t position = endianess == Endianess::Little ? i : length - 1 - i;
        bytes[i] = static_cast<uint8_t>(value >> (8 * position));
    }
}

} // namespace

void EncodeValue(uint64_t value, void *buffer, size_t size, Endianess endianess)
{
    const auto low = static_cast<uint32_t>(value);
    if (size < sizeof low)
    {
        throw GenTLException("Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR);
    }
    if (size == sizeof low)
    {
        const auto bytes = BytesOf(low, endianess);
        std::ranges::copy(bytes, static_cast<uint8_t *>(buffer));
    }
    else if (size == sizeof(uint64_t))
    {
        const auto bytes = BytesOf(uint64_t{low}, endianess);
        std::ranges::copy(bytes, static_cast<uint8_t *>(buffer));
    }
    else
    {
        *static_cast<uint8_t *>(buffer) = static_cast<uint8_t>(value);
    }
}

uint64_t DecodeUnsigned(const void *buffer, size_t size, Endianess endianess)
{
    std::array<uint8_t, sizeof(uint64_t)> bytes{};
    const size_t count = std::min(size, bytes.size());
    std::memcpy(bytes.data(), buffer, count);
    if (endianess != Endianess::Little)
    {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(count));
    }
    return std::bit_cast<uint64_t>(bytes);
}

int64_t DecodeSigned(const void *buffer, size_t size, Endianess endianess)
{
    const auto value = DecodeUnsigned(buffer, size, endianess);
    const size_t unusedBits = size == 0 || size >= sizeof value ? 0 : 8 * (sizeof value - size);
    return static_cast<int64_t>(value << unusedBits) >> unusedBits;
}

void StoreNumber(int64_t value, void *buffer, size_t size, Endianess endianess)
{
    const size_t length = size == 2 || size == 4 || size == 8 ? size : std::min<size_t>(size, 1);
    StoreLowBytes(static_cast<uint64_t>(value), buffer, length, endianess);
}

void SetBits(uint64_t mask, void *buffer, size_t size, Endianess endianess)
{
    const size_t length = size == sizeof(uint64_t) ? size : std::min(size, sizeof(uint32_t));
    StoreLowBytes(DecodeUnsigned(buffer, length, endianess) | mask, buffer, length, endianess);
}

void StoreLeadingBytes(uint64_t value, void *buffer, size_t size, Endianess endianess)
{
    const auto bytes = BytesOf(value, endianess);
    std::copy_n(bytes.begin(), std::min(size, bytes.size()), static_cast<uint8_t *>(buffer));
}

} // namespace GenTL::internal::nodemap
