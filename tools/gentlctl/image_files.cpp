#include "gentlctl/image_files.h"

#include "gentlctl/depth_files.h"

#include "common/exceptions.h"
#include "common/pixel_format.h"
#include "utils/checks.h"

#include <fmt/format.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{
namespace
{

using tarn::common::PixelFormat;

constexpr int asItIs = -1;
constexpr int depth = -2;

/// How a format becomes an OpenCV image.
struct Picture
{
    PixelFormat format;
    int type;       ///< of the delivered samples
    int conversion; ///< to what OpenCV writes, or asItIs, or depth
    double maximum; ///< largest sample
};

// OpenCV names a Bayer pattern after the second pixel of the second row, hence the other letters.
constexpr std::array pictures{
    Picture{PixelFormat::Mono8, CV_8UC1, asItIs, 255},
    Picture{PixelFormat::Mono10, CV_16UC1, asItIs, 1023},
    Picture{PixelFormat::Mono12, CV_16UC1, asItIs, 4095},
    Picture{PixelFormat::Mono16, CV_16UC1, asItIs, 65535},
    Picture{PixelFormat::BayerRG8, CV_8UC1, cv::COLOR_BayerBG2BGR, 255},
    Picture{PixelFormat::BayerGR8, CV_8UC1, cv::COLOR_BayerGB2BGR, 255},
    Picture{PixelFormat::BayerGB8, CV_8UC1, cv::COLOR_BayerGR2BGR, 255},
    Picture{PixelFormat::BayerBG8, CV_8UC1, cv::COLOR_BayerRG2BGR, 255},
    Picture{PixelFormat::BayerRG10, CV_16UC1, cv::COLOR_BayerBG2BGR, 1023},
    Picture{PixelFormat::BayerGR10, CV_16UC1, cv::COLOR_BayerGB2BGR, 1023},
    Picture{PixelFormat::BayerGB10, CV_16UC1, cv::COLOR_BayerGR2BGR, 1023},
    Picture{PixelFormat::BayerBG10, CV_16UC1, cv::COLOR_BayerRG2BGR, 1023},
    Picture{PixelFormat::BayerRG12, CV_16UC1, cv::COLOR_BayerBG2BGR, 4095},
    Picture{PixelFormat::BayerGR12, CV_16UC1, cv::COLOR_BayerGB2BGR, 4095},
    Picture{PixelFormat::BayerGB12, CV_16UC1, cv::COLOR_BayerGR2BGR, 4095},
    Picture{PixelFormat::BayerBG12, CV_16UC1, cv::COLOR_BayerRG2BGR, 4095},
    Picture{PixelFormat::RGB8, CV_8UC3, cv::COLOR_RGB2BGR, 255},
    Picture{PixelFormat::BGR8, CV_8UC3, asItIs, 255},
    Picture{PixelFormat::RGB10, CV_16UC3, cv::COLOR_RGB2BGR, 1023},
    Picture{PixelFormat::BGR10, CV_16UC3, asItIs, 1023},
    Picture{PixelFormat::RGB12, CV_16UC3, cv::COLOR_RGB2BGR, 4095},
    Picture{PixelFormat::BGR12, CV_16UC3, asItIs, 4095},
    Picture{PixelFormat::Confidence8, CV_8UC1, asItIs, 255},
    Picture{PixelFormat::Confidence16, CV_16UC1, asItIs, 65535},
    Picture{PixelFormat::Coord3D_C8, CV_8UC1, depth, 255},
    Picture{PixelFormat::Coord3D_C16, CV_16UC1, depth, 65535},
    Picture{PixelFormat::Coord3D_C32f, CV_32FC1, depth, 0},
    Picture{PixelFormat::Coord3D_ABC32f, CV_32FC3, depth, 0},
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

} // namespace

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

bool CanWritePicture(uint64_t pixelFormat)
{
    return FindPicture(pixelFormat) != nullptr;
}

void WritePicture(const std::filesystem::path &file, const ImageView &image)
{
    const auto *picture = FindPicture(image.pixelFormat);
    if (picture == nullptr)
    {
        throw std::runtime_error(
            fmt::format("Images of format {} cannot be written as a picture: use --format raw, or "
                        "a PixelFormat of `gentlctl formats` that the producer unpacks",
                        FormatName(image.pixelFormat)));
    }
    cv::Mat pixels = Wrap(image, *picture);
    if (picture->conversion == depth)
    {
        if (file.extension() == ".png")
        {
            cv::Mat z = pixels;
            if (pixels.channels() == 3)
            {
                cv::extractChannel(pixels, z, 2);
            }
            pixels = ColourDepth(z);
        }
    }
    else if (picture->conversion != asItIs)
    {
        cv::cvtColor(pixels, pixels, picture->conversion);
    }
    if (file.extension() == ".png" && pixels.depth() == CV_16U && picture->maximum < 65535)
    {
        pixels.convertTo(pixels, -1, 65535.0 / picture->maximum);
    }
    WriteImage(file, pixels);
}

void WriteImage(const std::filesystem::path &file, const cv::Mat &pixels)
{
    errno = 0;
    if (!cv::imwrite(file.string(), pixels))
    {
        throw std::runtime_error(CannotWrite(file));
    }
}

void WriteBytes(const std::filesystem::path &file, const void *data, size_t size)
{
    errno = 0;
    std::ofstream stream(file, std::ios::binary);
    stream.write(static_cast<const char *>(data), static_cast<std::streamsize>(size));
    if (!stream.flush())
    {
        throw std::runtime_error(CannotWrite(file));
    }
}

void MakeFolder(const std::filesystem::path &folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        throw std::runtime_error(
            fmt::format("Cannot make the folder {}: {}. Choose another one with --output", folder.string(),
                        error.message()));
    }
}

std::string CannotWrite(const std::filesystem::path &file)
{
    return fmt::format("Cannot write {}{}", file.string(),
                       errno != 0 ? ": " + std::generic_category().message(errno) : "");
}

} // namespace gentlctl
