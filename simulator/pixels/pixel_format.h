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
    unsigned components; ///< samples of a pixel; they follow each other
    void (*pack)(std::span<const uint16_t> samples, uint8_t *out);
    /// Colour of each component. With one component: colour of each pixel in a block of 2 x 2, line by line.
    std::array<Colour, 4> colours;
    /// Share of the light that each pixel in a block of 2 x 2 gets, line by line: the sub-images differ in
    /// it.
    std::array<double, 4> exposures;

    uint16_t MaximumSample() const { return static_cast<uint16_t>((1U << sampleBits) - 1); }

    /// Size of the pixels in bytes; the last byte is padded.
    size_t SizeOf(size_t pixels) const { return (pixels * pixelBits + 7) / 8; }

    /// The colour that a sample of the pixel in this place measures.
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

/// In every format, this number of pixels fills whole bytes and whole groups.
constexpr uint32_t pixelsPerGroup = 8;

/// @throws std::logic_error no format has this code
const PixelFormat &FindPixelFormat(int64_t code);

/// @throws std::logic_error no format has this name
const PixelFormat &FindPixelFormat(std::string_view name);

/// The same format with another mosaic: "GR" makes BayerGR8 of BayerRG8.
const PixelFormat &WithMosaic(const PixelFormat &format, std::string_view mosaic);

} // namespace GenTL::simulator
