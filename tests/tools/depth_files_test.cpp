#include "gentlctl/depth_files.h"

#include "common/pixel_format.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <vector>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using tarn::common::PixelFormat;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

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
    const std::vector<float> points{1, 2, 3, nan, nan, nan, 4, 5, 6, 0, 0, 0};
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

TEST_F(DepthFiles, ColourNearRedAndFarBlueAndLeaveInvalidPixelsBlack)
{
    const cv::Mat depth = (cv::Mat_<uint16_t>(1, 3) << 0, 1000, 2000);
    const auto picture = ColourDepth(depth);
    EXPECT_EQ(picture.type(), CV_8UC3);
    EXPECT_GT(picture.cols, 3);
    EXPECT_EQ(picture.at<cv::Vec3b>(0, 0), cv::Vec3b(0, 0, 0));
    const auto near = picture.at<cv::Vec3b>(0, 1);
    const auto far = picture.at<cv::Vec3b>(0, 2);
    EXPECT_GT(near[2], near[0]);
    EXPECT_GT(far[0], far[2]);
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
