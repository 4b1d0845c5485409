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
void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, size_t pixels,
                       uint8_t *coordinates);

} // namespace tarn::vision
