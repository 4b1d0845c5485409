#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::simulator
{

/// An image file in memory: one value for each pixel, row by row without padding.
struct Picture
{
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t white = 255; ///< the largest value that the format allows
    /// The file has one value of more than 8 bits for each pixel, and the values are those. Otherwise they
    /// are grey.
    bool canBeDepth = false;
    std::vector<uint16_t> values;

    /// Makes room for the values.
    /// @throws NoPicture no picture has such a size
    void Resize(uint32_t newWidth, uint32_t newHeight);
};

using Bytes = std::span<const uint8_t>;

/// The file cannot be read as a picture.
class NoPicture : public std::runtime_error
{
public:
    NoPicture() : std::runtime_error("is no picture that can be read") {}
};

/// The brightness of a colour by the weights of ITU-R BT.601.
constexpr uint16_t GreyOf(uint32_t red, uint32_t green, uint32_t blue)
{
    return static_cast<uint16_t>((red * 19595 + green * 38470 + blue * 7471 + 32768) >> 16);
}

// One function for each kind of file. They throw NoPicture.

Picture ReadBmp(Bytes file);
Picture ReadJpeg(Bytes file);
Picture ReadPng(Bytes file);
Picture ReadPnm(Bytes file);
Picture ReadTiff(Bytes file);

/// Reads a file of any of these kinds; its first bytes give the kind.
/// @throws NoPicture
Picture ReadAnyPicture(const std::string &path);

/// Scales the picture so that it covers width x height and cuts it to that around its centre: averages pixels
/// when it shrinks the picture, interpolates linearly when it enlarges it.
void Cover(const Picture &picture, uint32_t width, uint32_t height, uint16_t *out);

} // namespace GenTL::simulator
