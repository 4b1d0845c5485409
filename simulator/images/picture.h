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
    uint16_t white = 255; ///< the largest value there can be
    ///  The values are as in the file, which has one of more than 8 bits for each pixel; else they are grey.
    bool canBeDepth = false;
    std::vector<uint16_t> values;

    /// Makes room for the values. Throws when no picture has such a size.
    void Resize(uint32_t newWidth, uint32_t newHeight);
};

using Bytes = std::span<const uint8_t>;

/// Why a file gives no picture.
class NoPicture : public std::runtime_error
{
public:
    NoPicture() : std::runtime_error("is no picture that can be read") {}
};

/// The light of a colour as ITU-R BT.601 weighs it.
constexpr uint16_t GreyOf(uint32_t red, uint32_t green, uint32_t blue)
{
    return static_cast<uint16_t>((red * 19595 + green * 38470 + blue * 7471 + 32768) >> 16);
}

// The kinds of files. They throw NoPicture.

Picture ReadBmp(Bytes file);
Picture ReadJpeg(Bytes file);
Picture ReadPng(Bytes file);
Picture ReadPnm(Bytes file);
Picture ReadTiff(Bytes file);

/// Reads a file of any of these kinds, which its first bytes tell.
Picture ReadAnyPicture(const std::string &path);

/// Scales the picture so that it covers width x height and cuts it to that around its centre: the mean of the
/// pixels that one stands for when it gets smaller, linear between pixels when it gets larger.
void Cover(const Picture &picture, uint32_t width, uint32_t height, uint16_t *out);

} // namespace GenTL::simulator
