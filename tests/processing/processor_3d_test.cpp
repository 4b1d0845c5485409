#include "processing/processor.h"

#include "support/failure.h"
#include "support/log_capture.h"
#include "support/vision_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::Metadata;
using tarn::common::PixelFormat;
using tarn::common::Size;
using testing::ElementsAre;
using Mode = Scan3dOutputMode;

/// Uses the scripted vision library.
class Processor3dTest : public testing::Test
{
protected:
    void Offer(Component component, const std::vector<PixelFormat> &formats)
    {
        processor->SetAvailableInputFormats(component, formats.data(), formats.size());
    }

    void SetScale()
    {
        Scan3dInfo info{};
        info.scan3dCoordinateScale = 0.5;
        processor->SetScan3dInfo(info);
    }

    VisionLibrary vision;
    std::unique_ptr<Processor> processor = std::make_unique<Processor>();
};

TEST_F(Processor3dTest, StartsInTheModeOfTheGrid)
{
    EXPECT_EQ(processor->GetScan3dOutputMode(), Mode::CalibratedABC_Grid);
}

TEST_F(Processor3dTest, OffersOnA3dDeviceWhatTheModeMakes)
{
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16, PixelFormat::Coord3D_C8});
    Offer(Component::Image2D, {PixelFormat::Mono10g40QVR});
    EXPECT_THAT(processor->AvailableOutputPixelFormats(Component::Image3D),
                ElementsAre(PixelFormat::Coord3D_ABC32f));
    EXPECT_THAT(processor->AvailableOutputPixelFormats(Component::Image2D),
                ElementsAre(PixelFormat::Mono10g40QVR));
}

TEST_F(Processor3dTest, OffersOnA2dDeviceNothingOfTheGrid)
{
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    EXPECT_THAT(processor->AvailableOutputPixelFormats(Component::Image3D),
                ElementsAre(PixelFormat::Coord3D_C16));
}

TEST_F(Processor3dTest, RefusesA3dDeviceThatOffersNothingToProcess)
{
    const LogCapture log;
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Mono8});
    EXPECT_EQ(
        FailureOf([&] { processor->AvailableOutputPixelFormats(Component::Image3D); }),
        (Failure{"Could not find suitable output pixel formats for component: Image3D!", GC_ERR_ERROR}));
    const auto set = [&](PixelFormat format) { processor->SetOutputPixelFormat(Component::Image3D, format); };
    EXPECT_EQ(FailureOf([&] { set(PixelFormat::Mono8); }),
              (Failure{"Cannot set pixel format Mono8 for component Image3D!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { set(static_cast<PixelFormat>(4711)); }),
              (Failure{"Cannot set pixel format 4711 for component Image3D!", GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(),
                ElementsAre("error: Could not find suitable output pixel formats for component: Image3D",
                            "error: Unknown component: Image3D, PixelFormat: Mono8",
                            "error: Unknown component: Image3D, PixelFormat: 4711"));
    EXPECT_THAT(log.Origins(),
                ElementsAre("Processor::AvailableOutputPixelFormats", "Processor::SetOutputPixelFormat",
                            "Processor::SetOutputPixelFormat"));
}

TEST_F(Processor3dTest, KeepsItsTaskWhenNoInputGivesTheFormat)
{
    Offer(Component::Image2D, {PixelFormat::Mono8});
    processor->SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono8);
    SetScale();
    EXPECT_EQ(FailureOf([&] { processor->SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono16); }),
              (Failure{"Cannot set pixel format Mono16 for component Image2D!", GC_ERR_ERROR}));
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image2D), PixelFormat::Mono8)
        << "which the last task knows nothing of";
}

TEST_F(Processor3dTest, GivesTheFormatOfTheModeInPlaceOfAnother)
{
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_C16);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_ABC32f);
    processor->SetScan3dOutputMode(Mode::CalibratedC);
    EXPECT_EQ(processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f),
              PixelFormat::Coord3D_C16);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_C32f);
}

TEST_F(Processor3dTest, KeepsAnOutputFormatPerComponent)
{
    SetScale();
    Offer(Component::Image2D, {PixelFormat::Mono8, PixelFormat::Mono16});
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    Offer(Component::Confidence, {PixelFormat::Confidence8});
    EXPECT_EQ(processor->SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono16), PixelFormat::Mono16);
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    processor->SetOutputPixelFormat(Component::Confidence, PixelFormat::Confidence8);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image2D), PixelFormat::Mono16);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_ABC32f);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Confidence), PixelFormat::Confidence8);
}

TEST_F(Processor3dTest, NeedsRoomForWhatTheComponentsBecome)
{
    SetScale();
    processor->SetPayloadSizeCallback([] { return uint64_t{300 + 5}; });
    processor->SetImageSizeCallback([] { return Size{10, 10}; });
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    Offer(Component::Confidence, {PixelFormat::Confidence8});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    processor->SetOutputPixelFormat(Component::Confidence, PixelFormat::Confidence8);
    EXPECT_EQ(processor->PayloadSize(), 1200U + 100 + 5);
    processor->SetScan3dOutputMode(Mode::CalibratedC);
    EXPECT_EQ(processor->PayloadSize(), 400U + 100 + 5);
}

TEST_F(Processor3dTest, LetsTheLastTaskMatchOnA2dDevice)
{
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    EXPECT_EQ(processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_C16),
              PixelFormat::Coord3D_C16);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_C16);
    EXPECT_EQ(processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f),
              PixelFormat::Coord3D_C16);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_ABC32f);
}

