#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// Where the pixels of a line look to. Slopes, not offsets and focal lengths, since a division for each
/// coordinate takes longer than to write it.
struct LineGeometry
{
    /// For each pixel: X is its slope * Z.
    const float *slopesX;
    /// Y is this * Z.
    float slopeY;
};

/// Makes X, Y, Z for each depth Z. Depths and coordinates may begin at any address.
/// @param isIn a bit for each pixel, 0 for one without depth: its Z is 0, as it is in a depth image, and what
/// would follow from it is not a number. Null when all have depth.
/// @param isPastCache whether whole cache lines are written past the caches
void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, const uint64_t *isIn,
                       size_t pixels, uint8_t *coordinates, bool isPastCache);

} // namespace tarn::vision
