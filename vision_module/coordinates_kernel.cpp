#include "vision_module/coordinates_kernel.h"

#include "vision_module/region_kernels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/coordinates_kernel.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef TARN_VISION_COORDINATES_ONCE
#define TARN_VISION_COORDINATES_ONCE

namespace tarn::vision
{

constexpr size_t cacheLine = 64;
constexpr size_t pointBytes = 3 * sizeof(float);

/// The coordinates of a block fill three cache lines.
constexpr size_t blockPixels = 16;
constexpr size_t blockBytes = blockPixels * pointBytes;
constexpr uint64_t wholeBlock = (uint64_t{1} << blockPixels) - 1;

inline uint64_t BlockOf(const uint64_t *isIn, size_t pixel)
{
    if (isIn == nullptr)
    {
        return wholeBlock;
    }
    const auto shift = pixel % pixelsPerWord;
    auto bits = isIn[pixel / pixelsPerWord] >> shift;
    if (shift > pixelsPerWord - blockPixels)
    {
        bits |= isIn[pixel / pixelsPerWord + 1] << (pixelsPerWord - shift);
    }
    return bits & wholeBlock;
}

inline void SetNoPoints(uint64_t bits, uint8_t *coordinates)
{
    constexpr auto nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float noPoint[] = {nan, nan, 0};
    for (; bits != 0; bits &= bits - 1)
    {
        std::memcpy(coordinates + static_cast<size_t>(std::countr_zero(bits)) * pointBytes, noPoint,
                    pointBytes);
    }
}

/// Makes the points of pixels that do not fill a block.
inline void MakePoints(const LineGeometry &geometry, const uint8_t *depths, const uint64_t *isIn,
                       size_t begin, size_t end, uint8_t *coordinates)
{
    for (auto i = begin; i < end; ++i)
    {
        float z = 0;
        std::memcpy(&z, depths + i * sizeof z, sizeof z);
        const float point[] = {geometry.slopesX[i] * z, geometry.slopeY * z, z};
        std::memcpy(coordinates + i * pointBytes, point, pointBytes);
        const bool isOut = isIn != nullptr && (isIn[i / pixelsPerWord] >> i % pixelsPerWord & 1) == 0;
        SetNoPoints(isOut ? 1 : 0, coordinates + i * pointBytes);
    }
}

/// The number of pixels before the first whose coordinates begin at a cache line; all when there is none.
inline size_t PixelsToCacheLine(const uint8_t *coordinates, size_t pixels)
{
    size_t pixel = 0;
    while (pixel < std::min(pixels, blockPixels) &&
           reinterpret_cast<uintptr_t>(coordinates + pixel * pointBytes) % cacheLine != 0)
    {
        ++pixel;
    }
    return pixel == blockPixels ? pixels : pixel;
}

} // namespace tarn::vision

#endif

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, blockPixels>;

HWY_INLINE void MakeBlock(const LineGeometry &geometry, const uint8_t *depths, size_t first,
                          float *coordinates)
{
    const Floats d;
    for (size_t i = 0; i < blockPixels; i += hn::Lanes(d))
    {
        const auto pixel = first + i;
        const auto z = hn::LoadU(d, reinterpret_cast<const float *>(depths) + pixel);
        const auto x = hn::Mul(hn::LoadU(d, geometry.slopesX + pixel), z);
        const auto y = hn::Mul(hn::Set(d, geometry.slopeY), z);
        hn::StoreInterleaved3(x, y, z, d, coordinates + 3 * i);
    }
}

HWY_INLINE void StreamBlock(const float *from, float *to)
{
    const Floats d;
    for (size_t i = 0; i < blockBytes / sizeof(float); i += hn::Lanes(d))
    {
        hn::Stream(hn::Load(d, from + i), d, to + i);
    }
}

void CoordinatesOfLineHere(const LineGeometry &geometry, const uint8_t *depths, const uint64_t *isIn,
                           size_t pixels, uint8_t *coordinates, bool isPastCache)
{
    alignas(cacheLine) float block[blockBytes / sizeof(float)];
    auto done = isPastCache ? PixelsToCacheLine(coordinates, pixels) : 0;
    MakePoints(geometry, depths, isIn, 0, done, coordinates);
    for (; pixels - done >= blockPixels; done += blockPixels)
    {
        auto *const to = reinterpret_cast<float *>(coordinates + done * pointBytes);
        auto *const made = isPastCache ? block : to;
        MakeBlock(geometry, depths, done, made);
        SetNoPoints(BlockOf(isIn, done) ^ wholeBlock, reinterpret_cast<uint8_t *>(made));
        if (isPastCache)
        {
            StreamBlock(block, to);
        }
    }
    MakePoints(geometry, depths, isIn, done, pixels, coordinates);
    if (isPastCache)
    {
        // A later store, by which another thread learns of the image, must not overtake these.
        hwy::FlushStream();
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(CoordinatesOfLineHere);

void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, const uint64_t *isIn,
                       size_t pixels, uint8_t *coordinates, bool isPastCache)
{
    HWY_DYNAMIC_DISPATCH(CoordinatesOfLineHere)(geometry, depths, isIn, pixels, coordinates, isPastCache);
}

} // namespace tarn::vision

#endif
