// The depth camera's images follow each other in one buffer, and its intensity has no distortion.

#include "depth_points.h"
#include "depth_shot.h"
#include "depth_view.h"

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <cstring>
#include <string>

namespace chain
{
namespace
{

constexpr uint64_t mono8 = 0x01080001;
constexpr uint64_t confidence8 = 0x010800C6;

/// Uses a view with all three components enabled.
void UseWithAllComponents(Camera &camera, const View &view)
{
    Use(camera, view);
    UseAllComponents(camera);
}

/// Rounds to single precision, as the vision module does. This decides when two pixels are equally near.
double Single(double number)
{
    return static_cast<float>(number);
}

/// The lens by the camera's calibration file, for pixels of the view.
struct Lens
{
    Lens(const std::vector<uint8_t> &file, const View &view)
    {
        const auto number = [&file](size_t index)
        {
            float value = 0;
            std::memcpy(&value, &file.at(20 + 4 * index), sizeof value);
            return double{value};
        };
        const auto middle = [](double onSensor, int step, int offset)
        { return Single((onSensor - (step - 1) / 2.0) / step - offset); };
        matrix = {Single(number(0) / view.StepX()),
                  0,
                  middle(number(2), view.StepX(), view.offsetX),
                  0,
                  Single(number(1) / view.StepY()),
                  middle(number(3), view.StepY(), view.offsetY),
                  0,
                  0,
                  1};
        for (int i = 0; i < distortion.rows; ++i) // k1 k2 p1 p2 k3 k4 k5 k6 in both
        {
            distortion(i) = number(4 + static_cast<size_t>(i));
        }
    }

    cv::Matx33d matrix;
    cv::Vec<double, 8> distortion;
};

cv::Mat ImageOf(const ShotPart &part)
{
    return cv::Mat(static_cast<int>(part.height), static_cast<int>(part.width), CV_8UC1,
                   const_cast<uint8_t *>(part.bytes.data()))
        .clone();
}

struct Sent
{
    Shot shot;
    std::vector<uint8_t> lensFile;
};

/// The images that the camera sends, grabbed through the lower producer alone.
Sent SentOf(const View &view)
{
    DepthCamera opened(lowerProducer);
    auto &camera = opened.camera;
    UseWithAllComponents(camera, view);
    auto file = camera.Remote().Files().ReadFile("LensCalibrationData");
    return {TakeShot(camera), std::move(file)};
}

class DepthPartsOf : public testing::TestWithParam<View>
{
};

TEST_P(DepthPartsOf, StandInOneBufferWithTypeFormatAndSize)
{
    const auto &view = GetParam();
    DepthCamera opened(proxyProducer);
    UseWithAllComponents(opened.camera, view);
    const auto shot = TakeShot(opened.camera);
    ASSERT_EQ(shot.payloadType, static_cast<size_t>(PAYLOAD_TYPE_MULTI_PART));
    ASSERT_EQ(shot.parts.size(), 3U);
    const size_t pixels = static_cast<size_t>(view.width) * static_cast<size_t>(view.height);
    struct Expected
    {
        size_t dataType;
        uint64_t pixelFormat;
        size_t size;
        size_t offset;
    };
    const Expected expected[] = {{PART_DATATYPE_3D_IMAGE, coord3dAbc32f, 12 * pixels, 0},
                                 {PART_DATATYPE_2D_IMAGE, mono8, pixels, 12 * pixels},
                                 {PART_DATATYPE_CONFIDENCE_MAP, confidence8, pixels, 13 * pixels}};
    for (size_t i = 0; i < shot.parts.size(); ++i)
    {
        const auto &part = shot.parts[i];
        EXPECT_EQ(part.dataType, expected[i].dataType) << i;
        EXPECT_EQ(part.pixelFormat, expected[i].pixelFormat) << i;
        EXPECT_EQ(part.bytes.size(), expected[i].size) << i;
        EXPECT_EQ(part.offset, expected[i].offset) << i;
        EXPECT_EQ(part.width, static_cast<size_t>(view.width)) << i;
        EXPECT_EQ(part.height, static_cast<size_t>(view.height)) << i;
    }
    EXPECT_EQ(shot.sizeFilled, 14 * pixels);
    EXPECT_EQ(opened.camera.PayloadSize(), 14 * pixels);
    EXPECT_EQ(opened.camera.Remote().GetInteger("PayloadSize"), static_cast<int64_t>(14 * pixels));
}

TEST_P(DepthPartsOf, ShowTheIntensityWithoutDistortion)
{
    const auto &view = GetParam();
    const auto sent = SentOf(view);
    ASSERT_EQ(sent.lensFile.size(), 72U);
    ASSERT_EQ(sent.shot.parts.size(), 3U);
    const auto raw = ImageOf(sent.shot.parts[1]);
    const Lens lens(sent.lensFile, view);
    cv::Mat expected;
    cv::undistort(raw, expected, lens.matrix, lens.distortion);

    DepthCamera opened(proxyProducer);
    UseWithAllComponents(opened.camera, view);
    const auto shot = TakeShot(opened.camera);
    ASSERT_EQ(shot.parts.size(), 3U);
    const auto delivered = ImageOf(shot.parts[1]);
    ASSERT_EQ(delivered.size(), expected.size());
    EXPECT_LE(cv::norm(delivered, expected, cv::NORM_INF), 1);
    EXPECT_GT(cv::norm(raw, expected, cv::NORM_INF), 50); // the raw image has distortion
}

INSTANTIATE_TEST_SUITE_P(Regions, DepthPartsOf, testing::ValuesIn(Regions()), NameOf);
INSTANTIATE_TEST_SUITE_P(Binnings, DepthPartsOf, testing::ValuesIn(Binnings()), NameOf);
INSTANTIATE_TEST_SUITE_P(Decimations, DepthPartsOf, testing::ValuesIn(Decimations()), NameOf);

} // namespace
} // namespace chain
