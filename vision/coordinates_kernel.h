#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// The same for all pixels of a line: Y is `offsetY` * Z / `focalLengthY`.
struct LineGeometry
{
    /// For each pixel: X is its offset * Z / `focalLengthX`.
    const float *offsetsX;
    float focalLengthX;
    float offsetY;
    float focalLengthY;
};

/// Makes X, Y, Z for each depth Z. Depths and coordinates may begin at any address.
void CoordinatesOfLine(const LineGeometry &geometry, const uint8_t *depths, size_t pixels,
                       uint8_t *coordinates);

} // namespace tarn::vision
