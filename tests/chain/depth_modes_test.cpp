// The standard features describe the 3D data that the producer delivers in each mode, and mode and format
// cannot change while frames come.

#include "depth_axis.h"
#include "depth_points.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>

namespace chain
{
namespace
{

using internal::FailureOf;

constexpr size_t sensorWidth = 640;

/// Depth of the tilted plane at a pixel of an undistorted image.
double PlaneDepth(size_t column, size_t row)
{
    const double x = (static_cast<double>(column) - 322.75) / 525.5;
    const double y = (static_cast<double>(row) - 238.5) / 524.25;
    return 1500 / (1 - 0.25 * x - 0.10 * y);
}

constexpr size_t planeFirstRow = 300; // below sphere and plate
constexpr size_t planeLastRow = 330;  // above the band without depth

/// Whether a pixel of an undistorted image shows the inside of the band without depth.
bool ShowsBand(size_t column, size_t row)
{
    const double y = (static_cast<double>(row) - 238.5) / 524.25 * PlaneDepth(column, row);
    return y > 336 && y < 394;
}

class DepthModes : public testing::Test
{
protected:
    const gentlctl::Features &Remote() const { return m_camera.Remote(); }

    void UseMode(const std::string &mode)
    {
        Remote().Set("Scan3dOutputMode", mode);
        ASSERT_EQ(Remote().Get("Scan3dOutputMode"), mode);
    }

