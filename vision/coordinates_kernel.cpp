#include "vision/coordinates_kernel.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision/coordinates_kernel.cpp"
#include <hwy/foreach_target.h>
// Highway wants its own header after that one.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/// One vector of pixels, or the one pixel of a tag of one lane.
template <class D>
HWY_INLINE void Pixels(D d, const LineGeometry &geometry, const uint8_t *depths, size_t pixel,
                       uint8_t *coordinates)
{
    const auto z = hn::LoadU(d, reinterpret_cast<const float *>(depths) + pixel);
    const auto x = hn::Mul(hn::LoadU(d, geometry.slopesX + pixel), z);
    const auto y = hn::Mul(hn::Set(d, geometry.slopeY), z);
    hn::StoreInterleaved3(x, y, z, d, reinterpret_cast<float *>(coordinates) + 3 * pixel);
}

void CoordinatesOfLineHere(const LineGeometry &geometry, const uint8_t *depths, size_t pixels,
                           uint8_t *coordinates)
{
#if HWY_TARGET == HWY_SCALAR
    const hn::CappedTag<float, 1> d;
#else
    const hn::ScalableTag<float> d;
#endif
    const auto lanes = hn::Lanes(d);
    if (pixels < lanes)
    {
        for (size_t pixel = 0; pixel < pixels; ++pixel)
        {
            float z = 0;
            std::memcpy(&z, depths + pixel * sizeof z, sizeof z);
            const float point[] = {geometry.slopesX[pixel] * z, geometry.slopeY * z, z};
            std::memcpy(coordinates + pixel * sizeof point, point, sizeof point);
        }
        return;
    }
    size_t pixel = 0;
    for (; pixel + lanes <= pixels; pixel += lanes)
    {
        Pixels(d, geometry, depths, pixel, coordinates);
    }
    if (pixel < pixels)
    {
        // Some pixels twice, with the same result.
        Pixels(d, geometry, depths, pixels - lanes, coordinates);
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(CoordinatesOfLineHere);

void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, size_t pixels,
                       uint8_t *coordinates)
{
    HWY_DYNAMIC_DISPATCH(CoordinatesOfLineHere)(geometry, depths, pixels, coordinates);
}

} // namespace tarn::vision

#endif
