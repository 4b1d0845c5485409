#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <vector>

namespace GenTL::internal
{

/// The bytes of a value, the lowest first unless big-endian.
inline std::vector<uint8_t> NumberBytes(uint64_t value, size_t length, bool bigEndian)
{
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < length; ++i)
    {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
    if (bigEndian)
    {
        std::ranges::reverse(bytes);
    }
    return bytes;
}

inline uint64_t NumberOf(std::span<const uint8_t> bytes, bool bigEndian)
{
    uint64_t value = 0;
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        value = value << 8 | bytes[bigEndian ? i : bytes.size() - 1 - i];
    }
    return value;
}

/// The value of this machine's form that begins at an offset.
/// @throws std::out_of_range it does not lie within the bytes
template <typename T>
T ValueAt(std::span<const uint8_t> bytes, size_t offset)
{
    if (offset > bytes.size() || bytes.size() - offset < sizeof(T))
    {
        throw std::out_of_range("ValueAt");
    }
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

/// The samples of a packed format of GigE Vision, such as Mono12Packed: pairs whose low bits share a byte.
inline std::vector<uint16_t> SamplesOfPairs(std::span<const uint8_t> packed, unsigned bits, size_t count)
{
    const auto low = bits - 8;
    std::vector<uint16_t> samples;
    for (size_t i = 0; i < count; ++i)
    {
        const auto pair = packed.subspan(i / 2 * 3);
        const auto lowBits = pair[1] >> (i % 2 * 4) & ((1U << low) - 1);
        samples.push_back(static_cast<uint16_t>(unsigned{pair[i % 2 * 2]} << low | lowBits));
    }
    return samples;
}

} // namespace GenTL::internal
