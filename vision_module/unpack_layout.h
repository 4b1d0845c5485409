#pragma once

#include <cstdint>
#include <optional>

namespace tarn::vision
{

/// How the samples of an image lie in memory. The image is one run of samples without padding at line ends.
enum class Packing : uint8_t
{
    Bytes,    ///< one byte per sample
    Words,    ///< 16 bits per sample, little-endian
    Stream10, ///< `10p`: a stream of bits, the lowest first
    Stream12, ///< `12p`: likewise
    Stream14, ///< `14p`: likewise
    Group40,  ///< `10g40QVR`: the upper 8 bits of four samples, then a byte with their lower 2 bits
    Group24,  ///< `12g24QVR`: the upper 8 bits of two samples, then a byte with their lower 4 bits
    Pair10,   ///< `10Packed`: the upper 8 bits of a sample, a byte with the lower bits of both, the second
              ///< sample
    Pair12,   ///< `12Packed`: likewise
    Word32,   ///< `10p32`: three samples in the lower 30 bits of a 32-bit little-endian word
};

/// The source pixels that are combined into a target pixel.
enum class Interleaving : uint8_t
{
    None,
    Lines, ///< `_I_A_B`: pairs of lines
    Cells, ///< `_I_AB_CD`: blocks of 2 x 2
};

struct Layout
{
    Packing packing;
    Interleaving interleaving;
    uint32_t samplesPerPixel; ///< of the source; 1 when interleaved
};

/// The layout of `from`; nullopt when unpacking to `to` is not offered.
std::optional<Layout> FindLayout(uint32_t from, uint32_t to);

/// @throws InvalidParameterException when unpacking to `to` is not offered
Layout GetLayout(uint32_t from, uint32_t to);

/// Bytes of a sample in the target.
constexpr uint32_t BytesPerSample(Packing packing)
{
    return packing == Packing::Bytes ? 1 : 2;
}

/// Reads a number from a stream of bits, which begins with the lowest bit of the first byte.
constexpr uint32_t ReadBits(const uint8_t *source, uint64_t first, uint32_t count)
{
    const auto *byte = source + first / 8;
    const auto shift = first % 8;
    // The memory may end behind the second byte.
    const auto third = shift + count > 16 ? uint32_t{byte[2]} << 16 : 0;
    return (byte[0] | uint32_t{byte[1]} << 8 | third) >> shift & ((1U << count) - 1);
}

/// Reads from groups of upper bytes with a byte of lower bits behind them. An incomplete last group has only
/// the upper bytes of its samples.
constexpr uint32_t ReadGrouped(const uint8_t *source, uint64_t samples, uint64_t index, uint64_t count,
                               uint32_t lowerBits)
{
    const auto first = index / count * count;
    const auto *group = source + first / count * (count + 1);
    const auto present = samples - first < count ? samples - first : count;
    const auto position = index - first;
    const auto lower = uint32_t{group[present]} >> position * lowerBits & ((1U << lowerBits) - 1);
    return uint32_t{group[position]} << lowerBits | lower;
}

/// Reads from pairs of upper bytes with a byte of lower bits between them, half a byte for each sample.
constexpr uint32_t ReadPaired(const uint8_t *source, uint64_t index, uint32_t lowerBits)
{
    const auto *pair = source + index / 2 * 3;
    const auto lower = uint32_t{pair[1]} >> index % 2 * 4 & ((1U << lowerBits) - 1);
    return uint32_t{pair[index % 2 * 2]} << lowerBits | lower;
}

/// Reads one sample of an image with `samples` samples.
constexpr uint32_t ReadSample(Packing packing, const uint8_t *source, uint64_t samples, uint64_t index)
{
    switch (packing)
    {
    case Packing::Bytes:
        return source[index];
    case Packing::Words:
        return ReadBits(source, 16 * index, 16);
    case Packing::Stream10:
        return ReadBits(source, 10 * index, 10);
    case Packing::Stream12:
        return ReadBits(source, 12 * index, 12);
    case Packing::Stream14:
        return ReadBits(source, 14 * index, 14);
    case Packing::Group40:
        return ReadGrouped(source, samples, index, 4, 2);
    case Packing::Group24:
        return ReadGrouped(source, samples, index, 2, 4);
    case Packing::Pair10:
        return ReadPaired(source, index, 2);
    case Packing::Pair12:
        return ReadPaired(source, index, 4);
    case Packing::Word32:
        return ReadBits(source, index / 3 * 32 + index % 3 * 10, 10);
    }
    return 0;
}

} // namespace tarn::vision
