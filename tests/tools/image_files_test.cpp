// Pictures of every pixel format, read back by a library that did not write them.

#include "pictures/image_files.h"

#include "pictures/depth_files.h"

#include "common/pixel_format.h"
#include "rasters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using tarn::common::PixelFormat;

constexpr int imageWidth = 14;
constexpr int imageHeight = 10;

/// A folder for the files of one test.
class PictureFiles : public testing::Test
{
protected:
    PictureFiles() : folder(fs::temp_directory_path() / fmt::format("pictures-{}", getpid()))
    {
        fs::create_directories(folder);
    }
    ~PictureFiles() override { fs::remove_all(folder); }

    static ImageView View(const cv::Mat &samples, PixelFormat format)
    {
        return {samples.data, samples.total() * samples.elemSize(), static_cast<size_t>(samples.cols),
                static_cast<size_t>(samples.rows), static_cast<uint64_t>(format)};
    }

    /// Writes a picture of these samples and returns it as OpenCV reads it.
    cv::Mat Picture(const cv::Mat &samples, PixelFormat format, const std::string &extension,
                    size_t index = 0) const
    {
        const auto file = folder / ("picture." + extension);
        WritePicture(file, View(samples, format), index);
        return cv::imread(file.string(), cv::IMREAD_UNCHANGED);
    }

    fs::path folder;
};

cv::Mat RandomSamples(int type, double maximum)
{
    cv::Mat samples(imageHeight, imageWidth, type);
    cv::RNG random(17);
    random.fill(samples, cv::RNG::UNIFORM, 0, maximum + 1);
    samples.at<uint8_t>(0, 0) = 0xFF;
    return samples;
}

/// The samples that a PNG holds: 16-bit samples are scaled to the full range.
cv::Mat InPng(const cv::Mat &samples, double maximum)
{
    cv::Mat scaled = samples.clone();
    if (samples.depth() == CV_16U)
    {
        // Converts to double first, because float would round some samples the wrong way.
        cv::Mat exact;
        samples.convertTo(exact, CV_64F, 65535 / maximum);
        exact.convertTo(scaled, CV_16U);
    }
    return scaled;
}

/// The colours of a picture of depth, in the order of OpenCV: blue first.
cv::Mat InColours(const cv::Mat &depth)
{
    cv::Mat values;
    depth.convertTo(values, CV_32F);
    cv::Mat colours;
    cv::cvtColor(AsMat(ColourDepth(AsRaster<float>(values))), colours, cv::COLOR_RGB2BGR);
    return colours;
}

bool Equal(const cv::Mat &picture, const cv::Mat &expected)
{
    return picture.type() == expected.type() && picture.size() == expected.size() &&
           std::memcmp(picture.data, expected.data, expected.total() * expected.elemSize()) == 0;
}

struct Samples
{
    PixelFormat format;
    const char *name;
    int type;
    double maximum;
};

void PrintTo(const Samples &samples, std::ostream *stream)
{
    *stream << samples.name;
}

#define SAMPLES(format, type, maximum)                                                                       \
    Samples                                                                                                  \
    {                                                                                                        \
        PixelFormat::format, #format, type, maximum                                                          \
    }

class GreyPictures : public PictureFiles, public testing::WithParamInterface<Samples>
{
};

TEST_P(GreyPictures, KeepEverySample)
{
    const auto &[format, name, type, maximum] = GetParam();
    const auto samples = RandomSamples(type, maximum);
    const auto before = samples.clone();
    EXPECT_TRUE(Equal(Picture(samples, format, "tiff"), samples));
    EXPECT_TRUE(Equal(Picture(samples, format, "png"), InPng(before, maximum)));
    EXPECT_TRUE(Equal(samples, before)) << "the buffer was changed";
}

INSTANTIATE_TEST_SUITE_P(Formats, GreyPictures,
                         testing::Values(SAMPLES(Mono8, CV_8UC1, 255), SAMPLES(Mono10, CV_16UC1, 1023),
                                         SAMPLES(Mono12, CV_16UC1, 4095), SAMPLES(Mono16, CV_16UC1, 65535),
                                         SAMPLES(Confidence8, CV_8UC1, 255),
                                         SAMPLES(Confidence16, CV_16UC1, 65535)));

INSTANTIATE_TEST_SUITE_P(DeepFormats, GreyPictures, testing::Values(SAMPLES(Mono14, CV_16UC1, 16383)));

class ColourPictures : public PictureFiles, public testing::WithParamInterface<Samples>
{
};

