#include "vision_module/bilinear.h"

#include <algorithm>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/bilinear.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/highway.h>

#ifndef TARN_VISION_BILINEAR_ONCE
#define TARN_VISION_BILINEAR_ONCE

namespace tarn::vision
{

constexpr int fractionBits = 5;
constexpr int fractionSteps = 1 << fractionBits;
constexpr int columnBits = 4;
constexpr int columnMask = (1 << columnBits) - 1;
constexpr int lineBit = 1 << columnBits;
constexpr int columnFractionShift = columnBits + 1;
constexpr int lineFractionShift = columnFractionShift + fractionBits;

constexpr uint32_t BlocksOfLine(uint32_t width)
{
    return (width + BilinearBlocks::blockPixels - 1) / BilinearBlocks::blockPixels;
}

/// The last block of a line may begin within the one before it.
constexpr uint32_t BlockColumn(uint32_t width, uint32_t block)
{
    return std::min(block * BilinearBlocks::blockPixels, width - BilinearBlocks::blockPixels);
}

} // namespace tarn::vision

#endif

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void TakeBlock(const uint8_t *window, uint64_t stride, const uint16_t *codes, uint8_t *target)
{
    for (uint32_t i = 0; i < BilinearBlocks::blockPixels; ++i)
    {
        const int code = codes[i];
        const auto *upper = window + (code & columnMask) + ((code & lineBit) != 0 ? stride : 0);
        const auto *lower = upper + stride;
        const int right = code >> columnFractionShift & (fractionSteps - 1);
        const int down = code >> lineFractionShift;
        // When `right` is 0, the next pixel is unused and may lie outside the image.
        const int next = right != 0 ? 1 : 0;
        const int above = upper[0] * (fractionSteps - right) + upper[next] * right;
        const int below = lower[0] * (fractionSteps - right) + lower[next] * right;
        target[i] =
            static_cast<uint8_t>((above * (fractionSteps - down) + below * down + 512) >> 2 * fractionBits);
    }
}

#else

using Bytes = hn::FixedTag<uint8_t, 16>;
using Words = hn::FixedTag<int16_t, 8>;

/// Interpolates between neighbouring pixels of a line. The result is 32 times the value.
HWY_INLINE hn::Vec<Words> BetweenColumns(hn::Vec<Words> pairs, hn::Vec<Words> right)
{
    const Words words;
    const hn::RebindToUnsigned<Words> bits;
    const auto first = hn::And(pairs, hn::Set(words, 0xFF));
    const auto second = hn::BitCast(words, hn::ShiftRight<8>(hn::BitCast(bits, pairs)));
    return hn::Add(hn::ShiftLeft<fractionBits>(first), hn::Mul(hn::Sub(second, first), right));
}

HWY_INLINE void TakeBlock(const uint8_t *window, uint64_t stride, const uint16_t *codes, uint8_t *target)
{
    const Bytes bytes;
    const Words words;
    const hn::RebindToUnsigned<Words> bits;
    const auto code = hn::LoadU(bits, codes);

    // Each column and its right neighbour, as bytes.
    const auto column = hn::And(code, hn::Set(bits, columnMask));
    const auto pair = hn::Add(hn::Or(column, hn::ShiftLeft<8>(column)), hn::Set(bits, 0x0100));
    const auto take = [&](uint64_t line) HWY_ATTR
    {
        const auto pixels = hn::LoadU(bytes, window + line * stride);
        return hn::BitCast(words, hn::TableLookupBytes(pixels, hn::BitCast(bytes, pair)));
    };
    const auto first = take(0);
    const auto second = take(1);
    const auto third = take(2);
    const auto line = hn::Set(words, lineBit);
    const auto isSecond = hn::Eq(hn::And(hn::BitCast(words, code), line), line);

    const auto right = hn::BitCast(
        words, hn::And(hn::ShiftRight<columnFractionShift>(code), hn::Set(bits, fractionSteps - 1)));
    const auto above = BetweenColumns(hn::IfThenElse(isSecond, second, first), right);
    const auto below = BetweenColumns(hn::IfThenElse(isSecond, third, second), right);

    // (above * (32 - down) + below * down + 512) / 1024 in 16 bits, which is also
    // (above + 16 + (below - above) * down / 32) / 32, with all quotients rounded down. MulHigh divides by
    // 65536, so the factors are shifted by 11 bits in all to divide by 32.
    constexpr int differenceShift = 2;
    constexpr int downShift = 9;
    static_assert(differenceShift + downShift + fractionBits == 16);
    constexpr int half = fractionSteps / 2;
    const auto down = hn::BitCast(words, hn::ShiftLeft<downShift>(hn::ShiftRight<lineFractionShift>(code)));
    const auto difference = hn::ShiftLeft<differenceShift>(hn::Sub(below, above));
    const auto between = hn::Add(hn::Add(above, hn::Set(words, half)), hn::MulHigh(difference, down));
    const auto pixels = hn::ShiftRight<fractionBits>(between);
    hn::StoreU(hn::DemoteTo(hn::FixedTag<uint8_t, 8>(), pixels), hn::FixedTag<uint8_t, 8>(), target);
}

