#include "vision/demosaic.h"

#include "vision/error.h"
#include "vision/shift.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <climits>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

enum class Result
{
    Grey,
    Rgb,
    Bgr
};

struct Codes
{
    int grey;
    int rgb;
    int bgr;

    int Of(Result result) const
    {
        return result == Result::Grey ? grey : (result == Result::Rgb ? rgb : bgr);
    }
};

// OpenCV's older names tell the second line's second and third column, so that its BayerBG is our BayerRG.
// The names of four letters are the pattern itself.
Codes CodesOf(PixelFormat bayer)
{
    switch (bayer)
    {
    case BayerRG8:
    case BayerRG10:
    case BayerRG12:
        return {cv::COLOR_BayerRGGB2GRAY, cv::COLOR_BayerRGGB2RGB, cv::COLOR_BayerRGGB2BGR};
    case BayerGB8:
    case BayerGB10:
    case BayerGB12:
        return {cv::COLOR_BayerGBRG2GRAY, cv::COLOR_BayerGBRG2RGB, cv::COLOR_BayerGBRG2BGR};
    case BayerGR8:
    case BayerGR10:
    case BayerGR12:
        return {cv::COLOR_BayerGRBG2GRAY, cv::COLOR_BayerGRBG2RGB, cv::COLOR_BayerGRBG2BGR};
    default:
        return {cv::COLOR_BayerBGGR2GRAY, cv::COLOR_BayerBGGR2RGB, cv::COLOR_BayerBGGR2BGR};
    }
}

void RequireSize(const Image &image, bool isFitting, const std::string &expected)
{
    if (!isFitting)
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE, "The image of " + common::PixelFormatName(image.format) +
                                                 " has " + std::to_string(image.width) + " x " +
                                                 std::to_string(image.height) + " pixels, expected " +
                                                 expected);
    }
}

cv::Mat View(const Image &image, int lines, int type)
{
    return {lines, static_cast<int>(image.width), type, image.data};
}

/// Converts into just this memory.
void ConvertColour(const cv::Mat &source, cv::Mat target, int code)
{
    const auto *memory = target.data;
    cv::cvtColor(source, target, code);
    CV_Assert(target.data == memory);
}

} // namespace

void Demosaic(const Image &image, Image &target)
{
    constexpr uint32_t least = 3;
    // A third of the integers: lines of three samples are counted in integers, too.
    constexpr uint32_t most = INT_MAX / 8;
    RequireSize(image,
                image.width >= least && image.height >= least && image.width <= most && image.height <= most,
                "from 3 x 3 up to " + std::to_string(most) + " x " + std::to_string(most));

    const auto result = target.format == RGB8   ? Result::Rgb
                        : target.format == BGR8 ? Result::Bgr
                                                : Result::Grey;
    const int channels = result == Result::Grey ? 1 : 3;
    const int depth = DepthOf(image.format) == 8 ? CV_8U : CV_16U;
    const int lines = static_cast<int>(image.height);
    const int type = CV_MAKETYPE(depth, channels);
    const auto source = View(image, lines, CV_MAKETYPE(depth, 1));
    const int code = CodesOf(image.format).Of(result);
    if (DepthOf(image.format) == DepthOf(target.format))
    {
        ConvertColour(source, View(target, lines, type), code);
        return;
    }
    cv::Mat whole(lines, source.cols, type);
    ConvertColour(source, whole, code);
    ShiftSamples(image.format, whole.data, target.format, target.data,
                 image.PixelCount() * static_cast<uint64_t>(channels));
}

void YuvToRgb(const Image &image, Image &target)
{
    constexpr uint32_t most = INT_MAX / 8;
    const bool isPlanar = image.format != YUV422_8_UYVY;
    const bool isEven = image.width % 2 == 0 && (!isPlanar || image.height % 2 == 0);
    RequireSize(image, isEven && image.width <= most && image.height <= most,
                std::string("an even width") + (isPlanar ? " and height" : "") + " of up to " +
                    std::to_string(most));

    const int lines = static_cast<int>(image.height);
    const auto source = isPlanar ? View(image, lines / 2 * 3, CV_8UC1) : View(image, lines, CV_8UC2);
    const int code = !isPlanar                                      ? cv::COLOR_YUV2RGB_UYVY
                     : image.format == YUV420_8_YY_UV_SemiplanarQVR ? cv::COLOR_YUV2RGB_NV12
                                                                    : cv::COLOR_YUV2RGB_NV21;
    ConvertColour(source, View(target, lines, CV_8UC3), code);
}

} // namespace tarn::vision