TEST_F(Processor3dTest, TakesTheFirstFormatOfTheMode)
{
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    processor->SetScan3dOutputMode(Mode::UncalibratedC);
    EXPECT_EQ(processor->GetScan3dOutputMode(), Mode::UncalibratedC);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_C16);
}

TEST_F(Processor3dTest, NeedsAnInputFormatForAMode)
{
    SetScale();
    EXPECT_EQ(FailureOf([&] { processor->SetScan3dOutputMode(Mode::CalibratedC); }),
              PlainFailure("unordered_map::at: key not found"));
    EXPECT_EQ(processor->GetScan3dOutputMode(), Mode::CalibratedC) << "the mode is set before";
}

TEST_F(Processor3dTest, RefusesAModeThatMakesNothingOfTheInput)
{
    const LogCapture log;
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Coord3D_C32f});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    EXPECT_EQ(FailureOf([&] { processor->SetScan3dOutputMode(Mode::UncalibratedC); }).code, GC_ERR_ERROR);
    EXPECT_EQ(log.Lines().size(), 1U);
    EXPECT_EQ(processor->OutputPixelFormat(Component::Image3D), PixelFormat::Coord3D_ABC32f);
}

TEST_F(Processor3dTest, FreezesTheModeWhileAcquisitionRuns)
{
    SetScale();
    Offer(Component::Image3D, {PixelFormat::Coord3D_C16});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    const auto set = [&] { processor->SetScan3dOutputMode(Mode::CalibratedC); };
    processor->AcquisitionStarted();
    EXPECT_EQ(FailureOf(set), (Failure{"Cannot change Scan3dOutputMode while acquisition is running!",
                                       GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(processor->GetScan3dOutputMode(), Mode::CalibratedABC_Grid);
    processor->AcquisitionStopped();
    EXPECT_EQ(FailureOf(set), Failure{});
    EXPECT_EQ(processor->GetScan3dOutputMode(), Mode::CalibratedC);
}

TEST_F(Processor3dTest, CalibratesFromTheBytesOfADevice)
{
    SetScale();
    processor->SetLensCalibrationData({1, 2, 3});
    EXPECT_THAT(vision->calibration, ElementsAre(1, 2, 3));
    ASSERT_EQ(vision->undistortions.size(), 1U);
    EXPECT_TRUE(vision->undistortions.begin()->second.metadata.empty());
    EXPECT_EQ(processor->GetScan3dAxisMinMax(Scan3dCoordinate::CoordinateC), std::pair(0.0, 2047.5));
    EXPECT_EQ(processor->GetScan3dAxisMinMax(Scan3dCoordinate::CoordinateA).second, 7 * 2047.5 / 100);
}

TEST_F(Processor3dTest, RefusesBytesThatAreNoCalibration)
{
    vision->acceptsCalibration = false;
    EXPECT_EQ(FailureOf([&] { processor->SetLensCalibrationData({}); }),
              PlainFailure("The given binary data is invalid"));
    EXPECT_EQ(vision->LiveObjects(), 0U);
}

TEST_F(Processor3dTest, AsksForTheGeometryWhenAcquisitionStarts)
{
    int asked = 0;
    processor->SetMetadataCallback(
        [&]
        {
            Metadata metadata;
            metadata.Set("BinningVertical", uint64_t{3});
            ++asked;
            return metadata;
        });
    processor->SetLensCalibrationData({1});
    processor->AcquisitionStarted();
    EXPECT_EQ(asked, 0) << "a 2D device";
    SetScale();
    processor->AcquisitionStarted();
    EXPECT_EQ(asked, 1);
    ASSERT_EQ(vision->undistortions.size(), 1U);
    EXPECT_THAT(vision->undistortions.begin()->second.metadata,
                ElementsAre(scripted::Entry{"UInt", "BinningVertical", "3"}));
}

TEST_F(Processor3dTest, IsFrozenBeforeItAsksForTheGeometry)
{
    SetScale();
    const auto set = [&] { processor->SetScan3dOutputMode(Mode::CalibratedC); };
    const Failure frozen{"Cannot change Scan3dOutputMode while acquisition is running!",
                         GC_ERR_ACCESS_DENIED};
    Failure whileAsked;
    processor->SetMetadataCallback(
        [&]
        {
            whileAsked = FailureOf(set);
            return Metadata();
        });
    processor->AcquisitionStarted();
    EXPECT_EQ(whileAsked, frozen);
}

TEST_F(Processor3dTest, StartsWithoutACallbackForTheGeometry)
{
    SetScale();
    EXPECT_NO_THROW(processor->AcquisitionStarted());
}

TEST_F(Processor3dTest, HasTheFramesOfA3dDeviceCalibrated)
{
    SetScale();
    processor->SetLensCalibrationData({1});
    Offer(Component::Image3D, {PixelFormat::Coord3D_C8});
    processor->SetOutputPixelFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    std::vector<uint8_t> source{1, 2, 3, 4};
    std::vector<uint8_t> output(48);
    InputData input{.data = source.data(), .size = 4, .payloadType = PAYLOAD_TYPE_IMAGE};
    input.attributes.width = 4;
    input.attributes.height = 1;
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Coord3D_C8);
    EXPECT_EQ(processor->Process(input, output).bytesWritten, 48U);
    EXPECT_EQ(output.front(), 2);
    EXPECT_EQ(vision->factor, 0.5);
}

} // namespace
} // namespace GenTL::internal
