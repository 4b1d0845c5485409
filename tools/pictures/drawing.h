#pragma once

#include "pictures/raster.h"

#include <Eigen/Core>

namespace gentlctl
{

inline constexpr Colour black{0, 0, 0};
inline constexpr Colour white{255, 255, 255};

/// Colours the pixels that a shape covers, as far as they lie in the picture.
/// @param left, top position of the shape
void Stamp(ColourRaster &picture, const Raster<uint8_t> &shape, long left, long top, const Colour &colour);

/// Draws a smooth line, one pixel wide.
void DrawLine(ColourRaster &picture, const Eigen::Vector2d &from, const Eigen::Vector2d &to,
              const Colour &colour);

} // namespace gentlctl
