#include "scan3d_test.h"

#include "processing/processor.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

constexpr uint32_t depth16 = 0x011000B8;
constexpr uint32_t depth32 = 0x012000BF;
constexpr uint32_t grid = 0x026000C0;

/// A 3D device with the real processing behind its port.
class Scan3dProcessing : public Scan3dTest
{
protected:
    Scan3dProcessing()
    {
        pixelFormats =
            Entry("Coord3D_C16", depth16) + Entry("Coord3D_C32f", depth32) + Entry("Coord3D_ABC32f", grid);
        UseSelector({}, Entry("Range", range));
        UseModes();
        extra += Float("Scan3dCoordinateScale", scaleAddress) +
                 Enumeration("Scan3dCoordinateSelector", coordinateAddress, {},
                             Entry("CoordinateA", 0) + Entry("CoordinateC", 2));
        device.SetRegister(selectorAddress, range);
        device.SetRegister(pixelFormatAddress, depth16);
        device.SetRegister(widthAddress, 10);
        device.SetRegister(heightAddress, 4);
        device.SetRegister(payloadSizeAddress, 80);
        SetValue(scaleAddress, 0.5F);
    }

    void Open() { OpenOver(processing); }

    LogCapture log;
    std::shared_ptr<Processor> processing = std::make_shared<Processor>();
};

TEST_F(Scan3dProcessing, OffersTheGridOfADepthCamera)
{
    Open();
    EXPECT_EQ(Read(modeAddress, 4), BytesOf(11));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(grid));
    EXPECT_EQ(Read(payloadSizeAddress, 4), BytesOf(10 * 4 * 12));
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(1.F));
    EXPECT_EQ(DeviceBytes(pixelFormatAddress, 4), BytesOf(depth16));
}

TEST_F(Scan3dProcessing, FollowsTheModeThatTheConsumerChooses)
{
    Open();
    WriteBytes(modeAddress, BytesOf(15));
    EXPECT_EQ(Read(modeAddress, 4), BytesOf(15));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(depth32));
    EXPECT_EQ(Read(payloadSizeAddress, 4), BytesOf(10 * 4 * 4));
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(1.F));
    WriteBytes(modeAddress, BytesOf(10));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(depth16));
    EXPECT_EQ(Read(payloadSizeAddress, 4), BytesOf(80));
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(0.5F));
    WriteBytes(modeAddress, BytesOf(11));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(grid));
}

TEST_F(Scan3dProcessing, KeepsTheModeWhileAcquisitionRuns)
{
    Open();
    processing->AcquisitionStarted();
    EXPECT_EQ(
        FailureOf([&] { WriteBytes(modeAddress, BytesOf(15)); }),
        (Failure{"Cannot change Scan3dOutputMode while acquisition is running!", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(Read(modeAddress, 4), BytesOf(11));
    processing->AcquisitionStopped();
    WriteBytes(modeAddress, BytesOf(15));
    EXPECT_EQ(Read(modeAddress, 4), BytesOf(15));
}

} // namespace
} // namespace GenTL::internal::overrides
