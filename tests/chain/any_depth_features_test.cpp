// What the producer for any camera tells of depth, before frames come and when the camera changes.

#include "any_depth.h"
#include "consumer/handle.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <map>

namespace chain
{
namespace
{

using internal::FailureOf;

TEST_F(AnyDepth, IsAGridAtFirst)
{
    EXPECT_EQ(Remote().Get("Scan3dOutputMode"), "CalibratedABC_Grid");
    EXPECT_EQ(Remote().Get("PixelFormat"), "Coord3D_ABC32f");
    EXPECT_EQ(Remote().Get("DevicePixelFormat"), "Coord3D_C16");
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), 640 * 480 * 12);
    EXPECT_EQ(m_camera.PayloadSize(), 640U * 480U * 12U);
    EXPECT_EQ(Remote().AvailableEntries("Scan3dOutputMode"),
              (std::vector<std::string>{"UncalibratedC", "CalibratedABC_Grid", "CalibratedC"}));
}

TEST_F(AnyDepth, HasLimitsBeforeTheFirstFrame)
{
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 2047.5);
    EXPECT_LT(Axis(Remote(), "CoordinateA").minimum, 0);
    EXPECT_GT(Axis(Remote(), "CoordinateB").maximum, 0);
}

TEST_F(AnyDepth, LeavesTheFileFeaturesOfTheConsumerAlone)
{
    const std::map<std::string, std::string> chosen{
        {"FileOperationSelector", "Close"}, {"FileAccessOffset", "5"}, {"FileAccessLength", "7"}};
    for (const auto &[name, value] : chosen)
    {
        Remote().Set(name, value);
    }
    EXPECT_EQ(Remote().Get("Scan3dOutputMode"), "CalibratedABC_Grid");
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 2047.5);
    EXPECT_EQ(Remote().Get("FileOperationSelector"), "Close");
    EXPECT_EQ(Remote().GetInteger("FileAccessOffset"), 5);
    EXPECT_EQ(Remote().GetInteger("FileAccessLength"), 7);
}

TEST_F(AnyDepth, IsAskedForWhileTheConsumerReadsAFile)
{
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), 640 * 480 * 12);
    Remote().Set("FileSelector", "LensCalibrationData");
    Remote().Set("FileOperationSelector", "Open");
    Remote().Execute("FileOperationExecute");
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 2047.5);
    Remote().Set("FileOperationSelector", "Read");
    Remote().Set("FileAccessOffset", "4");
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), 640 * 480 * 12);
    Remote().Execute("FileOperationExecute");
    EXPECT_EQ(Remote().Get("FileOperationStatus"), "Success");
    Remote().Set("FileOperationSelector", "Close");
    Remote().Execute("FileOperationExecute");
    EXPECT_EQ(Remote().Get("FileOperationStatus"), "Success");
    EXPECT_EQ(Remote().Files().ReadFile("LensCalibrationData").size(), 72U);
    EXPECT_EQ(TakeShot(m_camera).parts.at(0).pixelFormat, coord3dAbc32f);
}

TEST_F(AnyDepth, HasTheLimitsOfTheUserSetThatWasLoadedLast)
{
    const std::map<std::string, std::pair<double, double>> limits{{"Default", {0.5, 2047.5}},
                                                                  {"UserSet0", {0.125, 2047.875}},
                                                                  {"UserSet1", {8, 2040}},
                                                                  {"UserSet2", {201, 2200}}};
    for (const auto *mode : {"CalibratedC", "CalibratedABC_Grid"})
    {
        Remote().Set("Scan3dOutputMode", mode);
        for (const auto *userSet : {"UserSet2", "Default", "UserSet0", "UserSet1", "UserSet2", "Default"})
        {
            SCOPED_TRACE(userSet);
            Load(userSet);
            const Axis c(Remote(), "CoordinateC");
            EXPECT_EQ(std::pair(c.minimum, c.maximum), limits.at(userSet));
            EXPECT_EQ(Remote().Get("Scan3dOutputMode"), mode);
        }
    }
    Remote().Set("Scan3dOutputMode", "UncalibratedC");
    Load("UserSet2");
    const Axis raw(Remote(), "CoordinateC");
    EXPECT_EQ(raw.scale, 0.5);
    EXPECT_EQ(raw.offset, 200);
}

