#pragma once

#include "pictures/raster.h"

#include <Eigen/Core>

#include <string>

namespace gentlctl
{

inline constexpr Colour black{0, 0, 0};
inline constexpr Colour white{255, 255, 255};

/// A text, with 255 where its letters cover a pixel and less at their edges.
Raster<uint8_t> TextShape(const std::string &text);

/// Colours the pixels that a shape covers. What lies outside of the picture is left out.
/// @param left, top where the shape begins
void Stamp(ColourRaster &picture, const Raster<uint8_t> &shape, long left, long top, const Colour &colour);

/// Draws a smooth line of one pixel's width.
void DrawLine(ColourRaster &picture, const Eigen::Vector2d &from, const Eigen::Vector2d &to,
              const Colour &colour);

} // namespace gentlctl
