#pragma once

#include "pictures/image_files.h"
#include "pictures/raster.h"

#include <filesystem>

namespace gentlctl
{

/// Whether an image holds three coordinates for each pixel.
bool IsPointGrid(const ImageView &image);

/// Whether an image holds an 8-bit grey value for each point of a grid.
bool IsIntensityOf(const ImageView &points, const ImageView *intensity);

/// The colour of a depth: red at the minimum, blue at the maximum.
Colour ColourOf(float depth, double minimum, double maximum);

/// A bar of the colours of depth, labelled with five values: the largest at the top, the smallest at the
/// bottom.
ColourRaster ScaleBar(size_t height, double minimum, double maximum, const Colour &ground);

/// Colours depth from red near to blue far, and adds a bar of the colours at the right edge. Pixels without
/// depth (0, or not a finite number) are black.
/// @return a picture that is wider than the depth by the bar
ColourRaster ColourDepth(const Raster<float> &depth);

/// Writes the points that have coordinates as a binary PLY, in their order in the image.
/// @param intensity grey values of the same size; null without
/// @throws std::runtime_error the file cannot be written
void WritePly(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity);

/// Writes the grid of points as a binary PCD with its width and height. A pixel without coordinates holds
/// three NaN, so that each point keeps its place in the image.
/// @param intensity grey values of the same size; null without
/// @throws std::runtime_error the file cannot be written
void WritePcd(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity);

} // namespace gentlctl
