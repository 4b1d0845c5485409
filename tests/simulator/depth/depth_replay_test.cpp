// The depth camera replays depth pictures of a folder instead of its scene.

#include "support/byte_values.h"
#include "support/environment_variable.h"
#include "support/simulator/depth_camera.h"

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <unistd.h>

namespace simulator_test
{
namespace
{

constexpr int pictureWidth = 320;
constexpr int pictureHeight = 200;

/// A folder of depth pictures, removed after the test.
class SimulatorDepthReplay : public DepthCameraTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        m_folder = std::filesystem::temp_directory_path() /
                   ("qvr_depth_replay_" + std::to_string(::getpid()) + "_" +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directory(m_folder);
        m_variable.emplace("QVR_SIM_DEPTH", m_folder);
    }

    void TearDown() override
    {
        DepthCameraTest::TearDown();
        std::filesystem::remove_all(m_folder);
    }

    void Open() { OpenCamera("SIM-GIGE-1", "SIM-SIM0007"); }

    void Save(const std::string &name, const cv::Mat &image)
    {
        ASSERT_TRUE(cv::imwrite(m_folder / name, image));
    }

    void SaveText(const std::string &name, const std::string &text)
    {
        std::ofstream(m_folder / name) << text;
    }

    static cv::Mat CameraMatrix()
    {
        return (cv::Mat_<double>(3, 3) << 250.5, 0, 160.25, 0, 251, 99.5, 0, 0, 1);
    }

    /// Saves the calibration file in the form of cv::FileStorage.
    void SaveCalibration(double depthScale = 0.0)
    {
        cv::FileStorage file(m_folder / "camera.yml", cv::FileStorage::WRITE);
        file << "image_width" << pictureWidth << "image_height" << pictureHeight << "camera_matrix"
             << CameraMatrix() << "distortion_coefficients"
             << (cv::Mat_<double>(5, 1) << -0.125, 0.0625, 0.001, -0.002, 0.03125);
        if (depthScale != 0.0)
        {
            file << "depth_scale" << depthScale;
        }
    }

    /// A picture whose pixels have different values, among them 0 (no depth) and the largest value.
    static cv::Mat Depth(int first)
    {
        cv::Mat image(pictureHeight, pictureWidth, CV_16U);
        for (int i = 0; i < pictureWidth * pictureHeight; ++i)
        {
            image.at<uint16_t>(i / pictureWidth, i % pictureWidth) = static_cast<uint16_t>(first + i);
        }
        image.at<uint16_t>(0, 1) = 0;
        image.at<uint16_t>(0, 2) = 65535;
        return image;
    }

    static std::vector<unsigned> ValuesOf(const cv::Mat &image)
    {
        return {image.begin<uint16_t>(), image.end<uint16_t>()};
    }

    std::string FailureOfOpening()
    {
        m_interface = OpenInterface("SIM-GIGE-1");
        DEV_HANDLE device = nullptr;
        EXPECT_CODE(GC_ERR_IO, Tl().IFOpenDevice(m_interface, "SIM-SIM0007", DEVICE_ACCESS_CONTROL, &device));
        std::string failure = LastErrorText();
        EXPECT_OK(Tl().IFClose(m_interface));
        return failure;
    }

    std::string FailureOfStart()
    {
        Open();
        AnnounceBuffers(4);
        EXPECT_CODE(GC_ERR_IO, Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
        EXPECT_EQ(0, StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING));
        return LastErrorText();
    }

    /// Reads LensCalibrationData from the camera, block by block.
    std::vector<uint8_t> LensFile()
    {
        const auto execute = [&](const char *operation)
        {
            EXPECT_OK(m_camera->SetEntry("FileOperationSelector", operation));
            EXPECT_OK(m_camera->Set("FileOperationExecute", 1));
        };
        execute("Open");
        std::vector<uint8_t> content;
        for (int64_t offset = 0; offset < 72; offset += 8)
        {
            EXPECT_OK(m_camera->Set("FileAccessOffset", offset));
            EXPECT_OK(m_camera->Set("FileAccessLength", 8));
            execute("Read");
            uint8_t block[32];
            size_t size = sizeof block;
            EXPECT_OK(Tl().GCReadPort(m_port, m_camera->Address("FileAccessBuffer"), block, &size));
            content.insert(content.end(), block, block + 8);
        }
        execute("Close");
        return content;
    }

