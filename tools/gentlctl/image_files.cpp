#include "gentlctl/image_files.h"

#include "gentlctl/depth_files.h"
#include "gentlctl/image_encoding.h"
#include "gentlctl/output_files.h"

#include "common/exceptions.h"
#include "common/pixel_format.h"
#include "utils/checks.h"

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <stdexcept>

namespace gentlctl
{
namespace
{

using tarn::common::PixelFormat;

constexpr int asItIs = -1;
constexpr int depth = -2;
constexpr int interleaved = -3;

/// How a format becomes an OpenCV image.
struct Picture
{
    PixelFormat format;
    int type;       ///< of the delivered samples
    int conversion; ///< OpenCV's to grey or to red, green and blue, or asItIs, depth, interleaved
    double maximum; ///< largest sample
};

// OpenCV names a Bayer pattern after the second pixel of the second row, hence the other letters.
constexpr std::array pictures{
    Picture{PixelFormat::Mono8, CV_8UC1, asItIs, 255},
    Picture{PixelFormat::Mono10, CV_16UC1, asItIs, 1023},
    Picture{PixelFormat::Mono12, CV_16UC1, asItIs, 4095},
    Picture{PixelFormat::Mono16, CV_16UC1, asItIs, 65535},
    Picture{PixelFormat::BayerRG8, CV_8UC1, cv::COLOR_BayerBG2RGB, 255},
    Picture{PixelFormat::BayerGR8, CV_8UC1, cv::COLOR_BayerGB2RGB, 255},
    Picture{PixelFormat::BayerGB8, CV_8UC1, cv::COLOR_BayerGR2RGB, 255},
    Picture{PixelFormat::BayerBG8, CV_8UC1, cv::COLOR_BayerRG2RGB, 255},
    Picture{PixelFormat::BayerRG10, CV_16UC1, cv::COLOR_BayerBG2RGB, 1023},
    Picture{PixelFormat::BayerGR10, CV_16UC1, cv::COLOR_BayerGB2RGB, 1023},
    Picture{PixelFormat::BayerGB10, CV_16UC1, cv::COLOR_BayerGR2RGB, 1023},
    Picture{PixelFormat::BayerBG10, CV_16UC1, cv::COLOR_BayerRG2RGB, 1023},
    Picture{PixelFormat::BayerRG12, CV_16UC1, cv::COLOR_BayerBG2RGB, 4095},
    Picture{PixelFormat::BayerGR12, CV_16UC1, cv::COLOR_BayerGB2RGB, 4095},
    Picture{PixelFormat::BayerGB12, CV_16UC1, cv::COLOR_BayerGR2RGB, 4095},
    Picture{PixelFormat::BayerBG12, CV_16UC1, cv::COLOR_BayerRG2RGB, 4095},
    Picture{PixelFormat::RGB8, CV_8UC3, asItIs, 255},
    Picture{PixelFormat::BGR8, CV_8UC3, cv::COLOR_BGR2RGB, 255},
    Picture{PixelFormat::RGB10, CV_16UC3, asItIs, 1023},
    Picture{PixelFormat::BGR10, CV_16UC3, cv::COLOR_BGR2RGB, 1023},
    Picture{PixelFormat::RGB12, CV_16UC3, asItIs, 4095},
    Picture{PixelFormat::BGR12, CV_16UC3, cv::COLOR_BGR2RGB, 4095},
    Picture{PixelFormat::Confidence8, CV_8UC1, asItIs, 255},
    Picture{PixelFormat::Confidence16, CV_16UC1, asItIs, 65535},
    Picture{PixelFormat::Coord3D_C8, CV_8UC1, depth, 255},
    Picture{PixelFormat::Coord3D_C16, CV_16UC1, depth, 65535},
    Picture{PixelFormat::Coord3D_C32f, CV_32FC1, depth, 0},
    Picture{PixelFormat::Coord3D_ABC32f, CV_32FC3, depth, 0},
    Picture{PixelFormat::Mono8_AB, CV_8UC2, interleaved, 255},
    Picture{PixelFormat::Mono10_AB, CV_16UC2, interleaved, 1023},
    Picture{PixelFormat::Mono12_AB, CV_16UC2, interleaved, 4095},
    Picture{PixelFormat::Mono8_ABCD, CV_8UC4, interleaved, 255},
    Picture{PixelFormat::Mono10_ABCD, CV_16UC4, interleaved, 1023},
    Picture{PixelFormat::Mono12_ABCD, CV_16UC4, interleaved, 4095},
    Picture{PixelFormat::BayerRG8_AB, CV_8UC2, interleaved, 255},
    Picture{PixelFormat::BayerGR8_AB, CV_8UC2, interleaved, 255},
    Picture{PixelFormat::BayerGB8_AB, CV_8UC2, interleaved, 255},
    Picture{PixelFormat::BayerBG8_AB, CV_8UC2, interleaved, 255},
    Picture{PixelFormat::BayerRG10_AB, CV_16UC2, interleaved, 1023},
    Picture{PixelFormat::BayerGR10_AB, CV_16UC2, interleaved, 1023},
    Picture{PixelFormat::BayerGB10_AB, CV_16UC2, interleaved, 1023},
    Picture{PixelFormat::BayerBG10_AB, CV_16UC2, interleaved, 1023},
    Picture{PixelFormat::BayerRG12_AB, CV_16UC2, interleaved, 4095},
    Picture{PixelFormat::BayerGR12_AB, CV_16UC2, interleaved, 4095},
    Picture{PixelFormat::BayerGB12_AB, CV_16UC2, interleaved, 4095},
    Picture{PixelFormat::BayerBG12_AB, CV_16UC2, interleaved, 4095},
};

const Picture *FindPicture(uint64_t pixelFormat)
{
    for (const auto &picture : pictures)
    {
        if (static_cast<uint64_t>(picture.format) == pixelFormat)
        {
            return &picture;
        }
    }
    return nullptr;
}

cv::Mat Wrap(const ImageView &image, const Picture &picture)
{
    const auto sample = static_cast<uint64_t>(CV_ELEM_SIZE(picture.type));
    constexpr uint64_t sideLimit = 1U << 20U;
    if (image.width == 0 || image.height == 0 || image.width > sideLimit || image.height > sideLimit ||
        !GenTL::internal::utils::RangeFits(0, image.width * image.height * sample, image.size))
    {
        throw std::runtime_error(fmt::format("A {} image of {} x {} does not fit the buffer of {} bytes",
                                             FormatName(image.pixelFormat), image.width, image.height,
                                             image.size));
    }
    return {static_cast<int>(image.height), static_cast<int>(image.width), picture.type,
            const_cast<uint8_t *>(image.data)}; // only read
}

/// The colours of depth: of z, when there are three coordinates.
cv::Mat InColours(const cv::Mat &pixels)
{
    cv::Mat z = pixels;
    if (pixels.channels() == 3)
    {
        cv::extractChannel(pixels, z, 2);
    }
    cv::Mat colours;
    cv::cvtColor(ColourDepth(z), colours, cv::COLOR_BGR2RGB);
    return colours;
}

/// What a file holds of an image: grey, or red, green and blue, or coordinates.
cv::Mat Convert(const cv::Mat &pixels, const Picture &picture, size_t index, bool isPng)
{
    cv::Mat converted;
    switch (picture.conversion)
    {
    case asItIs:
        return pixels;
    case interleaved:
        cv::extractChannel(pixels, converted, static_cast<int>(index));
        return converted;
    case depth:
        return isPng ? InColours(pixels) : pixels;
    default:
        cv::cvtColor(pixels, converted, picture.conversion);
        return converted;
    }
}

} // namespace

std::string FormatName(uint64_t pixelFormat)
{
    try
    {
        return tarn::common::PixelFormatName(static_cast<PixelFormat>(pixelFormat));
    }
    catch (const std::exception &)
    {
        return fmt::format("0x{:08X}", pixelFormat);
    }
}

size_t BytesOf(uint64_t pixelFormat, size_t width, size_t height)
{
    try
    {
        return GetSizeInBytes(static_cast<PixelFormat>(pixelFormat),
                              {static_cast<unsigned int>(width), static_cast<unsigned int>(height)});
    }
    catch (const tarn::common::InvalidParameterException &)
    {
        return 0;
    }
}

size_t ImagesIn(uint64_t pixelFormat)
{
    const auto *picture = FindPicture(pixelFormat);
    return picture != nullptr && picture->conversion == interleaved
               ? static_cast<size_t>(CV_MAT_CN(picture->type))
               : 1;
}

void WritePicture(const std::filesystem::path &file, const ImageView &image, size_t index)
{
    const auto *picture = FindPicture(image.pixelFormat);
    if (picture == nullptr)
    {
        throw std::runtime_error(
            fmt::format("Images of format {} cannot be written as a picture: use --format raw, or "
                        "a PixelFormat of `gentlctl formats` that the producer unpacks",
                        FormatName(image.pixelFormat)));
    }
    const bool isPng = file.extension() == ".png";
    cv::Mat pixels = Convert(Wrap(image, *picture), *picture, index, isPng);
    if (isPng && pixels.depth() == CV_16U && picture->maximum < 65535)
    {
        // Into memory of its own: the buffer is the producer's.
        cv::Mat scaled;
        pixels.convertTo(scaled, -1, 65535.0 / picture->maximum);
        pixels = scaled;
    }
    WriteImage(file, pixels);
}

void WriteImage(const std::filesystem::path &file, const cv::Mat &pixels)
{
    const auto bytes = file.extension() == ".png" ? EncodePng(pixels) : EncodeTiff(pixels);
    WriteBytes(file, bytes.data(), bytes.size());
}

} // namespace gentlctl