    DepthCamera m_opened{proxyProducer};
    Camera &m_camera{m_opened.camera};
};

TEST_F(DepthModes, OfTheProducerAreTheThreeThatItMakes)
{
    EXPECT_EQ(Remote().AvailableEntries("Scan3dOutputMode"),
              (std::vector<std::string>{"UncalibratedC", "CalibratedABC_Grid", "CalibratedC"}));
    EXPECT_EQ(Remote().Get("Scan3dOutputMode"), "CalibratedABC_Grid");
}

TEST_F(DepthModes, GridAgreesWithTheFeaturesOfItsThreeCoordinates)
{
    UseMode("CalibratedABC_Grid");
    EXPECT_EQ(Remote().Get("PixelFormat"), "Coord3D_ABC32f");
    const Axis a(Remote(), "CoordinateA");
    const Axis b(Remote(), "CoordinateB");
    const Axis c(Remote(), "CoordinateC");
    EXPECT_TRUE(c.hasInvalid);
    const auto shot = TakeShot(m_camera);
    const auto &image = shot.parts.at(0);
    ASSERT_EQ(image.pixelFormat, coord3dAbc32f);
    size_t invalid = 0;
    size_t uncovered = 0;
    for (size_t i = 0; i < image.width * image.height; ++i)
    {
        const double x = ValueAt<float>(image, 3 * i);
        const double y = ValueAt<float>(image, 3 * i + 1);
        const double z = ValueAt<float>(image, 3 * i + 2);
        if (!a.IsValid(x) || !b.IsValid(y) || !c.IsValid(z))
        {
            ASSERT_TRUE(std::isnan(x) && std::isnan(y)) << i;
            ++invalid;
            continue;
        }
        uncovered += a.Covers(x) && b.Covers(y) && c.Covers(z) ? 0 : 1;
        const size_t row = i / sensorWidth;
        if (row >= planeFirstRow && row <= planeLastRow)
        {
            const double plane = 1500 + 0.25 * a.Of(x) + 0.10 * b.Of(y);
            ASSERT_NEAR(c.Of(z), plane, allowedError * plane) << i;
            ASSERT_NEAR(c.Of(z), PlaneDepth(i % sensorWidth, row), allowedError * plane) << i;
        }
        ASSERT_FALSE(ShowsBand(i % sensorWidth, row)) << i;
    }
    EXPECT_EQ(uncovered, 0U);
    EXPECT_GT(invalid, 10000U);
    EXPECT_LT(invalid, 20000U);
}

TEST_F(DepthModes, CalibratedDepthAgreesWithItsFeatures)
{
    UseMode("CalibratedC");
    EXPECT_EQ(Remote().Get("PixelFormat"), "Coord3D_C32f");
    EXPECT_EQ(Remote().AvailableEntries("Scan3dCoordinateSelector"), std::vector<std::string>{"CoordinateC"});
    const Axis c(Remote(), "CoordinateC");
    EXPECT_TRUE(c.hasInvalid);
    const auto shot = TakeShot(m_camera);
    const auto &image = shot.parts.at(0);
    ASSERT_EQ(image.pixelFormat, coord3dC32f);
    ASSERT_EQ(image.bytes.size(), image.width * image.height * sizeof(float));
    size_t invalid = 0;
    for (size_t i = 0; i < image.width * image.height; ++i)
    {
        const double z = ValueAt<float>(image, i);
        if (!c.IsValid(z))
        {
            ++invalid;
            continue;
        }
        ASSERT_TRUE(c.Covers(z)) << i;
        const size_t row = i / sensorWidth;
        if (row >= planeFirstRow && row <= planeLastRow)
        {
            const double plane = PlaneDepth(i % sensorWidth, row);
            ASSERT_NEAR(c.Of(z), plane, allowedError * plane) << i;
        }
        ASSERT_FALSE(ShowsBand(i % sensorWidth, row)) << i;
    }
    EXPECT_GT(invalid, 10000U);
    EXPECT_LT(invalid, 20000U);
}

TEST(UncalibratedDepth, IsTheCamerasOwnWithItsFeatures)
{
    const auto sent = []
    {
        DepthCamera opened(lowerProducer);
        return TakeShot(opened.camera);
    }();
    DepthCamera opened(proxyProducer);
    const auto &remote = opened.camera.Remote();
    remote.Set("Scan3dOutputMode", "UncalibratedC");
    EXPECT_EQ(remote.Get("PixelFormat"), "Coord3D_C16");
    const Axis c(remote, "CoordinateC");
    EXPECT_EQ(c.scale, 0.5);
    EXPECT_EQ(c.offset, 0);
    EXPECT_EQ(c.minimum, 1);
    EXPECT_EQ(c.maximum, 4095);
    EXPECT_TRUE(c.hasInvalid);
    EXPECT_EQ(c.invalid, 0);
    const auto shot = TakeShot(opened.camera);
    ASSERT_EQ(shot.parts.at(0).pixelFormat, coord3dC16);
    EXPECT_EQ(shot.parts.at(0).bytes, sent.parts.at(0).bytes);
    for (size_t i = 0; i < shot.parts.at(0).bytes.size() / sizeof(uint16_t); ++i)
    {
        const auto value = ValueAt<uint16_t>(shot.parts.at(0), i);
        ASSERT_TRUE(!c.IsValid(value) || c.Covers(value)) << i;
    }
}

// A user set changes the scale of the camera's values, but not the calibrated depth.
TEST_F(DepthModes, GiveTheSameDepthWhateverUserSetIsLoaded)
{
    UseMode("CalibratedC");
    for (const auto *userSet : {"UserSet0", "Default"})
    {
        SCOPED_TRACE(userSet);
        Remote().Set("UserSetSelector", userSet);
        Remote().Execute("UserSetLoad");
        const Axis c(Remote(), "CoordinateC");
        const auto shot = TakeShot(m_camera);
        const auto &image = shot.parts.at(0);
        ASSERT_EQ(image.pixelFormat, coord3dC32f);
        for (size_t row = planeFirstRow; row <= planeLastRow; ++row)
        {
            for (size_t column = 0; column < sensorWidth; ++column)
            {
                const double z = ValueAt<float>(image, row * sensorWidth + column);
                const double plane = PlaneDepth(column, row);
                ASSERT_TRUE(c.IsValid(z) && c.Covers(z)) << column << ' ' << row;
                ASSERT_NEAR(c.Of(z), plane, allowedError * plane) << column << ' ' << row;
            }
        }
    }
}

struct ModeChange
{
    const char *feature;
    const char *value;
};

void PrintTo(const ModeChange &change, std::ostream *stream)
{
    *stream << change.feature << " to " << change.value;
}

class ChangeWhileStreaming : public DepthModes, public testing::WithParamInterface<ModeChange>
{
};

TEST_P(ChangeWhileStreaming, IsDeniedAndLeavesAllAsItWas)
{
    const auto &change = GetParam();
    const auto payloadSize = Remote().GetInteger("PayloadSize");
    m_camera.AnnounceAndQueue(4);
    m_camera.RegisterEvent();
    m_camera.Start();
    m_camera.Pass(1);
    EXPECT_EQ(FailureOf([&] { Remote().Set(change.feature, change.value); }).code, GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(Remote().Get("Scan3dOutputMode"), "CalibratedABC_Grid");
    EXPECT_EQ(Remote().Get("PixelFormat"), "Coord3D_ABC32f");
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), payloadSize);
    EXPECT_EQ(Axis(Remote(), "CoordinateC").scale, 1);
    // More frames than there are buffers, so that some of them begin after the attempt.
    Shot last;
    for (int i = 0; i < 6; ++i)
    {
        auto *const buffer = m_camera.Take();
        last = Describe(m_camera, buffer);
        EXPECT_EQ(last.parts.at(0).pixelFormat, coord3dAbc32f);
        EXPECT_EQ(last.sizeFilled, static_cast<size_t>(payloadSize));
        m_camera.Give(buffer);
    }
    const auto middle = 320 * sensorWidth + sensorWidth / 2;
    EXPECT_NEAR(ValueAt<float>(last.parts.at(0), 3 * middle + 2), PlaneDepth(320, 320),
                allowedError * PlaneDepth(320, 320));
    m_camera.Stop(ACQ_STOP_FLAGS_KILL);
    // After the stop, the change is possible.
    Remote().Set(change.feature, change.value);
    EXPECT_EQ(Remote().Get(change.feature), change.value);
}

INSTANTIATE_TEST_SUITE_P(Changes, ChangeWhileStreaming,
                         testing::Values(ModeChange{"Scan3dOutputMode", "UncalibratedC"},
                                         ModeChange{"Scan3dOutputMode", "CalibratedC"},
                                         ModeChange{"Scan3dOutputMode", "CalibratedABC_Grid"},
                                         ModeChange{"PixelFormat", "Coord3D_ABC32f"}),
                         [](const auto &change)
                         { return std::string(change.param.feature) + "To" + change.param.value; });

} // namespace
} // namespace chain