#endif

void TakeBlocksHere(const BilinearBlocks &blocks, const uint8_t *source, uint8_t *target)
{
    const auto width = blocks.width;
    const auto height = blocks.height;
    const auto count = BlocksOfLine(width);
    const auto *windows = blocks.windows.data();
    const auto *codes = blocks.codes.data();
    for (uint32_t line = 0; line < height; ++line)
    {
        for (uint32_t block = 0; block < count; ++block)
        {
            TakeBlock(source + windows[block], width, codes + uint64_t{block} * BilinearBlocks::blockPixels,
                      target + BlockColumn(width, block));
        }
        windows += count;
        codes += uint64_t{count} * BilinearBlocks::blockPixels;
        target += width;
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(TakeBlocksHere);

namespace
{

constexpr uint32_t blockPixels = BilinearBlocks::blockPixels;

/// A position between four pixels.
struct Place
{
    int x;
    int y;
    int right;
    int down;
};

Place PlaceOf(const int16_t *positions, const uint16_t *fractions, uint64_t pixel)
{
    return {positions[2 * pixel], positions[2 * pixel + 1], fractions[pixel] & (fractionSteps - 1),
            fractions[pixel] >> fractionBits};
}

/// The weights of the four pixels, upper line first.
template <typename T>
class Weights
{
public:
    explicit Weights(const Place &place)
    {
        const int left = fractionSteps - place.right;
        const int up = fractionSteps - place.down;
        m_weights = {Part(left * up), Part(place.right * up), Part(left * place.down),
                     Part(place.right * place.down)};
    }

    T Mean(T first, T second, T third, T fourth) const
    {
        // The order matters: each float operation rounds.
        const auto sum =
            first * m_weights[0] + second * m_weights[1] + third * m_weights[2] + fourth * m_weights[3];
        if constexpr (std::is_same_v<T, uint8_t>)
        {
            return static_cast<T>((sum + (1 << (weightBits - 1))) >> weightBits);
        }
        else if constexpr (std::is_same_v<T, uint16_t>)
        {
            // The fastest way to round to nearest, halves to even.
            constexpr float noFraction = 1 << 23;
            return static_cast<T>(static_cast<int32_t>(sum + noFraction) - (1 << 23));
        }
        else
        {
            return sum;
        }
    }

private:
    using Weight = std::conditional_t<std::is_same_v<T, uint8_t>, int, float>;
    static constexpr int weightBits = 2 * fractionBits;

    static Weight Part(int weight)
    {
        if constexpr (std::is_same_v<Weight, int>)
        {
            return weight;
        }
        else
        {
            return static_cast<float>(weight) * (1.0F / (1 << weightBits));
        }
    }

    std::array<Weight, 4> m_weights;
};

/// A source with `count` samples per pixel. Pixels outside it read as 0.
template <typename T, uint32_t count>
class Source
{
public:
    Source(const uint8_t *samples, uint32_t width, uint32_t height)
        : m_samples(samples), m_width(static_cast<int>(width)), m_height(static_cast<int>(height))
    {
    }

    HWY_INLINE void Take(const Place &place, uint8_t *target) const
    {
        const Weights<T> weights(place);
        const bool isInner = place.x >= 0 && place.x < m_width - 1 && place.y >= 0 && place.y < m_height - 1;
        if (isInner)
        {
            const auto *const above = At(place.x, place.y);
            const auto *const below = At(place.x, place.y + 1);
            for (uint32_t i = 0; i < count; ++i)
            {
                Store(target, i,
                      weights.Mean(Load<T>(above, i), Load<T>(above, i + count), Load<T>(below, i),
                                   Load<T>(below, i + count)));
            }
            return;
        }
        for (uint32_t i = 0; i < count; ++i)
        {
            Store(target, i,
                  weights.Mean(OrZero(place.x, place.y, i), OrZero(place.x + 1, place.y, i),
                               OrZero(place.x, place.y + 1, i), OrZero(place.x + 1, place.y + 1, i)));
        }
    }

private:
    const uint8_t *At(int x, int y) const
    {
        return m_samples + (int64_t{y} * m_width + x) * int64_t{count * sizeof(T)};
    }

    T OrZero(int x, int y, uint32_t sample) const
    {
        const bool isInside = x >= 0 && x < m_width && y >= 0 && y < m_height;
        return isInside ? Load<T>(At(x, y), sample) : T{};
    }

    const uint8_t *m_samples;
    int m_width;
    int m_height;
};

template <typename T, uint32_t count>
void TakePixelsOf(const BilinearMap &map, const uint8_t *source, uint32_t width, uint32_t height,
                  uint8_t *target)
{
    const Source<T, count> pixels(source, width, height);
    const auto *const positions = map.positions.data();
    const auto *const fractions = map.fractions.data();
    for (uint64_t pixel = 0; pixel < uint64_t{width} * height; ++pixel)
    {
        pixels.Take(PlaceOf(positions, fractions, pixel), target + pixel * count * sizeof(T));
    }
}

/// The upper left pixel of a block's window.
struct Window
{
    int x;
    int y;
};

Window WindowOf(const std::array<Place, blockPixels> &places, int width, int height)
{
    Window window{width - static_cast<int>(BilinearBlocks::windowWidth),
                  height - static_cast<int>(BilinearBlocks::windowHeight)};
    for (const auto &place : places)
    {
        window.x = std::min(window.x, place.x);
        window.y = std::min(window.y, place.y);
    }
    return window;
}

bool IsWithin(const Place &place, const Window &window)
{
    const int lastColumn = static_cast<int>(BilinearBlocks::windowWidth) - (place.right != 0 ? 2 : 1);
    const int lastLine = static_cast<int>(BilinearBlocks::windowHeight) - 2;
    return place.x - window.x <= lastColumn && place.y - window.y <= lastLine;
}

uint16_t CodeOf(const Place &place, const Window &window)
{
    const int column = place.x - window.x;
    const int line = place.y != window.y ? lineBit : 0;
    return static_cast<uint16_t>(column | line | place.right << columnFractionShift |
                                 place.down << lineFractionShift);
}

} // namespace

bool HasBlocks(uint32_t width, uint32_t height)
{
    return width >= BilinearBlocks::windowWidth && height >= BilinearBlocks::windowHeight;
}

BilinearBlocks MakeBlocks(const BilinearMap &map, uint32_t width, uint32_t height)
{
    BilinearBlocks blocks;
    blocks.width = width;
    blocks.height = height;
    const auto count = BlocksOfLine(width);
    blocks.windows.reserve(uint64_t{height} * count);
    blocks.codes.reserve(uint64_t{height} * count * blockPixels);
    for (uint32_t line = 0; line < height; ++line)
    {
        for (uint32_t block = 0; block < count; ++block)
        {
            const auto first = uint64_t{line} * width + BlockColumn(width, block);
            std::array<Place, blockPixels> places{};
            for (uint32_t i = 0; i < blockPixels; ++i)
            {
                places.at(i) = PlaceOf(map.positions.data(), map.fractions.data(), first + i);
            }
            const auto window = WindowOf(places, static_cast<int>(width), static_cast<int>(height));
            const bool isEven =
                window.x >= 0 && window.y >= 0 &&
                std::ranges::all_of(places, [&](const Place &place) { return IsWithin(place, window); });
            if (isEven)
            {
                blocks.windows.push_back(static_cast<uint32_t>(window.y) * width +
                                         static_cast<uint32_t>(window.x));
                std::ranges::transform(places, std::back_inserter(blocks.codes),
                                       [&](const Place &place) { return CodeOf(place, window); });
                continue;
            }
            blocks.windows.push_back(0);
            blocks.codes.insert(blocks.codes.end(), blockPixels, 0);
            BilinearBlocks::OddBlock odd{first, {}, {}};
            std::copy_n(map.positions.data() + 2 * first, odd.positions.size(), odd.positions.begin());
            std::copy_n(map.fractions.data() + first, odd.fractions.size(), odd.fractions.begin());
            blocks.oddBlocks.push_back(odd);
        }
    }
    return blocks;
}

void TakeBlocks(const BilinearBlocks &blocks, const uint8_t *source, uint8_t *target)
{
    HWY_DYNAMIC_DISPATCH(TakeBlocksHere)(blocks, source, target);
    const Source<uint8_t, 1> pixels(source, blocks.width, blocks.height);
    for (const auto &odd : blocks.oddBlocks)
    {
        for (uint32_t i = 0; i < blockPixels; ++i)
        {
            pixels.Take(PlaceOf(odd.positions.data(), odd.fractions.data(), i), target + odd.pixel + i);
        }
    }
}

void TakePixels(const BilinearMap &map, const uint8_t *source, uint32_t width, uint32_t height,
                const Samples &samples, uint8_t *target)
{
    WithSampleType(samples.type,
                   [&](auto type)
                   {
                       using T = decltype(type);
                       const auto take = samples.count == 1 ? TakePixelsOf<T, 1> : TakePixelsOf<T, 3>;
                       take(map, source, width, height, target);
                   });
}

} // namespace tarn::vision

#endif
