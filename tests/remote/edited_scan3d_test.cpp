#include "edited_device.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace edited;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint32_t coord3dC16Code = 0x011000B8;

/// A depth camera that sends raw depth: scale 0.5, offset 2, from 3 to 4, -1 for no depth.
struct EditedScan3d : testing::Test
{
    EditedScan3d()
    {
        auto &port = camera.port;
        port.Set(0x100, 100);
        port.Set(0x104, 10);
        port.Set(0x108, coord3dC16Code);
        port.Set(0x10C, 2000);
        port.Set(0x150, 4);
        port.Set(0x400, 16);
        port.Set(0x404, 2);
        port.Set(0x408, std::bit_cast<uint32_t>(0.5F));
        port.Set(0x40C, 2000);
        port.Set(0x410, 3000);
        port.Set(0x414, 4000);
        port.Set(0x418, 5);
        port.Set(0x41C, std::bit_cast<uint32_t>(-1.0F));
        port.Set(0x428, 1);
    }

    std::vector<double> Values()
    {
        std::vector<double> values;
        for (const auto *name : {"Scan3dCoordinateScale", "Scan3dCoordinateOffset", "Scan3dAxisMin",
                                 "Scan3dAxisMax", "Scan3dInvalidDataFlag", "Scan3dInvalidDataValue"})
        {
            values.push_back(camera.consumer.ReadFloat(name));
        }
        return values;
    }

    std::vector<std::string> Offered(const char *feature)
    {
        return EditedDevice::AvailableIn(camera.consumer, feature);
    }

    EditedDevice camera{Fixture("calibrated_depth")};
};

TEST_F(EditedScan3d, ShowsTheDevicesValuesOfRawDepth)
{
    EXPECT_EQ(camera.consumer.ReadText("Scan3dOutputMode"), "UncalibratedC");
    EXPECT_EQ(camera.consumer.ReadText("Scan3dCoordinateSelector"), "CoordinateC");
    EXPECT_THAT(Values(), ElementsAre(0.5, 2, 3, 4, 1, -1));
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Coord3D_C16");
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 2000);
    EXPECT_THAT(Offered("Scan3dCoordinateSelector"), ElementsAre("CoordinateC"));
    EXPECT_THAT(Offered("PixelFormat"), ElementsAre("Mono8", "Mono12p", "Coord3D_C16", "Mono12"));
}

TEST_F(EditedScan3d, OffersTheModesThatTheProcessingMakes)
{
    EXPECT_THAT(Offered("Scan3dOutputMode"),
                ElementsAre("UncalibratedC", "CalibratedABC_Grid", "CalibratedC"));
}

TEST_F(EditedScan3d, OffersNoModeWithoutALensCalibration)
{
    camera.delivery.offersDepth = false;
    EXPECT_THAT(Offered("Scan3dOutputMode"), ElementsAre("UncalibratedC"));
}

