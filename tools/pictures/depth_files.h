#pragma once

#include "pictures/image_files.h"
#include "pictures/raster.h"

#include <filesystem>

namespace gentlctl
{

/// Whether an image holds three coordinates for each pixel.
bool IsPointGrid(const ImageView &image);

/// Whether an image holds a grey value of eight bits for each pixel of a grid of points.
bool IsIntensityOf(const ImageView &points, const ImageView *intensity);

/// The colour of a depth: red at the minimum, blue at the maximum.
Colour ColourOf(float depth, double minimum, double maximum);

/// A bar of the colours of depth: the largest value at the top, the least at the bottom, five values beside
/// it.
ColourRaster ScaleBar(size_t height, double minimum, double maximum, const Colour &ground);

/// Depth in colours, near red and far blue, with a bar at the right edge that says which value is which.
/// Pixels without depth (0, or not a finite number) are black.
/// @return wider than the depth by the bar
ColourRaster ColourDepth(const Raster<float> &depth);

/// Writes the points that have coordinates as a binary PLY, in their order in the image.
/// @param intensity grey values of the same size; null without
/// @throws std::runtime_error the file cannot be written
void WritePly(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity);

} // namespace gentlctl
