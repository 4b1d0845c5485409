#pragma once

#include "recording/device_record.h"

#include <cstdint>
#include <span>
#include <vector>

namespace GenTL::simulator
{

/// The number that the bytes of a register form; only its lowest eight bytes count.
inline uint64_t NumberOf(std::span<const uint8_t> bytes, bool isBigEndian)
{
    uint64_t number = 0;
    const auto count = bytes.size() < sizeof number ? bytes.size() : sizeof number;
    for (size_t i = 0; i < count; ++i)
    {
        number |= uint64_t{bytes[isBigEndian ? bytes.size() - 1 - i : i]} << (8 * i);
    }
    return number;
}

/// A number as the bytes of a register.
inline std::vector<uint8_t> BytesOf(uint64_t number, size_t length, bool isBigEndian)
{
    std::vector<uint8_t> bytes(length);
    for (size_t i = 0; i < length && i < sizeof number; ++i)
    {
        bytes[isBigEndian ? length - 1 - i : i] = static_cast<uint8_t>(number >> (8 * i));
    }
    return bytes;
}

} // namespace GenTL::simulator
