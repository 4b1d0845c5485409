#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// The directions of the pixels of a line, as slopes: dividing an offset by the focal length for each
/// coordinate would take longer than writing the coordinate.
struct LineGeometry
{
    /// One slope per pixel: X = slope * Z.
    const float *slopesX;
    /// Y = slopeY * Z.
    float slopeY;
};

/// Computes X, Y, Z for each depth Z. Depths and coordinates may begin at any address.
/// @param isIn one bit per pixel, 0 for a pixel without depth. Such a pixel gets Z = 0, as in the depth
/// image, and NaN for X and Y. Null when every pixel has depth.
/// @param isPastCache whether whole cache lines bypass the caches
void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, const uint64_t *isIn,
                       size_t pixels, uint8_t *coordinates, bool isPastCache);

} // namespace tarn::vision
