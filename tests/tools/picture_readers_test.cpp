// Arrays, EXR pictures, point clouds and video frames, read by programs and libraries that did not write
// them.

#include "pictures/depth_files.h"
#include "pictures/file_writing.h"
#include "pictures/image_files.h"
#include "pictures/video_frames.h"

#include "common/pixel_format.h"
#include "rasters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using nlohmann::json;
using tarn::common::PixelFormat;

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();

std::string OutputOf(const std::string &command)
{
    auto *const pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> part{};
    for (size_t count = 0; (count = fread(part.data(), 1, part.size(), pipe)) != 0;)
    {
        output.append(part.data(), count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

template <typename T>
std::string Hexadecimal(const std::vector<T> &samples)
{
    std::string text;
    const auto *bytes = reinterpret_cast<const uint8_t *>(samples.data());
    for (size_t i = 0; i < samples.size() * sizeof(T); ++i)
    {
        text += fmt::format("{:02x}", bytes[i]);
    }
    return text;
}

class ReadPictures : public testing::Test
{
protected:
    ReadPictures() : folder(fs::temp_directory_path() / fmt::format("read-pictures-{}", getpid()))
    {
        fs::create_directories(folder);
        // OpenCV reads EXR on request only.
        setenv("OPENCV_IO_ENABLE_OPENEXR", "1", 1);
    }
    ~ReadPictures() override { fs::remove_all(folder); }

    template <typename T>
    static ImageView View(const std::vector<T> &samples, size_t width, size_t height, PixelFormat format)
    {
        return {reinterpret_cast<const uint8_t *>(samples.data()), samples.size() * sizeof(T), width, height,
                static_cast<uint64_t>(format)};
    }

    /// The arrays in the files of the folder, by the names of the files.
    json Arrays() const
    {
        return json::parse(OutputOf("/usr/bin/python3 " QVR_SOURCE_DIR "/tests/tools/read_arrays.py " +
                                    folder.string() + "/*"));
    }

    fs::path folder;
};

template <typename T>
json Array(const char *type, const std::vector<size_t> &shape, const std::vector<T> &samples,
           const json &fields = nullptr)
{
    return {{"dtype", type}, {"shape", shape}, {"bytes", Hexadecimal(samples)}, {"fields", fields}};
}

TEST_F(ReadPictures, AreArraysForNumPy)
{
    const std::vector<uint8_t> grey{0, 1, 2, 100, 254, 255};
    const std::vector<uint16_t> deep{0, 1, 256, 1000, 2047, 4095};
    const std::vector<float> depth{0, 1.5F, -2, 1e9F, noNumber, 1000.25F};
    const std::vector<float> points{1, 2, 3, -4, 5.5F, 6, 0, 0, 0, noNumber, noNumber, noNumber};
    const std::vector<uint8_t> blueFirst{1, 2, 3, 4, 5, 6};
    const std::vector<uint8_t> mosaic{200, 100, 100, 50};
    const auto write = [&](const char *name, const ImageView &image, const PictureOptions &options = {})
    { WritePicture(folder / name, image, 0, options); };
    write("grey.npy", View(grey, 3, 2, PixelFormat::Mono8));
    write("deep.npy", View(deep, 2, 3, PixelFormat::Mono12));
    write("scaled.npy", View(deep, 2, 3, PixelFormat::Mono12), {.scale = true});
    write("depth.npy", View(depth, 3, 2, PixelFormat::Coord3D_C32f));
    write("points.npy", View(points, 2, 2, PixelFormat::Coord3D_ABC32f));
    write("colour.npy", View(blueFirst, 2, 1, PixelFormat::BGR8));
    write("mosaic.npy", View(mosaic, 2, 2, PixelFormat::BayerRG8), {.keepsMosaic = true});
    write("demosaiced.npy", View(mosaic, 2, 2, PixelFormat::BayerRG8));
    const auto arrays = Arrays();
    EXPECT_EQ(arrays["grey.npy"], Array("|u1", {2, 3}, grey));
    EXPECT_EQ(arrays["deep.npy"], Array("<u2", {3, 2}, deep));
    EXPECT_EQ(arrays["scaled.npy"],
              Array("<u2", {3, 2}, std::vector<uint16_t>{0, 16, 4097, 16004, 32759, 65535}));
    EXPECT_EQ(arrays["depth.npy"], Array("<f4", {2, 3}, depth));
    EXPECT_EQ(arrays["points.npy"], Array("<f4", {2, 2, 3}, points));
    EXPECT_EQ(arrays["colour.npy"], Array("|u1", {1, 2, 3}, std::vector<uint8_t>{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(arrays["mosaic.npy"], Array("|u1", {2, 2}, mosaic));
    EXPECT_EQ(arrays["demosaiced.npy"]["shape"], (json{2, 2, 3}));
}

TEST_F(ReadPictures, AreOrganisedPointClouds)
{
    const std::vector<float> points{1, 2, 3, 0, 0, 0, noNumber, 1, 1, 4, 5, 6, 7, 8, 9, -1, -2, -3};
    const std::vector<uint8_t> grey{10, 20, 30, 40, 50, 60};
    const auto grid = View(points, 3, 2, PixelFormat::Coord3D_ABC32f);
    const auto intensity = View(grey, 3, 2, PixelFormat::Mono8);
    WritePcd(folder / "plain.pcd", grid, nullptr);
    WritePcd(folder / "grey.pcd", grid, &intensity);
    const auto none = noNumber;
    const auto arrays = Arrays();
    EXPECT_EQ(arrays["plain.pcd"], Array("<f4", {2, 3, 3},
                                         std::vector<float>{1, 2, 3, none, none, none, none, none, none, 4, 5,
                                                            6, 7, 8, 9, -1, -2, -3},
                                         {"x", "y", "z"}));
    EXPECT_EQ(arrays["grey.pcd"],
              Array("<f4", {2, 3, 4},
                    std::vector<float>{1, 2, 3, 10, none, none, none, 20, none, none, none, 30,
                                       4, 5, 6, 40, 7,    8,    9,    50, -1,   -2,   -3,   60},
                    {"x", "y", "z", "intensity"}));
}

TEST_F(ReadPictures, OfPointsBeyondTheMemoryAreNowhere)
{
    const std::vector<float> points{1, 2, 3};
    auto grid = View(points, 1, 1, PixelFormat::Coord3D_ABC32f);
    grid.height = 2;
    WritePcd(folder / "short.pcd", grid, nullptr);
    EXPECT_EQ(Arrays()["short.pcd"]["bytes"],
              Hexadecimal(std::vector<float>{1, 2, 3, noNumber, noNumber, noNumber}));
}

TEST_F(ReadPictures, HoldEachValueAsAFloatInExr)
{
    const auto read = [&](const ImageView &image, const PictureOptions &options = {})
    {
        WritePicture(folder / "picture.exr", image, 0, options);
        return cv::imread((folder / "picture.exr").string(), cv::IMREAD_UNCHANGED);
    };
    const std::vector<uint16_t> deep{0, 1, 256, 1000, 2047, 4095};
    const auto grey = read(View(deep, 3, 2, PixelFormat::Mono12));
    EXPECT_EQ(AsRaster<float>(grey).samples, std::vector<float>(deep.begin(), deep.end()));
    EXPECT_EQ(grey.size(), cv::Size(3, 2));
    EXPECT_EQ(grey.type(), CV_32FC1);
    EXPECT_EQ(AsRaster<float>(read(View(deep, 3, 2, PixelFormat::Mono12), {.scale = true})).samples.back(),
              65535);
    const std::vector<float> depth{0, 1.5F, -2, 1e9F, noNumber, 1000.25F};
    EXPECT_EQ(Hexadecimal(AsRaster<float>(read(View(depth, 3, 2, PixelFormat::Coord3D_C32f))).samples),
              Hexadecimal(depth));
    const std::vector<float> points{1, 2, 3, -4, 5.5F, 6};
    // OpenCV reverses R, G and B.
    EXPECT_EQ(AsRaster<float>(read(View(points, 2, 1, PixelFormat::Coord3D_ABC32f))).samples,
              (std::vector<float>{3, 2, 1, 6, 5.5F, -4}));
}

TEST_F(ReadPictures, KeepTheMosaicOnRequest)
{
    const std::vector<uint16_t> mosaic{1023, 512, 512, 100};
    WritePicture(folder / "mosaic.png", View(mosaic, 2, 2, PixelFormat::BayerGR10), 0,
                 {.scale = false, .keepsMosaic = true});
    const auto picture = cv::imread((folder / "mosaic.png").string(), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(picture.type(), CV_16UC1);
    EXPECT_EQ(AsRaster<uint16_t>(picture).samples, mosaic);
}

TEST_F(ReadPictures, AreShownInEightBits)
{
    const std::vector<uint16_t> deep{0, 8, 9, 2048, 4095, 5000};
    EXPECT_EQ(ShownPicture(View(deep, 3, 2, PixelFormat::Mono12)).samples,
              (std::vector<uint8_t>{0, 0, 1, 128, 255, 255}));
    const std::vector<uint8_t> mosaic{200, 200, 200, 200};
    EXPECT_EQ(ShownPicture(View(mosaic, 2, 2, PixelFormat::BayerRG8)).channels, 3U);
    EXPECT_EQ(ShownPicture(View(mosaic, 2, 2, PixelFormat::BayerRG8), {.keepsMosaic = true}).samples, mosaic);
    const std::vector<float> depth{1, 2, 3, 4};
    EXPECT_EQ(ShownPicture(View(depth, 2, 2, PixelFormat::Coord3D_C32f)).channels, 3U);
    EXPECT_THROW(ShownPicture(View(depth, 2, 2, PixelFormat::YUV422_8)), std::runtime_error);
}

/// A picture whose pixels are all different.
Raster<uint8_t> Gradient(size_t channels)
{
    Raster<uint8_t> picture{16, 12, channels};
    for (size_t i = 0; i < picture.samples.size(); ++i)
    {
        picture.samples[i] = static_cast<uint8_t>(i * 5 + i / 16);
    }
    return picture;
}

class ReadVideo : public ReadPictures
{
protected:
    /// Writes the picture as two frames, and returns what the reader says and the pixels that it sees.
    std::pair<std::string, std::string> Read(const Raster<uint8_t> &picture, double rate) const
    {
        const auto file = folder / "frames.y4m";
        const auto video = Y4mHeader(picture, rate) + Y4mFrame(picture) + Y4mFrame(picture);
        WriteBytes(file, video.data(), video.size());
        const auto output = OutputOf(QVR_BIN_DIR "/read_video " + file.string());
        const auto end = output.find('\n');
        return {output.substr(0, end), output.substr(end + 1)};
    }
};

TEST_F(ReadVideo, HasTheGreyOfEachPixel)
{
    const auto picture = Gradient(1);
    const auto [line, pixels] = Read(picture, 50);
    EXPECT_EQ(line, "16 12 50");
    std::string expected;
    for (const auto sample : picture.samples)
    {
        expected.append(3, static_cast<char>(sample));
    }
    EXPECT_EQ(pixels, expected + expected);
}

TEST_F(ReadVideo, HasTheColoursOfEachPixel)
{
    const auto picture = Gradient(3);
    const auto [line, pixels] = Read(picture, 0);
    EXPECT_EQ(line, "16 12 25");
    ASSERT_EQ(pixels.size(), 2 * picture.samples.size());
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        const size_t pixel = i % picture.samples.size() / 3;
        const int written = picture.samples[pixel * 3 + 2 - i % 3]; // blue comes first
        // The conversion to luma and back rounds twice.
        EXPECT_NEAR(static_cast<uint8_t>(pixels[i]), written, 2) << i;
    }
}

} // namespace
} // namespace gentlctl