TEST_F(EditedScan3d, KeepsTheModeThatTheDeviceRefusesToServe)
{
    camera.port.Set(0x400, 19);
    camera.port.broken = {0x400};
    EXPECT_EQ(FailureOf([this] { camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC"); }).code,
              GC_ERR_IO);
    EXPECT_EQ(camera.delivery.mode, Scan3dOutputMode::UncalibratedC);
}

TEST_F(EditedScan3d, ShowsTheValuesOfCalibratedDepth)
{
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(camera.delivery.mode, Scan3dOutputMode::CalibratedC);
    EXPECT_EQ(camera.consumer.ReadText("Scan3dOutputMode"), "CalibratedC");
    EXPECT_THAT(Values(), ElementsAre(1, 0, -3.5, 102.25, 1, 0));
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Coord3D_C32f");
    EXPECT_EQ(camera.consumer.ReadText("DevicePixelFormat"), "Coord3D_C16");
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 4000);
    EXPECT_THAT(Offered("Scan3dCoordinateSelector"), ElementsAre("CoordinateC"));
    EXPECT_THAT(camera.port.writes, IsEmpty()) << "the device sends raw depth already";
}

TEST_F(EditedScan3d, HasThreeCoordinatesInTheGrid)
{
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedABC_Grid");
    EXPECT_THAT(Offered("Scan3dCoordinateSelector"),
                ElementsAre("CoordinateA", "CoordinateB", "CoordinateC"));
    camera.consumer.WriteText("Scan3dCoordinateSelector", "CoordinateA");
    EXPECT_EQ(camera.consumer.ReadText("Scan3dCoordinateSelector"), "CoordinateA");
    EXPECT_THAT(Values(), ElementsAre(1, 0, -1.5, 100.25, 0, 0));
    EXPECT_THAT(camera.port.writes, IsEmpty()) << "the device has no such coordinate";
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Coord3D_ABC32f");
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(camera.consumer.ReadText("Scan3dCoordinateSelector"), "CoordinateC");
    EXPECT_THAT(Values(), ElementsAre(1, 0, -3.5, 102.25, 1, 0));
}

TEST_F(EditedScan3d, OffersOnlyTheFormatThatTheModeMakesOfDepth)
{
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedABC_Grid");
    EXPECT_THAT(Offered("PixelFormat"), ElementsAre("Mono8", "Mono12p", "Mono12", "Coord3D_ABC32f"));
    camera.consumer.WriteText("PixelFormat", "Coord3D_ABC32f");
    EXPECT_THAT(camera.port.writes, IsEmpty());
    const auto failure =
        FailureOf([this] { camera.consumer.WriteInteger("QvrAnyPixelFormatValue", coord3dC16Code); });
    EXPECT_THAT(failure.text, HasSubstr("PixelFormat = Coord3D_C16: Scan3dOutputMode makes another format"));
    EXPECT_EQ(failure.code, GC_ERR_INVALID_VALUE);
}

TEST_F(EditedScan3d, SetsTheDeviceToRawDepthForAModeOfItsOwn)
{
    camera.port.Set(0x400, 19);
    EXPECT_EQ(camera.consumer.ReadText("Scan3dOutputMode"), "RectifiedC") << "the device makes it";
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(camera.port.Get(0x400), 16U);
}

TEST_F(EditedScan3d, LeavesOtherModesToTheDevice)
{
    camera.port.Set(0x424, 1);
    camera.consumer.WriteText("Scan3dOutputMode", "RectifiedC");
    EXPECT_EQ(camera.port.Get(0x400), 19U);
    EXPECT_EQ(camera.delivery.mode, Scan3dOutputMode::UncalibratedC);
    EXPECT_THAT(Values(), ElementsAre(0.5, 2, 3, 4, 1, -1));
}

TEST_F(EditedScan3d, RefusesAnotherModeDuringAnAcquisition)
{
    camera.delivery.isRunning = true;
    EXPECT_EQ(FailureOf([this] { camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC"); }).code,
              GC_ERR_ACCESS_DENIED);
}

TEST_F(EditedScan3d, ComputesWithTheDevicesValues)
{
    camera.consumer.WriteText("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(camera.consumer.ReadFloat("DepthStep"), 1);
    EXPECT_EQ(camera.consumer.ReadFloat("DeviceScan3dCoordinateScale"), 0.5);
}

TEST_F(EditedScan3d, ReadsTheEncodingAndTheGeometryOfTheDevice)
{
    const auto state = camera.view.ReadDeviceState(std::nullopt);
    ASSERT_TRUE(state.scan3d);
    EXPECT_EQ(state.scan3d->scan3dCoordinateScale, 0.5);
    EXPECT_EQ(state.scan3d->scan3dAxisMax, 4);
    EXPECT_EQ(state.scan3d->scan3dInvalidDataFlag, true);
    ASSERT_EQ(state.images.size(), 1U);
    EXPECT_EQ(state.images[0].component, Component::Image3D);
    EXPECT_EQ(state.images[0].size.width, 100U);
    EXPECT_THAT(camera.port.writes, IsEmpty());
}

TEST_F(EditedScan3d, TurnsAFloatRegisterIntoAFloat)
{
    EXPECT_EQ(NodeText(camera.edit.consumer, "Scan3dInvalidDataValue"),
              "<Float Name=\"Scan3dInvalidDataValue\" NameSpace=\"Standard\"><Visibility>Expert</Visibility>"
              "<pValue>QvrAnyScan3dInvalidDataValueValue</pValue></Float>");
    EXPECT_EQ(NodeText(camera.edit.consumer, "Scan3dCoordinateScale"),
              "<Float Name=\"Scan3dCoordinateScale\" NameSpace=\"Standard\">"
              "<pValue>QvrAnyScan3dCoordinateScaleValue</pValue><Unit>mm</Unit></Float>");
    EXPECT_THAT(NodeText(camera.edit.consumer, "DeviceScan3dCoordinateSelector"),
                testing::Not(HasSubstr("pSelected")));
}

TEST(EditedScan3dWithoutCalibration, LeavesTheFeaturesToTheDevice)
{
    auto document = Fixture("calibrated_depth");
    document.replace(document.find("LensCalibrationData"), 19, "SomethingElse______");
    const Edit edit(document);
    EXPECT_FALSE(edit.result.isScan3d);
    EXPECT_EQ(NodeText(edit.consumer, "Scan3dOutputMode"), NodeText(edit.device, "Scan3dOutputMode"));
    EXPECT_EQ(NodeText(edit.consumer, "DeviceScan3dAxisMin"), "none");
}

} // namespace
} // namespace GenTL::internal