TEST_P(ColourPictures, KeepEverySampleInItsChannel)
{
    const auto &[format, name, type, maximum] = GetParam();
    const auto samples = RandomSamples(type, maximum);
    // OpenCV has blue first.
    cv::Mat expected = samples.clone();
    if (std::string(name).starts_with("RGB"))
    {
        cv::cvtColor(samples, expected, cv::COLOR_RGB2BGR);
    }
    EXPECT_TRUE(Equal(Picture(samples, format, "tiff"), expected));
    EXPECT_TRUE(Equal(Picture(samples, format, "png"), InPng(expected, maximum)));
}

INSTANTIATE_TEST_SUITE_P(Formats, ColourPictures,
                         testing::Values(SAMPLES(RGB8, CV_8UC3, 255), SAMPLES(BGR8, CV_8UC3, 255),
                                         SAMPLES(RGB10, CV_16UC3, 1023), SAMPLES(BGR10, CV_16UC3, 1023),
                                         SAMPLES(RGB12, CV_16UC3, 4095), SAMPLES(BGR12, CV_16UC3, 4095)));

INSTANTIATE_TEST_SUITE_P(DeepFormats, ColourPictures,
                         testing::Values(SAMPLES(RGB14, CV_16UC3, 16383), SAMPLES(BGR14, CV_16UC3, 16383),
                                         SAMPLES(RGB16, CV_16UC3, 65535), SAMPLES(BGR16, CV_16UC3, 65535)));

class MosaicPictures : public PictureFiles, public testing::WithParamInterface<Samples>
{
};

TEST_P(MosaicPictures, ShowTheColourOfAnEvenSurface)
{
    const auto &[format, name, type, maximum] = GetParam();
    const double red = std::floor(maximum * 0.9);
    const double green = std::floor(maximum * 0.5);
    const double blue = std::floor(maximum * 0.2);
    // "BayerRG8": the first line is red and green in turn.
    const std::string first(name + 5, 2);
    const char left = first[0] == 'G' ? (first[1] == 'R' ? 'B' : 'R') : 'G';
    const char right = first[0] == 'G' ? 'G' : (first[0] == 'R' ? 'B' : 'R');
    const auto value = [&](char colour) { return colour == 'R' ? red : colour == 'G' ? green : blue; };
    cv::Mat samples(imageHeight, imageWidth, CV_64FC1);
    for (int y = 0; y < imageHeight; ++y)
    {
        for (int x = 0; x < imageWidth; ++x)
        {
            const char colour = y % 2 == 0 ? first[static_cast<size_t>(x % 2)] : x % 2 == 0 ? left : right;
            samples.at<double>(y, x) = value(colour);
        }
    }
    samples.convertTo(samples, type);
    const cv::Mat expected(imageHeight, imageWidth, CV_MAKETYPE(CV_MAT_DEPTH(type), 3),
                           cv::Scalar(blue, green, red));
    EXPECT_TRUE(Equal(Picture(samples, format, "tiff"), expected));
    EXPECT_TRUE(Equal(Picture(samples, format, "png"), InPng(expected, maximum)));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, MosaicPictures,
    testing::Values(SAMPLES(BayerRG8, CV_8UC1, 255), SAMPLES(BayerGR8, CV_8UC1, 255),
                    SAMPLES(BayerGB8, CV_8UC1, 255), SAMPLES(BayerBG8, CV_8UC1, 255),
                    SAMPLES(BayerRG10, CV_16UC1, 1023), SAMPLES(BayerGR10, CV_16UC1, 1023),
                    SAMPLES(BayerGB10, CV_16UC1, 1023), SAMPLES(BayerBG10, CV_16UC1, 1023),
                    SAMPLES(BayerRG12, CV_16UC1, 4095), SAMPLES(BayerGR12, CV_16UC1, 4095),
                    SAMPLES(BayerGB12, CV_16UC1, 4095), SAMPLES(BayerBG12, CV_16UC1, 4095)));

INSTANTIATE_TEST_SUITE_P(
    DeepFormats, MosaicPictures,
    testing::Values(SAMPLES(BayerRG14, CV_16UC1, 16383), SAMPLES(BayerGR14, CV_16UC1, 16383),
                    SAMPLES(BayerGB14, CV_16UC1, 16383), SAMPLES(BayerBG14, CV_16UC1, 16383),
                    SAMPLES(BayerRG16, CV_16UC1, 65535), SAMPLES(BayerGR16, CV_16UC1, 65535),
                    SAMPLES(BayerGB16, CV_16UC1, 65535), SAMPLES(BayerBG16, CV_16UC1, 65535)));

class InterleavedPictures : public PictureFiles, public testing::WithParamInterface<Samples>
{
};

