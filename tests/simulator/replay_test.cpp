#include "simulator.h"
#include "support/environment_variable.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <unistd.h>

namespace simulator_test
{
namespace
{

/** A folder of images for the camera to replay, gone after the test. */
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

    /** The samples of Mono8 in the middle of so many frames. */
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

    std::filesystem::path m_folder;
};

TEST_F(SimulatorReplay, ShowsTheFilesInTheOrderOfTheirNamesAgainAndAgain)
{
    Save("c.png", cv::Mat(10, 10, CV_8U, cv::Scalar(30)));
    Save("a.pgm", cv::Mat(10, 10, CV_8U, cv::Scalar(10)));
    Save("d.jpg", cv::Mat(16, 16, CV_8U, cv::Scalar(40)));
    Save("b.tiff", cv::Mat(10, 10, CV_16U, cv::Scalar(20 * 257)));
    std::ofstream(m_folder / "notes.txt") << "not an image";
    EXPECT_EQ((std::vector<int>{10, 20, 30, 40, 10, 20, 30, 40, 10}), GrabMiddles(9));
}

TEST_F(SimulatorReplay, ShowsAFileThatIsNoImageAsBlack)
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

TEST_F(SimulatorReplay, CutsTheRegionOutOfTheImageAndPacksIt)
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
    // Twice as wide as the sensor: what is left of the middle half is cut off on both sides.
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
