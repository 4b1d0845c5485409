// The calibration file that the tool writes describes the lens of the camera that it came from: the
// simulator, given this file and a depth picture of the camera, is the same camera.

#include "depth_points.h"
#include "depth_shot.h"
#include "support/environment_variable.h"
#include "tools/gentlctl_run.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <fstream>
#include <iterator>

namespace chain
{
namespace
{

namespace fs = std::filesystem;
using gentlctl_run::Gentlctl;

std::string CalibrationYaml()
{
    const auto run = Gentlctl("--producer " + lowerProducer + " -d " + depthCamera + " calibration --yaml");
    EXPECT_EQ(run.status, 0) << run.output;
    return run.output;
}

std::string ContentOf(const fs::path &file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Focal lengths, principal point and distortion, as the file tells them to another program.
std::vector<double> NumbersOf(const fs::path &calibration)
{
    const cv::FileStorage file(calibration.string(), cv::FileStorage::READ);
    cv::Mat matrix;
    cv::Mat distortion;
    file["camera_matrix"] >> matrix;
    file["distortion_coefficients"] >> distortion;
    std::vector<double> numbers{matrix.at<double>(0, 0), matrix.at<double>(1, 1), matrix.at<double>(0, 2),
                                matrix.at<double>(1, 2)};
    numbers.insert(numbers.end(), distortion.begin<double>(), distortion.end<double>());
    return numbers;
}

/// A frame of the depth camera as a producer delivers it.
ShotPart ShotOf(const std::string &producer)
{
    DepthCamera opened(producer);
    return TakeShot(opened.camera).parts.at(0);
}

/// An empty folder for the files of a depth camera.
class CalibrationFile : public testing::Test
{
protected:
    CalibrationFile() { fs::create_directories(m_folder.Path()); }

    fs::path Path(const std::string &name) const { return m_folder.Path() / name; }

    /// Writes what the camera sends as a picture.
    void SavePicture(ShotPart range) const
    {
        const cv::Mat picture(static_cast<int>(range.height), static_cast<int>(range.width), CV_16U,
                              range.bytes.data());
        ASSERT_TRUE(cv::imwrite(Path("depth.png").string(), picture));
    }

private:
    gentlctl_run::Folder m_folder;
};

TEST_F(CalibrationFile, OfARecordingMakesTheSameCamera)
{
    const auto range = ShotOf(lowerProducer);
    ASSERT_EQ(range.pixelFormat, coord3dC16);
    const auto points = ShotOf(proxyProducer);
    ASSERT_EQ(points.pixelFormat, coord3dAbc32f);
    const auto recorded = CalibrationYaml();
    const auto run = Gentlctl("--producer " + lowerProducer + " record -d " + depthCamera + " -n 1 -o " +
                              Path("recording").string());
    ASSERT_EQ(run.status, 0) << run.output;
    fs::copy(Path("recording") / "calibration.yaml", Path("calibration.yaml"));
    SavePicture(range);

    EXPECT_EQ(ContentOf(Path("calibration.yaml")), recorded);
    const std::vector<double> lens{focalLengthX, focalLengthY, middleX, middleY, -0.21,
                                   0.065,        0.0011,       -0.0007, -0.008};
    EXPECT_EQ(NumbersOf(Path("calibration.yaml")), lens);

    const internal::EnvironmentVariable depth("QVR_SIM_DEPTH", Path("").string());
    EXPECT_EQ(CalibrationYaml(), recorded);
    EXPECT_EQ(ShotOf(lowerProducer).bytes, range.bytes);
    EXPECT_EQ(ShotOf(proxyProducer).bytes, points.bytes);
}

TEST_F(CalibrationFile, KeepsTheEightTermsOfAWideLens)
{
    const std::vector<double> lens{380,   382,     203.5, 148.25, -0.15,    0.05,
                                   0.001, -0.0005, 0.25,  0.125,  -0.03125, 0.5};
    {
        cv::FileStorage file(Path("first.yml").string(), cv::FileStorage::WRITE);
        const cv::Mat matrix = (cv::Mat_<double>(3, 3) << lens[0], 0, lens[2], 0, lens[1], lens[3], 0, 0, 1);
        file << "image_width" << 400 << "image_height" << 300 << "camera_matrix" << matrix
             << "distortion_coefficients" << cv::Mat(8, 1, CV_64F, const_cast<double *>(lens.data() + 4));
    }
    const internal::EnvironmentVariable depth("QVR_SIM_DEPTH", Path("").string());
    const auto first = CalibrationYaml();
    fs::remove(Path("first.yml"));
    std::ofstream(Path("second.yaml")) << first;
    EXPECT_EQ(NumbersOf(Path("second.yaml")), lens);
    EXPECT_EQ(CalibrationYaml(), first);
}

} // namespace
} // namespace chain
