#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace GenTL::simulator
{

/// The light that a sample measures.
enum class Colour
{
    Grey,
    Red,
    Green,
    Blue
};

/// A pixel format that a camera can send, with the function that makes its bytes.
struct PixelFormat
{
    const char *name;
    int64_t code;
    unsigned sampleBits; ///< significant bits of a sample
    unsigned pixelBits;  ///< bits that a pixel takes in the image
    unsigned components; ///< samples of a pixel, which follow each other
    void (*pack)(std::span<const uint16_t> samples, uint8_t *out);
    /// Of the components; of one component: of the pixels of each block of 2 x 2, line by line.
    std::array<Colour, 4> colours;
    /// Parts of the light that the pixels of each block of 2 x 2 get: the sub-images differ in it.
    std::array<double, 4> exposures;

    uint16_t MaximumSample() const { return static_cast<uint16_t>((1U << sampleBits) - 1); }

    /// Bytes of so many pixels, the last byte filled up.
    size_t SizeOf(size_t pixels) const { return (pixels * pixelBits + 7) / 8; }

    /// What a sample of the pixel in this place measures.
    Colour ColourAt(uint32_t column, uint32_t row, unsigned component) const
    {
        return colours[components == 1 ? row % 2 * 2 + column % 2 : component];
    }

    double ExposureAt(uint32_t column, uint32_t row) const { return exposures[row % 2 * 2 + column % 2]; }

    /// "RG" of BayerRG8; empty for a format without mosaic.
    std::string_view Mosaic() const
    {
        const std::string_view text = name;
        return text.starts_with("Bayer") ? text.substr(5, 2) : std::string_view();
    }
};

/// So many pixels end on a byte, and on a group, in every format.
constexpr uint32_t pixelsPerGroup = 8;

/// Throws std::logic_error for a code that is not in the list.
const PixelFormat &FindPixelFormat(int64_t code);

/// Throws std::logic_error for a name that is not in the list.
const PixelFormat &FindPixelFormat(std::string_view name);

/// The same format with another mosaic: "GR" makes BayerGR8 of BayerRG8.
const PixelFormat &WithMosaic(const PixelFormat &format, std::string_view mosaic);

} // namespace GenTL::simulator
