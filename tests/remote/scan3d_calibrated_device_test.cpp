#include "scan3d_test.h"

#include "processing/processor.h"
#include "support/log_capture.h"
#include "support/vision_library.h"

#include <gmock/gmock.h>

#include <tuple>
#include <utility>

namespace GenTL::internal::overrides
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t depth16 = 0x011000B8;
constexpr uint32_t depth32 = 0x012000BF;
constexpr uint32_t grid = 0x026000C0;

/// A 3D device with the real processing behind its port, over the tests' vision library.
class Scan3dCalibratedDevice : public Scan3dTest
{
protected:
    Scan3dCalibratedDevice()
    {
        files.file = {1, 2, 3, 4, 5, 6};
        pixelFormats =
            Entry("Coord3D_C16", depth16) + Entry("Coord3D_C32f", depth32) + Entry("Coord3D_ABC32f", grid);
        UseSelector({}, Entry("Range", range));
        device.SetRegister(selectorAddress, range);
        device.SetRegister(pixelFormatAddress, depth16);
        UseModes();
        extra += FakeFileDevice::Nodes() + Float("Scan3dCoordinateScale", scaleAddress) +
                 Enumeration("Scan3dCoordinateSelector", coordinateAddress, {},
                             Entry("CoordinateA", 0) + Entry("CoordinateB", 1) + Entry("CoordinateC", 2)) +
                 "<Command Name=\"UserSetLoad\"><pValue>UserSetLoadReg</pValue></Command>" +
                 Register("UserSetLoadReg", userSetLoadAddress, {});
        UseConverter("Scan3dAxisMax", "TO / SCALE", axisMaxAddress, Constant("SCALE", "10"));
        UseConverter("Scan3dAxisMin", "TO / SCALE", axisMinAddress, Constant("SCALE", "10"));
        SetValue(scaleAddress, 0.5F);
        SetValue(axisMaxAddress, 40000);
        SetValue(axisMinAddress, 210);
    }

    void Open() { OpenOver(processing); }

    VisionLibrary vision;
    LogCapture log;
    std::shared_ptr<Processor> processing = std::make_shared<Processor>();
};

TEST_F(Scan3dCalibratedDevice, HandsItsFileToTheVisionLibrary)
{
    Open();
    EXPECT_THAT(vision->calibration, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(Scan3dCalibratedDevice, TellsTheRangeOfTheSelectedCoordinate)
{
    Open();
    // The camera of the tests' vision library at the farthest depth, which is 4000 * 0.5.
    for (const auto &[selected, minimum, maximum] :
         {std::tuple{0, -1600, 1400}, std::tuple{1, -397, 199}, std::tuple{2, 105, 20000}})
    {
        WriteBytes(coordinateAddress, BytesOf(selected));
        EXPECT_EQ(Read(axisMinAddress, 4), BytesOf(minimum)) << selected;
        EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(maximum)) << selected;
    }
    WriteBytes(coordinateAddress, BytesOf(1));
    WriteBytes(modeAddress, BytesOf(15));
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(20000)) << "the depth, which such output is alone";
    WriteBytes(modeAddress, BytesOf(10));
    EXPECT_EQ(Read(axisMinAddress, 4), BytesOf(210));
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(40000));
}

TEST_F(Scan3dCalibratedDevice, KeepsItsRangesWithAUserSet)
{
    Open();
    WriteBytes(coordinateAddress, BytesOf(2));
    SetValue(axisMaxAddress, 20000);
    SetValue(scaleAddress, 0.25F);
    WriteBytes(userSetLoadAddress, BytesOf(1));
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(20000)) << "4000 * 0.5 * 10, as computed first";
    WriteBytes(modeAddress, BytesOf(10));
    SetValue(axisMaxAddress, 30000);
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(30000));
    EXPECT_EQ(processing->GetScan3dAxisMinMax(Scan3dCoordinate::CoordinateC), std::pair(21.0, 2000.0))
        << "the raw ones, of what the device told after the load";
}

/// The same device where the vision library takes no file for a calibration.
class Scan3dDeviceWithoutCalibration : public Scan3dCalibratedDevice
{
protected:
    Scan3dDeviceWithoutCalibration() { vision->acceptsCalibration = false; }

    static constexpr auto invalid = "error: The given binary data is invalid";
};

TEST_F(Scan3dDeviceWithoutCalibration, SaysSoOnceWhereTheFileIsEmpty)
{
    files.file.clear();
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre(invalid));
}

TEST_F(Scan3dDeviceWithoutCalibration, LogsOnceForAnUnreadableFile)
{
    files.statusOf = [](int) { return FakeFileDevice::failure; };
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre(invalid));
}

TEST_F(Scan3dDeviceWithoutCalibration, LogsOnceWithoutFileAccess)
{
    const std::string node = "Name=\"FileSelector\"";
    extra.replace(extra.find(node), node.size(), "Name=\"Other\"");
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Did not find node FileSelector!"));
}

TEST_F(Scan3dDeviceWithoutCalibration, LogsEachStepForAFileNotListed)
{
    const std::string entry = "Name=\"LensCalibrationData\"";
    extra.replace(extra.find(entry), entry.size(), "Name=\"Other\"");
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found",
                                         "error: Exception: Enumeration entry not found", invalid));
}

TEST_F(Scan3dDeviceWithoutCalibration, PassesOnRawDepth)
{
    Open();
    EXPECT_EQ(FailureOf([&] { Read(axisMaxAddress, 4); }), PlainFailure("unordered_map::at: key not found"));
    WriteBytes(modeAddress, BytesOf(10));
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(40000));
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(0.5F));
}

} // namespace
} // namespace GenTL::internal::overrides