    std::filesystem::path m_folder;
    std::optional<internal::EnvironmentVariable> m_variable;
};

TEST_F(SimulatorDepthReplay, LoopsOverFilesSortedByName)
{
    SaveCalibration();
    Save("b.png", Depth(1000));
    Save("a.tiff", Depth(1));
    Open();
    EXPECT_EQ(pictureWidth, m_camera->Get("SensorWidth"));
    EXPECT_EQ(pictureHeight, m_camera->Get("SensorHeight"));
    EXPECT_EQ(pictureWidth, m_camera->Get("Width"));
    EXPECT_EQ(pictureHeight, m_camera->Get("HeightMax"));
    AnnounceBuffers(4);
    Start();
    for (const int first : {1, 1000, 1})
    {
        const BUFFER_HANDLE buffer = Receive().handle;
        const std::vector<uint8_t> bytes = Content(buffer);
        const cv::Mat expected = Depth(first);
        ASSERT_EQ(expected.total() * 2, bytes.size());
        EXPECT_EQ(0, std::memcmp(expected.data, bytes.data(), bytes.size())) << first;
        EXPECT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    }
    Stop();
}

TEST_F(SimulatorDepthReplay, HasTheLensOfTheCalibrationFile)
{
    SaveCalibration();
    Open();
    const std::vector<uint8_t> file = LensFile();
    EXPECT_EQ("TCAL", std::string(file.begin(), file.begin() + 4));
    EXPECT_EQ(uint32_t{pictureWidth}, internal::ValueAt<uint32_t>(file, 12));
    EXPECT_EQ(uint32_t{pictureHeight}, internal::ValueAt<uint32_t>(file, 16));
    const float expected[] = {250.5F, 251.0F,  160.25F,  99.5F, -0.125F, 0.0625F,
                              0.001F, -0.002F, 0.03125F, 0.0F,  0.0F,    0.0F};
    for (size_t i = 0; i < std::size(expected); ++i)
    {
        EXPECT_EQ(std::bit_cast<uint32_t>(expected[i]), internal::ValueAt<uint32_t>(file, 20 + 4 * i)) << i;
    }
}

TEST_F(SimulatorDepthReplay, ReadsACalibrationInPlainYaml)
{
    SaveText("ost.yaml", "image_width: 320\n"
                         "image_height: 200\n"
                         "camera_name: left\n"
                         "camera_matrix:\n"
                         "  rows: 3\n"
                         "  cols: 3\n"
                         "  data: [250.5, 0, 160.25, 0, 251, 99.5, 0, 0, 1]\n"
                         "distortion_model: rational_polynomial\n"
                         "distortion_coefficients:\n"
                         "  rows: 1\n"
                         "  cols: 8\n"
                         "  data: [-0.125, 0.0625, 0.001, -0.002, 0.03125, 0.25, 0.5, 0.75]\n");
    Open();
    const std::vector<uint8_t> file = LensFile();
    EXPECT_EQ(uint32_t{pictureWidth}, internal::ValueAt<uint32_t>(file, 12));
    EXPECT_EQ(std::bit_cast<uint32_t>(99.5F), internal::ValueAt<uint32_t>(file, 32));
    EXPECT_EQ(std::bit_cast<uint32_t>(0.75F), internal::ValueAt<uint32_t>(file, 64));
}

TEST_F(SimulatorDepthReplay, HasTheScaleOfTheCalibrationFile)
{
    SaveCalibration(2.0);
    cv::Mat depth(pictureHeight, pictureWidth, CV_16U, cv::Scalar(700));
    depth.at<uint16_t>(0, 1) = 0;
    Save("a.png", depth);
    Open();
    EXPECT_EQ(2.0F, m_camera->GetFloat("Scan3dCoordinateScale"));
    EXPECT_EQ(65535000, m_camera->Get("Scan3dAxisMaxReg"));
    EXPECT_EQ(ValuesOf(depth), GrabRange());
    ASSERT_OK(m_camera->SetEntry("UserSetSelector", "UserSet0"));
    ASSERT_OK(m_camera->Set("UserSetLoad", 1));
    const std::vector<unsigned> finer = GrabRange(); // 1400 mm in steps of 0.125 mm
    EXPECT_EQ(11200U, finer[0]);
    EXPECT_EQ(0U, finer[1]);
}

TEST_F(SimulatorDepthReplay, ShowsTheSameDepthInEightBits)
{
    SaveCalibration();
    const cv::Mat depth = Depth(1);
    Save("a.png", depth);
    Open();
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
    EXPECT_EQ(128.0F, m_camera->GetFloat("Scan3dCoordinateScale"));
    EXPECT_LE(m_camera->GetFloat("Scan3dCoordinateScaleMin"), 0.125F);
    EXPECT_GE(m_camera->GetFloat("Scan3dCoordinateScaleMax"), 128.0F);
    EXPECT_EQ(255000, m_camera->Get("Scan3dAxisMaxReg"));
    const std::vector<unsigned> values = GrabRange(1);
    ASSERT_EQ(depth.total(), values.size());
    size_t shown = 0;
    for (size_t i = 0; i < values.size(); ++i)
    {
        const unsigned value =
            depth.at<uint16_t>(static_cast<int>(i) / pictureWidth, static_cast<int>(i) % pictureWidth);
        const double expected = value * 0.5 / 128.0;
        if (value == 0 || expected < 0.5 || expected >= 255.5) // none, or beyond the axis
        {
            ASSERT_EQ(0U, values[i]) << i;
        }
        else
        {
            ASSERT_NEAR(expected, values[i], 0.501) << i;
            ++shown;
        }
    }
    EXPECT_GT(shown, 60000U);
}

TEST_F(SimulatorDepthReplay, HasNoiseOnRequest)
{
    SaveCalibration();
    Save("a.png", cv::Mat(pictureHeight, pictureWidth, CV_16U, cv::Scalar(3000)));
    Save("a_intensity.png", cv::Mat(pictureHeight, pictureWidth, CV_8U, cv::Scalar(90)));
    Open();
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Intensity"));
    ASSERT_OK(m_camera->Set("ComponentEnable", 1));
    ASSERT_OK(m_camera->SetFloat("DepthNoise", 5.0F)); // 10 steps
    ASSERT_OK(m_camera->SetFloat("IntensityNoise", 4.0F));
    const std::vector<uint8_t> bytes = GrabOne();
    constexpr size_t pixels = size_t{pictureWidth} * pictureHeight;
    ASSERT_EQ(3 * pixels, bytes.size());
    const auto deviation = [](double mean, auto valueAt)
    {
        double squares = 0;
        for (size_t i = 0; i < pixels; ++i)
        {
            squares += (valueAt(i) - mean) * (valueAt(i) - mean);
        }
        return std::sqrt(squares / pixels);
    };
    EXPECT_NEAR(10.0, deviation(3000, [&](size_t i) { return bytes[2 * i] + 256.0 * bytes[2 * i + 1]; }),
                0.1);
    EXPECT_NEAR(4.0, deviation(90, [&](size_t i) { return 1.0 * bytes[2 * pixels + i]; }), 0.05);
    EXPECT_EQ(bytes, GrabOne());
}

TEST_F(SimulatorDepthReplay, ShowsTheIntensityBesideTheDepth)
{
    SaveCalibration();
    Save("a.png", Depth(1));
    Save("a_intensity.png", cv::Mat(pictureHeight, pictureWidth, CV_8U, cv::Scalar(90)));
    Save("b.png", Depth(2));
    Open();
    for (const char *const component : {"Intensity", "Confidence"})
    {
        ASSERT_OK(m_camera->SetEntry("ComponentSelector", component));
        ASSERT_OK(m_camera->Set("ComponentEnable", 1));
    }
    ASSERT_OK(m_camera->SetFloat("ExposureTime", 20000.0F));
    AnnounceBuffers(4);
    Start();
    constexpr size_t pixels = size_t{pictureWidth} * pictureHeight;
    for (const unsigned expected : {180U, 0U, 180U}) // b.png has no intensity
    {
        const BUFFER_HANDLE buffer = Receive().handle;
        const std::vector<uint8_t> bytes = Content(buffer);
        ASSERT_EQ(4 * pixels, bytes.size());
        const auto light = bytes.begin() + 2 * pixels;
        EXPECT_EQ(static_cast<ptrdiff_t>(pixels), std::count(light, light + pixels, expected));
        EXPECT_EQ(255, bytes[3 * pixels]);
        EXPECT_EQ(0, bytes[3 * pixels + 1]);
        EXPECT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    }
    Stop();
}

TEST_F(SimulatorDepthReplay, BinningTakesTheMiddlePixel)
{
    SaveCalibration();
    const cv::Mat depth = Depth(7);
    Save("a.png", depth);
    Open();
    ASSERT_OK(m_camera->Set("BinningHorizontal", 3));
    ASSERT_OK(m_camera->Set("DecimationVertical", 2));
    SetRegion(40, 30, 20, 10);
    const std::vector<unsigned> values = GrabRange();
    ASSERT_EQ(1200U, values.size());
    for (int i = 0; i < 1200; ++i)
    {
        const int column = (20 + i % 40) * 3 + 1;
        const int row = (10 + i / 40) * 2;
        ASSERT_EQ(depth.at<uint16_t>(row, column), values[static_cast<size_t>(i)]) << i;
    }
}

TEST_F(SimulatorDepthReplay, SaysHowARecordingIsReplayed)
{
    SaveCalibration();
    SaveText("recording.json", "{}");
    EXPECT_EQ(
        "IFOpenDevice: " + m_folder.string() +
            " is a recording: replay it with gentlctl replay or QVR_SIM_RECORDING, or make depth pictures "
            "of it for QVR_SIM_DEPTH",
        FailureOfOpening());
    Save("a.png", Depth(1));
    Open();
    EXPECT_EQ(ValuesOf(Depth(1)), GrabRange());
}

TEST_F(SimulatorDepthReplay, KnowsTheFilesOfAGrab)
{
    SaveCalibration();
    const cv::Mat light(pictureHeight, pictureWidth, CV_8U, cv::Scalar(90));
    Save("frame-00001-range.tiff", Depth(1));
    Save("frame-00001-intensity.tiff", light);
    Save("frame-00001-confidence.tiff", light);
    Open();
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Intensity"));
    ASSERT_OK(m_camera->Set("ComponentEnable", 1));
    AnnounceBuffers(4);
    Start();
    constexpr size_t pixels = size_t{pictureWidth} * pictureHeight;
    for (int frame = 0; frame < 2; ++frame)
    {
        const BUFFER_HANDLE buffer = Receive().handle;
        const std::vector<uint8_t> bytes = Content(buffer);
        ASSERT_EQ(3 * pixels, bytes.size());
        EXPECT_EQ(1, bytes[0]);
        EXPECT_EQ(90, bytes[2 * pixels]);
        EXPECT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    }
    Stop();
}

TEST_F(SimulatorDepthReplay, RefusesUnusablePictures)
{
    SaveCalibration();
    EXPECT_EQ("DSStartAcquisition: There are no depth pictures in " + m_folder.string(), FailureOfStart());
    const auto failureWith = [&](const std::string &name)
    {
        EXPECT_OK(Tl().IFClose(m_interface));
        const std::string failure = FailureOfStart();
        std::filesystem::remove(m_folder / name);
        return failure;
    };
    const std::string begin = "DSStartAcquisition: Picture " + m_folder.string() + "/";
    Save("a.png", Depth(1));
    SaveText("b.png", "broken");
    EXPECT_EQ(begin + "b.png is no picture that can be read", failureWith("b.png"));
    Save("b.png", cv::Mat(pictureHeight, pictureWidth + 1, CV_16U, cv::Scalar(1)));
    EXPECT_EQ(begin + "b.png has 321 x 200 pixels instead of 320 x 200", failureWith("b.png"));
    const std::pair<const char *, int> others[] = {
        {"b.png", CV_8U}, {"b.png", CV_16UC3}, {"b.tif", CV_32F}, {"b.tif", CV_16UC3}, {"b.pgm", CV_8U}};
    for (const auto &[name, type] : others)
    {
        Save(name, cv::Mat(pictureHeight, pictureWidth, type, cv::Scalar(1)));
        EXPECT_EQ(begin + name + " has not one value of 16 bits for each pixel", failureWith(name));
    }
    Save("a_intensity.png", cv::Mat(10, 10, CV_8U, cv::Scalar(1)));
    EXPECT_EQ(begin + "a_intensity.png has 10 x 10 pixels instead of 320 x 200",
              failureWith("a_intensity.png"));
}

TEST_F(SimulatorDepthReplay, NeedsExactlyOneCalibrationFile)
{
    EXPECT_EQ("IFOpenDevice: There is no calibration file (.yaml, .yml) in " + m_folder.string(),
              FailureOfOpening());
    SaveCalibration();
    SaveText("other.yaml", "");
    EXPECT_EQ("IFOpenDevice: There is more than one calibration file in " + m_folder.string(),
              FailureOfOpening());
}

TEST_F(SimulatorDepthReplay, RefusesACalibrationWithoutALens)
{
    const std::string size = "image_width: 320\nimage_height: 200\n";
    const std::string matrix = "camera_matrix: {rows: 3, cols: 3, data: [9, 0, 1, 0, 9, 1, 0, 0, 1]}\n";
    const std::string distortion = "distortion_coefficients: {rows: 1, cols: 4, data: [0, 0, 0, 0]}\n";
    struct Case
    {
        std::string text;
        std::string reason;
    };
    const Case cases[] = {
        {"{", "is no YAML file"},
        {"a picture", "is no YAML file"},
        {"image_width: '320'\n", "image_width is not from 16 to 16384"},
        {size + "camera_matrix: 9\n" + distortion,
         "camera_matrix is not of the form fx 0 cx, 0 fy cy, 0 0 1"},
        {"image_height: 200\n" + matrix + distortion, "has no image_width"},
        {"image_width: 320\nimage_height: 7\n" + matrix + distortion, "image_height is not from 16 to 16384"},
        {size + distortion, "has no camera_matrix"},
        {size + "camera_matrix: {rows: 1, cols: 2, data: [9, 1]}\n" + distortion,
         "camera_matrix is not of the form fx 0 cx, 0 fy cy, 0 0 1"},
        {size + "camera_matrix: {rows: 1, cols: 1, data: [nine]}\n" + distortion,
         "camera_matrix has something else than numbers"},
        {size + matrix, "has no distortion_coefficients"},
        {size + matrix + "distortion_coefficients: {rows: 1, cols: 9, data: [0, 0, 0, 0, 0, 0, 0, 0, 1]}\n",
         "distortion_coefficients has more than k1, k2, p1, p2, k3, k4, k5, k6"},
        {size + matrix + distortion + "distortion_model: equidistant\n",
         "distortion_model equidistant is not known"},
        {size + matrix + distortion + "depth_scale: 0\n", "depth_scale is not from 0.001 to 1000"}};
    for (const Case &each : cases)
    {
        SaveText("lens.yaml", each.text);
        EXPECT_EQ("IFOpenDevice: Calibration " + (m_folder / "lens.yaml").string() + ": " + each.reason,
                  FailureOfOpening());
    }
    SaveText("lens.yaml", "%YAML:1.0\n" + size + matrix + distortion);
    Open();
    EXPECT_EQ(std::bit_cast<uint32_t>(9.0F), internal::ValueAt<uint32_t>(LensFile(), 20));
}

} // namespace
} // namespace simulator_test