TEST_F(AnyDepth, AddsToThePayloadOfEachComponent)
{
    Use(m_camera, {"", 1, 1, 1, 1, 64, 40, 150, 270});
    UseAllComponents(m_camera);
    const std::map<std::string, size_t> rangeBytes{
        {"UncalibratedC", 2}, {"CalibratedC", 4}, {"CalibratedABC_Grid", 12}};
    for (const auto &[mode, bytes] : rangeBytes)
    {
        SCOPED_TRACE(mode);
        const auto shot = ShotIn(mode);
        ASSERT_EQ(shot.parts.size(), 3U);
        EXPECT_EQ(shot.parts[0].bytes.size(), bytes * 64 * 40);
        EXPECT_EQ(shot.parts[1].bytes.size(), 64U * 40U);
        EXPECT_EQ(shot.parts[2].bytes.size(), 64U * 40U);
        EXPECT_LE(shot.sizeFilled, m_camera.PayloadSize());
        EXPECT_EQ(m_camera.PayloadSize(), static_cast<size_t>(Remote().GetInteger("PayloadSize")));
    }
}

// A loaded user set may enable components whose features the selector hides.
TEST_F(AnyDepth, HasRoomForComponentsThatAUserSetEnables)
{
    Use(m_camera, {"", 1, 1, 1, 1, 63, 41, 150, 270});
    UseAllComponents(m_camera);
    Remote().Set("UserSetSelector", "UserSet0");
    Remote().Execute("UserSetSave");
    Load("Default");
    for (const auto *selected : {"Intensity", "Confidence", "Range"})
    {
        SCOPED_TRACE(selected);
        Remote().Set("ComponentSelector", selected);
        Load("UserSet0");
        const auto shot = ShotIn("CalibratedABC_Grid");
        ASSERT_EQ(shot.parts.size(), 3U);
        EXPECT_EQ(shot.parts[0].bytes.size(), 12U * 63U * 41U);
        EXPECT_EQ(shot.parts[2].bytes.size(), 63U * 41U);
        Load("Default");
    }
}

/// The depth camera, open for reading only.
class DepthReadOnly : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto entry = producer.Choose(depthCamera);
        auto &calls = producer.Calls();
        DEV_HANDLE handle = nullptr;
        calls.IFOpenDevice(producer.OpenInterface(entry.interfaceId), entry.id.c_str(),
                           DEVICE_ACCESS_READONLY, &handle);
        device = gentlctl::Handle(handle, [&calls](void *open) { calls.DevClose(open); });
        PORT_HANDLE port = nullptr;
        calls.DevGetPort(handle, &port);
        remote.emplace(
            std::make_shared<gentlctl::Port>(producer.Shared(), port, internal::ModuleType::RemoteDevice));
    }

    gentlctl::Producer producer{anyProducer};
    gentlctl::Handle device;
    std::optional<gentlctl::Features> remote;
};

TEST_F(DepthReadOnly, IsRawDepth)
{
    EXPECT_EQ(remote->Get("Scan3dOutputMode"), "UncalibratedC");
    EXPECT_EQ(remote->AvailableEntries("Scan3dOutputMode"), std::vector<std::string>{"UncalibratedC"});
    EXPECT_EQ(remote->Get("PixelFormat"), "Coord3D_C16");
    EXPECT_EQ(remote->GetInteger("PayloadSize"), 640 * 480 * 2);
    EXPECT_EQ(remote->Get("Scan3dAxisMax"), 4095);
    EXPECT_EQ(remote->Get("Scan3dCoordinateScale"), 0.5);
}

} // namespace
} // namespace chain