TEST_P(InterleavedPictures, AreOneForEachImage)
{
    const auto &[format, name, type, maximum] = GetParam();
    const auto samples = RandomSamples(type, maximum);
    std::vector<cv::Mat> images;
    cv::split(samples, images);
    ASSERT_EQ(ImagesIn(static_cast<uint64_t>(format)), images.size());
    for (size_t index = 0; index < images.size(); ++index)
    {
        EXPECT_TRUE(Equal(Picture(samples, format, "tiff", index), images[index])) << index;
        EXPECT_TRUE(Equal(Picture(samples, format, "png", index), InPng(images[index], maximum))) << index;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, InterleavedPictures,
    testing::Values(SAMPLES(Mono8_AB, CV_8UC2, 255), SAMPLES(Mono10_AB, CV_16UC2, 1023),
                    SAMPLES(Mono12_AB, CV_16UC2, 4095), SAMPLES(Mono8_ABCD, CV_8UC4, 255),
                    SAMPLES(Mono10_ABCD, CV_16UC4, 1023), SAMPLES(Mono12_ABCD, CV_16UC4, 4095),
                    SAMPLES(BayerRG8_AB, CV_8UC2, 255), SAMPLES(BayerGR8_AB, CV_8UC2, 255),
                    SAMPLES(BayerGB8_AB, CV_8UC2, 255), SAMPLES(BayerBG8_AB, CV_8UC2, 255),
                    SAMPLES(BayerRG10_AB, CV_16UC2, 1023), SAMPLES(BayerGR10_AB, CV_16UC2, 1023),
                    SAMPLES(BayerGB10_AB, CV_16UC2, 1023), SAMPLES(BayerBG10_AB, CV_16UC2, 1023),
                    SAMPLES(BayerRG12_AB, CV_16UC2, 4095), SAMPLES(BayerGR12_AB, CV_16UC2, 4095),
                    SAMPLES(BayerGB12_AB, CV_16UC2, 4095), SAMPLES(BayerBG12_AB, CV_16UC2, 4095)));

class DepthPictures : public PictureFiles, public testing::WithParamInterface<Samples>
{
};

TEST_P(DepthPictures, KeepTheValuesInTiffAndAreColouredInPng)
{
    const auto &[format, name, type, maximum] = GetParam();
    const auto samples = RandomSamples(type, maximum);
    EXPECT_TRUE(Equal(Picture(samples, format, "tiff"), samples));
    EXPECT_TRUE(Equal(Picture(samples, format, "png"), InColours(samples)));
}

INSTANTIATE_TEST_SUITE_P(Formats, DepthPictures,
                         testing::Values(SAMPLES(Coord3D_C8, CV_8UC1, 255),
                                         SAMPLES(Coord3D_C16, CV_16UC1, 65535),
                                         SAMPLES(Coord3D_C32f, CV_32FC1, 2000)));

TEST_F(PictureFiles, OfPointsHoldTheFloatsExactly)
{
    cv::Mat points(imageHeight, imageWidth, CV_32FC3);
    cv::RNG(17).fill(points, cv::RNG::UNIFORM, -1500, 1500);
    points.at<cv::Vec3f>(2, 3) = {std::nanf(""), std::nanf(""), 0};
    points.at<cv::Vec3f>(4, 5) = {-0.25F, 1e-7F, 1e9F};
    // x, y and z are the first, second and third channel of the file; OpenCV reverses the channels.
    cv::Mat expected;
    cv::cvtColor(points, expected, cv::COLOR_RGB2BGR);
    EXPECT_TRUE(Equal(Picture(points, PixelFormat::Coord3D_ABC32f, "tiff"), expected));
    cv::Mat z;
    cv::extractChannel(points, z, 2);
    EXPECT_TRUE(Equal(Picture(points, PixelFormat::Coord3D_ABC32f, "png"), InColours(z)));
}

TEST_F(PictureFiles, AreNoneOfAFormatWithoutAPicture)
{
    const auto samples = RandomSamples(CV_8UC1, 255);
    EXPECT_THROW(Picture(samples, PixelFormat::YUV420_8_YY_UV_SemiplanarQVR, "png"), std::runtime_error);
    // Too large for its memory.
    EXPECT_THROW(Picture(samples, PixelFormat::Mono16, "png"), std::runtime_error);
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST(FormatName, KnowsTheFormatsOfAllCameras)
{
    EXPECT_EQ(FormatName(static_cast<uint64_t>(PixelFormat::Mono10Packed)), "Mono10Packed");
    EXPECT_EQ(FormatName(0x8123), "0x00008123");
    EXPECT_EQ(BytesOf(static_cast<uint64_t>(PixelFormat::Mono10Packed), 4, 3), 18U);
    EXPECT_EQ(BytesOf(0x8123, 4, 3), 0U);
}

} // namespace
} // namespace gentlctl
