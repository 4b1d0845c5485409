#include "vision/coordinates.h"

#include "vision/coordinates_kernel.h"
#include "vision/error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

constexpr uint32_t coordinatesOfPixel = 3;

void RequireFormat(const Image &image, const std::string &name, PixelFormat format)
{
    if (image.format != format)
    {
        throw Failure(TARN_CVL_MISMATCH, "The " + name + " is of " + common::PixelFormatName(image.format) +
                                             ", expected " + common::PixelFormatName(format));
    }
}

void RequireSize(const std::string &name, uint32_t width, uint32_t height, const Image &depth)
{
    if (width != depth.width || height != depth.height)
    {
        throw Failure(TARN_CVL_MISMATCH, "The " + name + " has " + std::to_string(width) + " x " +
                                             std::to_string(height) + " pixels, expected " +
                                             std::to_string(depth.width) + " x " +
                                             std::to_string(depth.height));
    }
}

constexpr uint64_t pointBytes = coordinatesOfPixel * sizeof(float);

/// A pixel without depth: Z is 0, as it is in a depth image, and what would follow from it is not a number.
void SetNoPoints(Image &target, uint64_t begin, uint64_t end)
{
    constexpr auto nan = std::numeric_limits<float>::quiet_NaN();
    constexpr std::array<float, coordinatesOfPixel> noPoint{nan, nan, 0};
    for (auto *point = target.data + begin * pointBytes; point < target.data + end * pointBytes;
         point += pointBytes)
    {
        std::memcpy(point, noPoint.data(), pointBytes);
    }
}

/// Sets all that lies between the runs.
void SetNoPointsOutside(Image &target, const Region &region)
{
    uint64_t done = 0;
    for (const auto &run : region.runs)
    {
        const auto end = std::min(run.end, target.width);
        if (run.line >= target.height || run.begin >= end)
        {
            continue;
        }
        const auto line = uint64_t{run.line} * target.width;
        SetNoPoints(target, done, line + run.begin);
        done = line + end;
    }
    SetNoPoints(target, done, target.PixelCount());
}

} // namespace

void MakeCoordinates(const Image &depth, const tarn_cvl_CalibrationParameters &camera, Image &target)
{
    RequireFormat(depth, "depth image", Coord3D_C32f);
    RequireFormat(target, "target", Coord3D_ABC32f);
    RequireSize("target", target.width, target.height, depth);
    RequireSize("camera", camera.width, camera.height, depth);
    if (depth.PixelCount() == 0)
    {
        return;
    }
    if (ShareMemory(depth, target))
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE,
                      "The target shares memory with the depth image; expected memory of its own");
    }
    std::vector<float> slopesX(depth.width);
    for (uint32_t x = 0; x < depth.width; ++x)
    {
        slopesX[x] = (static_cast<float>(x) - camera.principalPointX) / camera.focalLengthX;
    }
    for (uint32_t y = 0; y < depth.height; ++y)
    {
        const float slopeY = (static_cast<float>(y) - camera.principalPointY) / camera.focalLengthY;
        const LineGeometry line{slopesX.data(), slopeY};
        const auto first = uint64_t{y} * depth.width;
        CoordinatesOfLine(line, depth.data + first * sizeof(float), depth.width,
                          target.data + first * pointBytes);
    }
    if (depth.region)
    {
        SetNoPointsOutside(target, *depth.region);
    }
}

} // namespace tarn::vision
