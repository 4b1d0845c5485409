#include "support/environment_variable.h"
#include "support/simulator/simulator.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <jpeglib.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <tiffio.h>
#include <unistd.h>

namespace simulator_test
{
namespace
{

/// A folder of images for the camera to replay, removed after the test.
class SimulatorReplay : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        m_folder = std::filesystem::temp_directory_path() /
                   ("qvr_replay_" + std::to_string(::getpid()) + "_" +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directory(m_folder);
    }

    void TearDown() override
    {
        CameraTest::TearDown();
        std::filesystem::remove_all(m_folder);
    }

    void Save(const std::string &name, const cv::Mat &image)
    {
        ASSERT_TRUE(cv::imwrite(m_folder / name, image));
    }

    /// The middle samples of this many frames in Mono8.
    std::vector<int> GrabMiddles(int frames)
    {
        const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", m_folder);
        AnnounceBuffers(4);
        Start();
        std::vector<int> middles;
        for (int i = 0; i < frames; ++i)
        {
            const BUFFER_HANDLE buffer = Receive().handle;
            const std::vector<uint8_t> image = Content(buffer);
            middles.push_back(image.at(image.size() / 2));
            EXPECT_OK(Tl().DSQueueBuffer(m_stream, buffer));
        }
        Stop();
        return middles;
    }

    void SaveText(const std::string &name, const std::string &text)
    {
        std::ofstream(m_folder / name, std::ios::binary) << text;
    }

