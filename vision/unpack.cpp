#include "vision/unpack.h"

#include "vision/unpack_kernels.h"
#include "vision/unpack_layout.h"

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

/// Unpacks pairs of lines piece by piece into memory that stays in the first cache, and combines each piece
/// into both lines of the target.
template <Interleaving interleaving>
void UnpackLinePairs(const Image &image)
{
    constexpr uint32_t pieceWidth = 2048;
    const auto sampleBytes = BytesPerSample(image.packing);
    const auto pixelBytes = sampleBytes * (interleaving == Interleaving::Lines ? 2 : 4);
    const auto samples = uint64_t{image.width} * image.height;
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> upper;
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> lower;
    std::array<uint8_t, 16> cells;

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
            const auto *lowerOrUpper = hasLower ? lower.data() : upper.data();

            for (uint32_t line = 0; line < (hasLower ? 2U : 1U); ++line)
            {
                auto *target = image.target + (first + uint64_t{line} * image.width) * pixelBytes;
                if constexpr (interleaving == Interleaving::Lines)
                {
                    CombineLines(sampleBytes, upper.data(), lowerOrUpper, pixels, target);
                }
                else
                {
                    CombineCells(sampleBytes, upper.data(), lowerOrUpper, pixels / 2, target);
                    if (pixels % 2 != 0)
                    {
                        const auto last = size_t{pixels - 1};
                        auto *cell = cells.data();
                        for (const auto *samplesOfLine :
                             {static_cast<const uint8_t *>(upper.data()), lowerOrUpper})
                        {
                            for (int i = 0; i < 2; ++i)
                            {
                                cell = std::copy_n(samplesOfLine + last * sampleBytes, sampleBytes, cell);
                            }
                        }
                        std::memcpy(target + last * pixelBytes, cells.data(), pixelBytes);
                    }
                }
            }
            x += pixels;
        }
        if (!hasLower)
        {
            break;
        }
    }
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
