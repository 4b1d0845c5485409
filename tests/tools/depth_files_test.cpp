#include "pictures/depth_files.h"

#include "common/pixel_format.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <numeric>
#include <vector>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using tarn::common::PixelFormat;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

class DepthFiles : public testing::Test
{
protected:
    DepthFiles() : folder(fs::temp_directory_path() / ("depth-" + std::to_string(getpid())))
    {
        fs::create_directories(folder);
    }
    ~DepthFiles() override { fs::remove_all(folder); }

    static std::string Content(const fs::path &file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    template <typename T>
    static ImageView View(const std::vector<T> &samples, size_t width, size_t height, PixelFormat format)
    {
        return {reinterpret_cast<const uint8_t *>(samples.data()), samples.size() * sizeof(T), width, height,
                static_cast<uint64_t>(format)};
    }

    fs::path folder;
};

TEST_F(DepthFiles, HoldThePointsThatHaveCoordinates)
{
    const std::vector<float> points{1, 2, 3, notANumber, notANumber, notANumber, 4, 5, 6, 0, 0, 0};
    const std::vector<uint8_t> grey{10, 20, 30, 40};
    const auto view = View(points, 4, 1, PixelFormat::Coord3D_ABC32f);
    const auto intensity = View(grey, 4, 1, PixelFormat::Mono8);
    EXPECT_TRUE(IsPointGrid(view));
    EXPECT_FALSE(IsPointGrid(intensity));
    const auto file = folder / "points.ply";
    WritePly(file, view, &intensity);
    const auto text = Content(file);
    const std::string header = "ply\nformat binary_little_endian 1.0\nelement vertex 2\nproperty float x\n"
                               "property float y\nproperty float z\nproperty uchar intensity\nend_header\n";
    ASSERT_EQ(text.substr(0, header.size()), header);
    ASSERT_EQ(text.size(), header.size() + 2 * 13);
    float x = 0;
    std::memcpy(&x, text.data() + header.size() + 13, sizeof x);
    EXPECT_EQ(x, 4);
    EXPECT_EQ(static_cast<uint8_t>(text.back()), 30);
}

TEST_F(DepthFiles, HoldNoIntensityOfAnotherSize)
{
    const std::vector<float> points{1, 2, 3};
    const std::vector<uint8_t> grey{10, 20};
    const auto intensity = View(grey, 2, 1, PixelFormat::Mono8);
    const auto file = folder / "points.ply";
    WritePly(file, View(points, 1, 1, PixelFormat::Coord3D_ABC32f), &intensity);
    EXPECT_EQ(Content(file).find("intensity"), std::string::npos);
    EXPECT_THROW(WritePly(folder / "no" / "x.ply", View(points, 1, 1, PixelFormat::Coord3D_ABC32f), nullptr),
                 std::runtime_error);
}

TEST_F(DepthFiles, ColourNearRedAndFarBlueAndInvalidPixelsBlack)
{
    const auto infinity = std::numeric_limits<float>::infinity();
    const auto picture = ColourDepth({6, 1, 1, {0, 1000, 2000, notANumber, infinity, 3000}});
    EXPECT_EQ(picture.channels, 3U);
    EXPECT_GT(picture.width, 6U);
    const auto colour = [&](size_t x) {
        return Colour{picture.At(x, 0)[0], picture.At(x, 0)[1], picture.At(x, 0)[2]};
    };
    for (const size_t invalid : {0U, 3U, 4U})
    {
        EXPECT_EQ(colour(invalid), (Colour{0, 0, 0})) << invalid;
    }
    const auto [nearRed, nearGreen, nearBlue] = colour(1);
    const auto [middleRed, middleGreen, middleBlue] = colour(2);
    const auto [farRed, farGreen, farBlue] = colour(5);
    EXPECT_GT(nearRed, 4 * std::max(nearGreen, nearBlue));
    EXPECT_GT(middleGreen, std::max(middleRed, middleBlue));
    EXPECT_GT(farBlue, 2 * std::max(farRed, farGreen));
}

TEST(ColourOfDepth, IsCloseToTheColourMap)
{
    cv::Mat levels(1, 256, CV_8U);
    std::iota(levels.begin<uint8_t>(), levels.end<uint8_t>(), uint8_t{0});
    cv::Mat map;
    cv::applyColorMap(levels, map, cv::COLORMAP_TURBO);
    // The largest difference of the published polynomials from the map between these levels.
    constexpr int approximation = 21;
    // Level 238 is the colour of the least depth, level 22 that of the largest.
    for (int level = 22; level <= 238; ++level)
    {
        const auto expected = map.at<cv::Vec3b>(0, level); // blue first
        const auto colour = ColourOf(static_cast<float>(238 - level), 0, 238 - 22);
        for (int i = 0; i < 3; ++i)
        {
            EXPECT_NEAR(colour.at(static_cast<size_t>(i)), expected[2 - i], approximation)
                << level << " " << i;
        }
    }
}

TEST_F(DepthFiles, KeepTheValuesOfDepthInTiff)
{
    const std::vector<float> samples{0.5F, 1.5F, 2.5F, 1e6F};
    const auto file = folder / "depth.tiff";
    WritePicture(file, View(samples, 2, 2, PixelFormat::Coord3D_C32f));
    const auto image = cv::imread(file.string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(image.type(), CV_32FC1);
    EXPECT_EQ(image.at<float>(1, 1), 1e6F);
    WritePicture(folder / "depth.png", View(samples, 2, 2, PixelFormat::Coord3D_C32f));
    EXPECT_EQ(cv::imread((folder / "depth.png").string(), cv::IMREAD_UNCHANGED).type(), CV_8UC3);
}

} // namespace
} // namespace gentlctl
