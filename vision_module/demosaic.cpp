#include "vision_module/demosaic.h"

#include "vision_module/demosaic_kernel.h"
#include "vision_module/error.h"
#include "vision_module/shift.h"
#include "vision_module/yuv_kernel.h"

#include <climits>
#include <cstring>
#include <vector>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

/// The position of red in the first 2 x 2 pixels; blue is diagonally opposite.
struct RedPlace
{
    uint32_t line;
    uint32_t column;
};

RedPlace RedPlaceOf(PixelFormat bayer)
{
    switch (bayer)
    {
    case BayerRG8:
    case BayerRG10:
    case BayerRG12:
        return {0, 0};
    case BayerGR8:
    case BayerGR10:
    case BayerGR12:
        return {0, 1};
    case BayerGB8:
    case BayerGB10:
    case BayerGB12:
        return {1, 0};
    default:
        return {1, 1};
    }
}

/// @param line neither the first nor the last, which lack a neighbour
MosaicLine LineOf(const Image &image, uint32_t line)
{
    const auto red = RedPlaceOf(image.format);
    const bool isByte = DepthOf(image.format) == 8;
    const auto lineBytes = uint64_t{image.width} * (isByte ? 1 : 2);
    const auto *const here = image.data + line * lineBytes;
    const bool hasRed = line % 2 == red.line;
    return {here - lineBytes, here,   here + lineBytes,           image.width,
            isByte,           hasRed, hasRed == (red.column == 1)};
}

void RequireSize(const Image &image, bool isFitting, const std::string &expected)
{
    if (!isFitting)
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE,
                      "The image of " + NameOf(image.format) + " has " + std::to_string(image.width) + " x " +
                          std::to_string(image.height) + " pixels, expected " + expected);
    }
}

/// Copies the second element to the first, and the last but one to the last.
void RepeatEnds(uint8_t *elements, uint64_t elementBytes, uint64_t count)
{
    std::memcpy(elements, elements + elementBytes, elementBytes);
    auto *const last = elements + (count - 1) * elementBytes;
    std::memcpy(last, last - elementBytes, elementBytes);
}

YuvLine YuvLineOf(const Image &image, uint32_t line)
{
    const uint64_t width = image.width;
    if (image.format == YUV422_8_UYVY)
    {
        return {image.data + line * width * 2, nullptr, false};
    }
    const auto *const colours = image.data + (uint64_t{image.height} + line / 2) * width;
    return {image.data + line * width, colours, image.format == YUV420_8_YY_VU_SemiplanarQVR};
}

} // namespace

void Demosaic(const Image &image, Image &target)
{
    constexpr uint32_t least = 3;
    constexpr uint32_t most = INT_MAX / 8;
    RequireSize(image,
                image.width >= least && image.height >= least && image.width <= most && image.height <= most,
                "from 3 x 3 up to " + std::to_string(most) + " x " + std::to_string(most));

    const auto result = target.format == RGB8   ? DemosaicResult::Rgb
                        : target.format == BGR8 ? DemosaicResult::Bgr
                                                : DemosaicResult::Grey;
    const uint64_t samples = uint64_t{image.width} * (result == DemosaicResult::Grey ? 1 : 3);
    const auto depth = DepthOf(image.format);
    const uint64_t sampleBytes = depth == 8 ? 1 : 2;
    const auto lineBytes = samples * (DepthOf(target.format) == 8 ? 1 : 2);
    const bool isShifted = depth != DepthOf(target.format);
    std::vector<uint8_t> unshifted(isShifted ? samples * sampleBytes : 0);
    for (uint32_t line = 1; line < image.height - 1; ++line)
    {
        auto *const made = target.data + line * lineBytes;
        auto *const pixels = isShifted ? unshifted.data() : made;
        DemosaicLine(LineOf(image, line), result, pixels);
        RepeatEnds(pixels, samples * sampleBytes / image.width, image.width);
        if (isShifted)
        {
            ShiftSamples(image.format, pixels, target.format, made, samples);
        }
    }
    // Border pixels have too few neighbours to interpolate.
    RepeatEnds(target.data, lineBytes, image.height);
}

void YuvToRgb(const Image &image, Image &target)
{
    constexpr uint32_t most = INT_MAX / 8;
    const bool isPlanar = image.format != YUV422_8_UYVY;
    const bool isEven = image.width % 2 == 0 && (!isPlanar || image.height % 2 == 0);
    RequireSize(image, isEven && image.width <= most && image.height <= most,
                std::string("an even width") + (isPlanar ? " and height" : "") + " of up to " +
                    std::to_string(most));

    for (uint32_t line = 0; line < image.height; ++line)
    {
        YuvLineToRgb(YuvLineOf(image, line), image.width / 2, target.data + uint64_t{line} * image.width * 3);
    }
}

} // namespace tarn::vision