    /// Saves a TIFF with tiles of 16 x 16, which OpenCV cannot write.
    void SaveTiled(const std::string &name, const cv::Mat &image)
    {
        constexpr int side = 16;
        TIFF *const file = TIFFOpen((m_folder / name).c_str(), "w");
        ASSERT_NE(nullptr, file);
        const std::pair<uint32_t, int> fields[] = {{TIFFTAG_IMAGEWIDTH, image.cols},
                                                   {TIFFTAG_IMAGELENGTH, image.rows},
                                                   {TIFFTAG_TILEWIDTH, side},
                                                   {TIFFTAG_TILELENGTH, side},
                                                   {TIFFTAG_BITSPERSAMPLE, 16},
                                                   {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                   {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                                   {TIFFTAG_COMPRESSION, COMPRESSION_LZW}};
        for (const auto &[tag, value] : fields)
        {
            ASSERT_EQ(1, TIFFSetField(file, tag, value));
        }
        for (int top = 0; top < image.rows; top += side)
        {
            for (int left = 0; left < image.cols; left += side)
            {
                cv::Mat tile(side, side, CV_16U, cv::Scalar(0));
                const cv::Mat part =
                    image(cv::Rect(left, top, side, side) & cv::Rect(0, 0, image.cols, image.rows));
                part.copyTo(tile(cv::Rect(0, 0, part.cols, part.rows)));
                const uint32_t index =
                    TIFFComputeTile(file, static_cast<uint32_t>(left), static_cast<uint32_t>(top), 0, 0);
                ASSERT_LT(0, TIFFWriteEncodedTile(file, index, tile.data, side * side * 2));
            }
        }
        TIFFClose(file);
    }

    /// Saves a JPEG with four inks, where 255 means no ink, as print programs write it.
    void SaveInks(const std::string &name, const std::array<uint8_t, 4> &inks)
    {
        constexpr JDIMENSION side = 16;
        std::FILE *const file = std::fopen((m_folder / name).c_str(), "wb");
        ASSERT_NE(nullptr, file);
        jpeg_error_mgr errors{};
        jpeg_compress_struct jpeg{};
        jpeg.err = jpeg_std_error(&errors);
        jpeg_create_compress(&jpeg);
        jpeg_stdio_dest(&jpeg, file);
        jpeg.image_width = side;
        jpeg.image_height = side;
        jpeg.input_components = 4;
        jpeg.in_color_space = JCS_CMYK;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, 100, TRUE);
        jpeg_start_compress(&jpeg, TRUE);
        std::array<uint8_t, side * 4> row{};
        for (size_t i = 0; i < row.size(); ++i)
        {
            row[i] = inks[i % 4];
        }
        for (JSAMPROW line = row.data(); jpeg.next_scanline < side;)
        {
            jpeg_write_scanlines(&jpeg, &line, 1);
        }
        jpeg_finish_compress(&jpeg);
        jpeg_destroy_compress(&jpeg);
        std::fclose(file);
    }

    /// Saves files of every kind with one colour, whose grey is 135. Returns their number.
    size_t SaveEveryKind()
    {
        const cv::Mat colour(20, 24, CV_8UC3, cv::Scalar(40, 120, 200));
        const cv::Mat grey(20, 24, CV_8U, cv::Scalar(135));
        const auto as = [&](const cv::Mat &image, int type, double factor)
        {
            cv::Mat result;
            image.convertTo(result, type, factor);
            return result;
        };
        cv::Mat transparent;
        cv::cvtColor(colour, transparent, cv::COLOR_BGR2BGRA);
        for (const char *const name : {"colour.png", "colour.jpg", "colour.tif", "colour.ppm", "colour.bmp"})
        {
            Save(name, colour);
        }
        for (const char *const name : {"grey.png", "grey.jpg", "grey.tif", "grey.pgm", "grey.bmp"})
        {
            Save(name, grey);
        }
        for (const char *const name : {"colour16.png", "colour16.tif", "colour16.ppm"})
        {
            Save(name, as(colour, CV_16U, 257));
        }
        for (const char *const name : {"grey16.png", "grey16.tif", "grey16.pgm"})
        {
            Save(name, as(grey, CV_16U, 257));
        }
        Save("transparent.png", transparent);
        Save("transparent.bmp", transparent);
        Save("float.tif", as(grey, CV_32F, 1.0 / 255));
        Save("double.tif", as(grey, CV_64F, 1.0 / 255));
        // A palette of sixteen colours; all pixels, of 4 bits, have the colour of index 9.
        std::string bitmap("BM\0\0\0\0\0\0\0\0\x76\0\0\0\x28\0\0\0\x02\0\0\0\x02\0\0\0\x01\0\x04\0", 30);
        bitmap.resize(14 + 40 + 16 * 4);
        bitmap.replace(14 + 40 + 9 * 4, 3, "\x28\x78\xC8");
        SaveText("four.bmp", bitmap + std::string("\x99\0\0\0\x99\0\0\0", 8));
        SaveInks("inks.jpg", {250, 150, 50, 204}); // red 200, green 120, blue 40
        SaveTiled("tiled.tif", as(grey, CV_16U, 257));
        SaveText("text.pgm", "P2\n# a comment\n2 1 510\n270 270\n");
        SaveText("text.ppm", "P3 1 1\n255\n200 120 40\n");
        std::string bits = "P5 24 20 4095\n";
        for (int i = 0; i < 24 * 20; ++i)
        {
            bits += std::string("\x08\x78"); // 2168 of 4095
        }
        SaveText("twelve.pgm", bits);
        const std::filesystem::directory_iterator all(m_folder);
        return static_cast<size_t>(std::distance(begin(all), end(all)));
    }

    std::filesystem::path m_folder;
};

TEST_F(SimulatorReplay, LoopsOverFilesSortedByName)
{
    Save("c.png", cv::Mat(10, 10, CV_8U, cv::Scalar(30)));
    Save("a.pgm", cv::Mat(10, 10, CV_8U, cv::Scalar(10)));
    Save("d.jpg", cv::Mat(16, 16, CV_8U, cv::Scalar(40)));
    Save("b.tiff", cv::Mat(10, 10, CV_16U, cv::Scalar(20 * 257)));
    std::ofstream(m_folder / "notes.txt") << "not an image";
    EXPECT_EQ((std::vector<int>{10, 20, 30, 40, 10, 20, 30, 40, 10}), GrabMiddles(9));
}

TEST_F(SimulatorReplay, ShowsTheSameGreyForEveryKindOfFile)
{
    const size_t files = SaveEveryKind();
    ASSERT_EQ(26U, files);
    const std::vector<int> middles = GrabMiddles(static_cast<int>(files));
    std::vector<std::filesystem::path> names(std::filesystem::directory_iterator(m_folder), {});
    std::sort(names.begin(), names.end());
    for (size_t i = 0; i < files; ++i)
    {
        EXPECT_EQ(135, middles[i]) << names[i];
    }
}

TEST_F(SimulatorReplay, SurvivesTruncatedFiles)
{
    const size_t files = SaveEveryKind();
    for (const double rest : {0.9, 0.5, 0.02})
    {
        for (const auto &entry : std::filesystem::directory_iterator(m_folder))
        {
            resize_file(entry.path(), static_cast<uintmax_t>(static_cast<double>(entry.file_size()) * rest));
        }
        EXPECT_EQ(files, GrabMiddles(static_cast<int>(files)).size());
    }
}

TEST_F(SimulatorReplay, ScalesAsOpenCvDoes)
{
    for (const cv::Size size : {cv::Size(2000, 1600), cv::Size(160, 128)}) // of the sensor's shape
    {
        cv::Mat image(size, CV_8U);
        cv::randu(image, 0, 256);
        cv::GaussianBlur(image, image, {5, 5}, 0);
        Save("only.png", image);
        cv::Mat expected;
        cv::resize(image, expected, {1280, 1024}, 0, 0,
                   size.width > 1280 ? cv::INTER_AREA : cv::INTER_LINEAR);
        const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", m_folder);
        const std::vector<uint8_t> bytes = GrabOne();
        const cv::Mat shown(1024, 1280, CV_8U, const_cast<uint8_t *>(bytes.data()));
        EXPECT_GE(1.0, cv::norm(expected, shown, cv::NORM_INF)) << size;
    }
}

TEST_F(SimulatorReplay, ShowsAnUnreadableFileAsBlack)
{
    Save("a.png", cv::Mat(10, 10, CV_8U, cv::Scalar(77)));
    std::ofstream(m_folder / "b.png") << "broken";
    EXPECT_EQ((std::vector<int>{77, 0, 77}), GrabMiddles(3));
}

TEST_F(SimulatorReplay, FailsToStartWithoutImages)
{
    const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", m_folder / "none");
    AnnounceBuffers(4);
    EXPECT_CODE(GC_ERR_IO, Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
    EXPECT_EQ(0, StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING));
}

TEST_F(SimulatorReplay, CutsAndPacksTheRegion)
{
    // An image of the sensor's size, each pixel of its own value in 12 bits.
    cv::Mat image(1024, 1280, CV_16U);
    const auto valueAt = [](int x, int y) { return (x * 3 + y * 7) % 4096; };
    for (int y = 0; y < image.rows; ++y)
    {
        for (int x = 0; x < image.cols; ++x)
        {
            image.at<uint16_t>(y, x) = static_cast<uint16_t>(std::lround(valueAt(x, y) * 65535.0 / 4095.0));
        }
    }
    Save("only.png", image);
    SetRegion(101, 33, 500, 700);
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono12"));
    const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", m_folder);
    const std::vector<uint8_t> bytes = GrabOne();
    for (int y = 0; y < 33; ++y)
    {
        for (int x = 0; x < 101; ++x)
        {
            const size_t at = static_cast<size_t>(y * 101 + x) * 2;
            ASSERT_EQ(valueAt(x + 500, y + 700), bytes[at] | bytes[at + 1] << 8) << x << " " << y;
        }
    }
}

TEST_F(SimulatorReplay, ScalesAnImageToCoverTheSensor)
{
    // The image is twice as wide as the sensor's shape, so a quarter is cut off on either side.
    cv::Mat image(512, 1280, CV_8U, cv::Scalar(200));
    image.colRange(640, 1280).setTo(100);
    Save("wide.png", image);
    const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", m_folder);
    const std::vector<uint8_t> bytes = GrabOne();
    EXPECT_EQ(200, bytes[1280 * 500 + 600]);
    EXPECT_EQ(100, bytes[1280 * 500 + 680]);
    EXPECT_EQ(200, bytes.front());
    EXPECT_EQ(100, bytes.back());
}

TEST_F(SimulatorReplay, GivesWayToATestPattern)
{
    Save("a.png", cv::Mat(10, 10, CV_8U, cv::Scalar(77)));
    ASSERT_OK(m_camera->SetEntry("TestPattern", "White"));
    EXPECT_EQ((std::vector<int>{255, 255}), GrabMiddles(2));
}

} // namespace
} // namespace simulator_test
