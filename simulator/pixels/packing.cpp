#include "simulator/pixels/packing.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// Packs groups of samples: a byte with the upper eight bits of each sample, then one byte with the low bits
/// of all.
template <unsigned lowBits>
void PackGroups(std::span<const uint16_t> samples, uint8_t *out)
{
    constexpr size_t perGroup = 8 / lowBits;
    constexpr unsigned lowMask = (1U << lowBits) - 1;
    const auto packGroup = [](const uint16_t *group, size_t count, uint8_t *bytes)
    {
        unsigned low = 0;
        for (size_t i = 0; i < count; ++i)
        {
            bytes[i] = static_cast<uint8_t>(group[i] >> lowBits);
            low |= (group[i] & lowMask) << (lowBits * i);
        }
        bytes[count] = static_cast<uint8_t>(low);
    };
    const size_t whole = samples.size() / perGroup;
    for (size_t i = 0; i < whole; ++i)
    {
        packGroup(samples.data() + i * perGroup, perGroup, out + i * (perGroup + 1));
    }
    if (const size_t rest = samples.size() % perGroup; rest > 0)
    {
        packGroup(samples.data() + whole * perGroup, rest, out + whole * (perGroup + 1));
    }
}

} // namespace

void Pack8(std::span<const uint16_t> samples, uint8_t *out)
{
    std::ranges::transform(samples, out, [](uint16_t sample) { return static_cast<uint8_t>(sample); });
}

void Pack16(std::span<const uint16_t> samples, uint8_t *out)
{
    for (const uint16_t sample : samples)
    {
        *out++ = static_cast<uint8_t>(sample);
        *out++ = static_cast<uint8_t>(sample >> 8);
    }
}

void PackWords(std::span<const uint16_t> samples, uint8_t *out)
{
    for (size_t i = 0; i + 2 < samples.size(); i += 3)
    {
        const uint32_t word = samples[i] | static_cast<uint32_t>(samples[i + 1]) << 10 |
                              static_cast<uint32_t>(samples[i + 2]) << 20;
        for (unsigned shift = 0; shift < 32; shift += 8)
        {
            *out++ = static_cast<uint8_t>(word >> shift);
        }
    }
}

void PackGroups40(std::span<const uint16_t> samples, uint8_t *out)
{
    PackGroups<2>(samples, out);
}

void PackGroups24(std::span<const uint16_t> samples, uint8_t *out)
{
    PackGroups<4>(samples, out);
}

} // namespace GenTL::simulator
