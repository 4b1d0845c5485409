#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/// Samples of up to 8 bits, one byte each.
void Pack8(std::span<const uint16_t> samples, uint8_t *out);

/// Samples of up to 16 bits, two bytes each, the low byte first.
void Pack16(std::span<const uint16_t> samples, uint8_t *out);

/// The packing "p" of the PFNC: one stream of bits, the lowest bit of a sample first. `out` begins on a byte;
/// the unused bits of the last byte are 0.
template <unsigned bits>
void PackBits(std::span<const uint16_t> samples, uint8_t *out)
{
    uint32_t pending = 0;
    unsigned pendingBits = 0;
    for (const uint16_t sample : samples)
    {
        pending |= static_cast<uint32_t>(sample) << pendingBits;
        pendingBits += bits;
        while (pendingBits >= 8)
        {
            *out++ = static_cast<uint8_t>(pending);
            pending >>= 8;
            pendingBits -= 8;
        }
    }
    if (pendingBits > 0)
    {
        *out = static_cast<uint8_t>(pending);
    }
}

/// Four samples of 10 bits in five bytes: the upper eight bits of each, then a byte of the lower two bits,
/// the bits of the first sample lowest. A last group of fewer samples has fewer upper bytes.
void PackGroups40(std::span<const uint16_t> samples, uint8_t *out);

/// Two samples of 12 bits in three bytes: the upper eight bits of each, then a byte of the lower four bits,
/// the bits of the first sample lowest. A last group of one sample takes two bytes.
void PackGroups24(std::span<const uint16_t> samples, uint8_t *out);

/// Two samples of 10 or 12 bits in three bytes, as in GigE Vision 1: the upper eight bits of the first, a
/// byte of the low bits, the upper eight bits of the second. The low bits of the first sample begin at bit 0
/// of their byte, those of the second at bit 4. A last group of one sample takes two bytes.
template <unsigned bits>
void PackTriplets(std::span<const uint16_t> samples, uint8_t *out)
{
    constexpr unsigned lowBits = bits - 8;
    constexpr unsigned lowMask = (1U << lowBits) - 1;
    for (size_t i = 0; i < samples.size(); i += 2)
    {
        const bool isPair = i + 1 < samples.size();
        const unsigned second = isPair ? samples[i + 1] : 0;
        *out++ = static_cast<uint8_t>(samples[i] >> lowBits);
        *out++ = static_cast<uint8_t>((samples[i] & lowMask) | (second & lowMask) << 4);
        if (isPair)
        {
            *out++ = static_cast<uint8_t>(second >> lowBits);
        }
    }
}

/// Three samples of up to 10 bits in a word of four bytes, the first in the lowest bits; the upper two bits
/// are 0.
void PackWords(std::span<const uint16_t> samples, uint8_t *out);

} // namespace GenTL::simulator
