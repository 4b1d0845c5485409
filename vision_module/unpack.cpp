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

/// Pixels of a piece. Its results stay in the first-level cache.
constexpr uint32_t pieceWidth = 2048;

/// Samples of two lines. In an unpaired last line, `lower` equals `upper`.
struct LinePair
{
    const uint8_t *upper;
    const uint8_t *lower;
    uint32_t pixels;
};

/// Writes the cell at the end of an odd line, whose last column pairs with itself.
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

/// Unpacks pairs of lines piece by piece and writes each combined piece to both lines of the target.
template <Interleaving interleaving>
class LinePairUnpacker
{
public:
    explicit LinePairUnpacker(const Image &image)
        : m_image(image), m_sampleBytes(BytesPerSample(image.packing)),
          m_pixelBytes(m_sampleBytes * (interleaving == Interleaving::Lines ? 2 : 4)),
          m_samples(uint64_t{image.width} * image.height),
          m_isPastCache(m_samples * m_pixelBytes >= pastCacheFrom)
    {
    }

    void Unpack()
    {
        for (uint32_t y = 0; y < m_image.height; y += std::min(2U, m_image.height - y))
        {
            for (uint32_t x = 0; x < m_image.width;)
            {
                const auto pixels = std::min(pieceWidth, m_image.width - x);
                UnpackPiece(uint64_t{y} * m_image.width + x, pixels, m_image.height - y > 1);
                x += pixels;
            }
        }
        FinishPastCache();
    }

private:
    /// @param first index of the piece's first pixel in the upper line
    void UnpackPiece(uint64_t first, uint32_t pixels, bool hasLower)
    {
        UnpackRun(m_image.packing, m_image.source, m_samples, first, pixels, m_upper.data());
        if (hasLower)
        {
            UnpackRun(m_image.packing, m_image.source, m_samples, first + m_image.width, pixels,
                      m_lower.data());
        }
        const LinePair pair{m_upper.data(), hasLower ? m_lower.data() : m_upper.data(), pixels};
        Combine<interleaving>(m_sampleBytes, pair, m_combined.data());
        PutCombined(first, pixels);
        if (hasLower)
        {
            PutCombined(first + m_image.width, pixels);
        }
    }

    void PutCombined(uint64_t first, uint32_t pixels)
    {
        auto *const target = m_image.target + first * m_pixelBytes;
        const auto size = size_t{pixels} * m_pixelBytes;
        m_isPastCache ? CopyPastCache(target, m_combined.data(), size)
                      : void(std::memcpy(target, m_combined.data(), size));
    }

    const Image &m_image;
    uint32_t m_sampleBytes;
    uint32_t m_pixelBytes; ///< of the target
    uint64_t m_samples;    ///< of the source
    bool m_isPastCache;
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> m_upper;
    alignas(64) std::array<uint8_t, size_t{2} * pieceWidth> m_lower;
    alignas(64) std::array<uint8_t, size_t{8} * pieceWidth> m_combined;
};

} // namespace

bool IsUnpackOffered(uint32_t from, uint32_t to)
{
    return FindLayout(from, to).has_value();
}

void Unpack(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
            uint32_t height)
{
    const auto [packing, interleaving, samplesPerPixel] = GetLayout(from, to);
    const Image image{packing, source, target, width, height};
    switch (interleaving)
    {
    case Interleaving::None:
    {
        const auto samples = uint64_t{width} * height * samplesPerPixel;
        UnpackRun(packing, source, samples, 0, samples, target);
        break;
    }
    case Interleaving::Lines:
        LinePairUnpacker<Interleaving::Lines>(image).Unpack();
        break;
    case Interleaving::Cells:
        LinePairUnpacker<Interleaving::Cells>(image).Unpack();
        break;
    }
}

} // namespace tarn::vision
