#include "vision_module/unpack.h"

#include "vision_module/past_cache.h"
#include "vision_module/unpack_kernels.h"
#include "vision_module/unpack_layout.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace tarn::vision
{

namespace
{

struct Image
{
    Packing packing;
    const uint8_t *source;
    uint8_t *target;
    uint32_t width;
    uint32_t height;
};

/// Pixels of a pair of lines; what becomes of them stays in the first cache.
constexpr uint32_t pieceWidth = 2048;

/// The lower samples are the upper ones in a last line without its partner.
struct LinePair
{
    const uint8_t *upper;
    const uint8_t *lower;
    uint32_t pixels;
};

/// The samples of the cell at the end of an odd line, where each column is its own partner.
void CombineLastCell(uint32_t sampleBytes, const LinePair &pair, uint8_t *pixel)
{
    const auto last = size_t{pair.pixels - 1} * sampleBytes;
    for (const auto *const samples : {pair.upper, pair.lower})
    {
        for (int i = 0; i < 2; ++i)
        {
            pixel = std::copy_n(samples + last, sampleBytes, pixel);
        }
    }
}

template <Interleaving interleaving>
void Combine(uint32_t sampleBytes, const LinePair &pair, uint8_t *target)
{
    if constexpr (interleaving == Interleaving::Lines)
    {
        CombineLines(sampleBytes, pair.upper, pair.lower, pair.pixels, target);
    }
    else
    {
        CombineCells(sampleBytes, pair.upper, pair.lower, pair.pixels / 2, target);
        if (pair.pixels % 2 != 0)
        {
            CombineLastCell(sampleBytes, pair, target + size_t{pair.pixels - 1} * 4 * sampleBytes);
        }
    }
}

/// Unpacks pairs of lines piece by piece, and puts each piece into both lines of the target.
template <Interleaving interleaving>
void UnpackLinePairs(const Image &image)
{
    const auto sampleBytes = BytesPerSample(image.packing);
    const auto pixelBytes = sampleBytes * (interleaving == Interleaving::Lines ? 2 : 4);
    const auto samples = uint64_t{image.width} * image.height;
    const bool isPastCache = samples * pixelBytes >= pastCacheFrom;
    const auto copy = [isPastCache](uint8_t *target, const uint8_t *source, size_t size)
    { isPastCache ? CopyPastCache(target, source, size) : void(std::memcpy(target, source, size)); };
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> upper;
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> lower;
    alignas(64) std::array<uint8_t, size_t{8} * pieceWidth> combined;
    for (uint32_t y = 0; y < image.height; y += 2)
    {
        const auto hasLower = image.height - y > 1;
        for (uint32_t x = 0; x < image.width;)
        {
            const auto pixels = std::min(pieceWidth, image.width - x);
            const auto first = uint64_t{y} * image.width + x;
            UnpackRun(image.packing, image.source, samples, first, pixels, upper.data());
            if (hasLower)
            {
                UnpackRun(image.packing, image.source, samples, first + image.width, pixels, lower.data());
            }
            const LinePair pair{upper.data(), hasLower ? lower.data() : upper.data(), pixels};
            Combine<interleaving>(sampleBytes, pair, combined.data());
            auto *const target = image.target + first * pixelBytes;
            copy(target, combined.data(), size_t{pixels} * pixelBytes);
            if (hasLower)
            {
                copy(target + uint64_t{image.width} * pixelBytes, combined.data(),
                     size_t{pixels} * pixelBytes);
            }
            x += pixels;
        }
        if (!hasLower)
        {
            break;
        }
    }
    FinishPastCache();
}

} // namespace

bool IsUnpackOffered(uint32_t from, uint32_t to)
{
    return FindLayout(from, to).has_value();
}

void Unpack(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
            uint32_t height)
{
    const auto [packing, interleaving] = GetLayout(from, to);
    const Image image{packing, source, target, width, height};
    switch (interleaving)
    {
    case Interleaving::None:
    {
        const auto samples = uint64_t{width} * height * SamplesPerPixel(packing);
        UnpackRun(packing, source, samples, 0, samples, target);
        break;
    }
    case Interleaving::Lines:
        UnpackLinePairs<Interleaving::Lines>(image);
        break;
    case Interleaving::Cells:
        UnpackLinePairs<Interleaving::Cells>(image);
        break;
    }
}

} // namespace tarn::vision
