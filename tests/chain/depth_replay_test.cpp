// Depth pictures of a folder, with the lens of their calibration file, arrive as the right points.

#include "depth_points.h"
#include "depth_shot.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace chain
{
namespace
{

namespace fs = std::filesystem;

constexpr int pictureWidth = 400;
constexpr int pictureHeight = 300;
constexpr double depthScale = 0.25;

/// A tilted plane as a camera with this lens would see it.
class DepthFolder
{
public:
    DepthFolder() : m_folder(fs::temp_directory_path() / ("depth-" + std::to_string(getpid())))
    {
        fs::create_directories(m_folder);
        cv::FileStorage file((m_folder / "lens.yml").string(), cv::FileStorage::WRITE);
        file << "image_width" << pictureWidth << "image_height" << pictureHeight << "camera_matrix"
             << m_matrix << "distortion_coefficients" << m_distortion << "depth_scale" << depthScale;
        cv::imwrite((m_folder / "plane.png").string(), Picture());
    }
    ~DepthFolder() { fs::remove_all(m_folder); }
    DepthFolder(const DepthFolder &) = delete;
    DepthFolder &operator=(const DepthFolder &) = delete;

    std::string Folder() const { return m_folder.string(); }

    static double PlaneDepth(double x, double y) { return 1800 / (1 - 0.3 * x + 0.2 * y); }

private:
    cv::Mat Picture() const
    {
        std::vector<cv::Point2d> pixels;
        for (int i = 0; i < pictureWidth * pictureHeight; ++i)
        {
            pixels.emplace_back(i % pictureWidth, i / pictureWidth);
        }
        std::vector<cv::Point2d> rays;
        cv::undistortPoints(pixels, rays, m_matrix, m_distortion, cv::noArray(), cv::noArray(),
                            {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 50, 1e-10});
        cv::Mat picture(pictureHeight, pictureWidth, CV_16U);
        for (size_t i = 0; i < rays.size(); ++i)
        {
            picture.at<uint16_t>(static_cast<int>(i)) =
                static_cast<uint16_t>(std::lround(PlaneDepth(rays[i].x, rays[i].y) / depthScale));
        }
        return picture;
    }

    fs::path m_folder;
    cv::Mat m_matrix = (cv::Mat_<double>(3, 3) << 380, 0, 203.5, 0, 382, 148.25, 0, 0, 1);
    cv::Mat m_distortion = (cv::Mat_<double>(1, 5) << -0.15, 0.05, 0.001, -0.0005, 0);
};

TEST(DepthReplay, GivesPointsWhereThePicturesShowThem)
{
    const DepthFolder depth;
    const internal::EnvironmentVariable folder("QVR_SIM_DEPTH", depth.Folder());
    DepthCamera opened(proxyProducer);
    const auto shot = TakeShot(opened.camera);
    const auto &image = shot.parts.at(0);
    ASSERT_EQ(image.pixelFormat, coord3dAbc32f);
    ASSERT_EQ(image.width, size_t{pictureWidth});
    ASSERT_EQ(image.height, size_t{pictureHeight});
    size_t compared = 0;
    for (int row = 20; row < pictureHeight - 20; ++row)
    {
        for (int column = 20; column < pictureWidth - 20; ++column)
        {
            float point[3];
            std::memcpy(point,
                        image.bytes.data() + static_cast<size_t>(row * pictureWidth + column) * sizeof point,
                        sizeof point);
            const double x = (column - 203.5) / 380;
            const double y = (row - 148.25) / 382;
            const double z = DepthFolder::PlaneDepth(x, y);
            ASSERT_NEAR(point[2], z, 0.002 * z) << column << ", " << row;
            ASSERT_NEAR(point[0], x * z, 0.002 * z) << column << ", " << row;
            ASSERT_NEAR(point[1], y * z, 0.002 * z) << column << ", " << row;
            ++compared;
        }
    }
    EXPECT_EQ(compared, 360U * 260U);
}

TEST(DepthReplay, TellsTheConsumerWhyTheCameraCanNotBeOpened)
{
    const auto folder = fs::temp_directory_path() / ("no-depth-" + std::to_string(getpid()));
    fs::create_directories(folder);
    const internal::EnvironmentVariable variable("QVR_SIM_DEPTH", folder.string());
    std::string failure;
    try
    {
        DepthCamera opened(proxyProducer);
    }
    catch (const std::exception &error)
    {
        failure = error.what();
    }
    fs::remove_all(folder);
    EXPECT_NE(failure.find("There is no calibration file (.yaml, .yml) in " + folder.string()),
              std::string::npos)
        << failure;
}

} // namespace
} // namespace chain
