#include "simulator/images/image_file.h"

#include "simulator/images/picture.h"
#include "simulator/images/reason.h"

#include <fmt/format.h>

#include <algorithm>

using namespace GenTL::simulator;

namespace
{

std::string SizeText(uint32_t width, uint32_t height)
{
    return fmt::format("{} x {}", width, height);
}

/// Spreads the values of the file to the range from 0 to 65535.
void SpreadToSixteenBits(Picture &picture)
{
    const uint32_t white = picture.white;
    for (uint16_t &value : picture.values)
    {
        const uint32_t known = std::min<uint32_t>(value, white);
        value = static_cast<uint16_t>((known * 65535 + white / 2) / white);
    }
    picture.white = 65535;
}

Picture ReadOfSize(const char *path, bool isDepth, uint32_t width, uint32_t height)
{
    Picture picture = ReadAnyPicture(path);
    if (isDepth && !picture.canBeDepth)
    {
        throw std::runtime_error("has not one value of 16 bits for each pixel");
    }
    if (picture.width != width || picture.height != height)
    {
        throw std::runtime_error(fmt::format(
            "has {} pixels instead of {}", SizeText(picture.width, picture.height), SizeText(width, height)));
    }
    if (!isDepth)
    {
        SpreadToSixteenBits(picture);
    }
    return picture;
}

} // namespace

int qvrReadPicture(const char *path, uint32_t width, uint32_t height, int isDepth, uint16_t *out,
                   QvrReason *reason)
{
    try
    {
        const Picture picture = ReadOfSize(path, isDepth != 0, width, height);
        std::ranges::copy(picture.values, out);
        return 1;
    }
    catch (const std::exception &error)
    {
        WriteReason(error, reason);
        return 0;
    }
}

int qvrReadGreyImage(const char *path, uint32_t width, uint32_t height, uint16_t *out)
{
    try
    {
        Picture picture = ReadAnyPicture(path);
        SpreadToSixteenBits(picture);
        Cover(picture, width, height, out);
        return 1;
    }
    catch (const std::exception &)
    {
        return 0;
    }
}
