#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace gentlctl
{

/// An image in memory: rows without padding, the samples of a pixel side by side.
template <typename T>
struct Raster
{
    size_t width = 0;
    size_t height = 0;
    size_t channels = 1;
    std::vector<T> samples = std::vector<T>(width * height * channels);

    /// The first sample of a pixel.
    T *At(size_t x, size_t y) { return samples.data() + (y * width + x) * channels; }
    const T *At(size_t x, size_t y) const { return samples.data() + (y * width + x) * channels; }
};

using AnyRaster = std::variant<Raster<uint8_t>, Raster<uint16_t>, Raster<float>>;

/// Red, green and blue.
using Colour = std::array<uint8_t, 3>;

/// Three channels: red, green and blue.
using ColourRaster = Raster<uint8_t>;

/// A picture of one colour.
ColourRaster Filled(size_t width, size_t height, const Colour &colour);

void SetColour(ColourRaster &picture, size_t x, size_t y, const Colour &colour);

/// Puts two pictures of the same height side by side.
ColourRaster Beside(const ColourRaster &left, const ColourRaster &right);

} // namespace gentlctl
