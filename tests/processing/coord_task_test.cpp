#include "coord_task_fixture.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using testing::ElementsAre;
using testing::IsEmpty;
using Mode = Scan3dOutputMode;

constexpr std::array depthFormats{PixelFormat::Coord3D_C8, PixelFormat::Coord3D_C16,
                                  PixelFormat::Coord3D_C32f};
constexpr std::array otherModes{Mode::UncalibratedC, Mode::CalibratedABC_PointCloud, Mode::CalibratedAC,
                                Mode::RectifiedC, Mode::DisparityC_Linescan};
const std::string keyNotFound = "unordered_map::at: key not found";

TEST_F(CoordTaskTest, StartsInTheModeOfTheGrid)
{
    EXPECT_EQ(task->GetMode(), Mode::CalibratedABC_Grid);
    EXPECT_FALSE(task->Is3dDevice());
}

TEST_F(CoordTaskTest, KeepsAnOutputFormatForEachComponent)
{
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_C16);
    task->SetOutputFormat(Component::Image2D, PixelFormat::Mono8);
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_C32f);
    EXPECT_EQ(task->OutputFormat(Component::Image3D), PixelFormat::Coord3D_C32f);
    EXPECT_EQ(task->OutputFormat(Component::Image2D), PixelFormat::Mono8);
    EXPECT_EQ(FailureOf([&] { task->OutputFormat(Component::Confidence); }), PlainFailure(keyNotFound));
}

TEST_F(CoordTaskTest, NeedsRoomForTheOutputFormat)
{
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    EXPECT_EQ(task->ImagePayloadSize(Component::Image3D, {10, 5}), 600U);
    const auto ask = [&] { task->ImagePayloadSize(Component::Image2D, {10, 5}); };
    EXPECT_EQ(FailureOf(ask), PlainFailure(keyNotFound));
}

TEST_F(CoordTaskTest, LeavesTheFormatsOfFlatComponentsAsTheyAre)
{
    for (const auto component : {Component::Image2D, Component::Confidence})
    {
        for (const auto mode : {Mode::UncalibratedC, Mode::CalibratedC, Mode::CalibratedABC_Grid})
        {
            task->SetMode(mode);
            EXPECT_THAT(task->AvailableOutputFormats(component, PixelFormat::Mono10p),
                        ElementsAre(PixelFormat::Mono10p));
            const std::vector inputs{PixelFormat::Mono8, PixelFormat::Confidence8};
            EXPECT_EQ(task->MatchInputFormat(component, PixelFormat::Confidence8, inputs),
                      PixelFormat::Confidence8);
            EXPECT_EQ(task->MatchInputFormat(component, PixelFormat::Mono16, inputs), std::nullopt);
        }
    }
}

TEST_F(CoordTaskTest, OffersWhatTheModeMakesOfDepth)
{
    for (const auto input : depthFormats)
    {
        task->SetMode(Mode::CalibratedC);
        EXPECT_THAT(task->AvailableOutputFormats(Component::Image3D, input),
                    ElementsAre(PixelFormat::Coord3D_C32f));
        task->SetMode(Mode::CalibratedABC_Grid);
        EXPECT_THAT(task->AvailableOutputFormats(Component::Image3D, input),
                    ElementsAre(PixelFormat::Coord3D_ABC32f));
    }
}

TEST_F(CoordTaskTest, OffersWholeDepthAsItIsInOtherModes)
{
    for (const auto mode : otherModes)
    {
        task->SetMode(mode);
        const auto outputs = [&](PixelFormat input)
        { return task->AvailableOutputFormats(Component::Image3D, input); };
        EXPECT_THAT(outputs(PixelFormat::Coord3D_C8), ElementsAre(PixelFormat::Coord3D_C8));
        EXPECT_THAT(outputs(PixelFormat::Coord3D_C16), ElementsAre(PixelFormat::Coord3D_C16));
        EXPECT_THAT(outputs(PixelFormat::Coord3D_C32f), IsEmpty());
    }
}

TEST_F(CoordTaskTest, OffersNothingForWhatIsNoDepth)
{
    for (const auto mode : {Mode::UncalibratedC, Mode::CalibratedC, Mode::CalibratedABC_Grid})
    {
        task->SetMode(mode);
        for (const auto input : {PixelFormat::Mono8, PixelFormat::Coord3D_ABC32f, PixelFormat::Confidence8})
        {
            EXPECT_THAT(task->AvailableOutputFormats(Component::Image3D, input), IsEmpty());
        }
    }
}

TEST_F(CoordTaskTest, MatchesTheFirstDepthFormatWhateverIsWanted)
{
    const std::vector inputs{PixelFormat::Mono8, PixelFormat::Coord3D_C32f, PixelFormat::Coord3D_C16,
                             PixelFormat::Coord3D_C8};
    const auto match = [&] { return task->MatchInputFormat(Component::Image3D, PixelFormat::Mono8, inputs); };
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC})
    {
        task->SetMode(mode);
        EXPECT_EQ(match(), PixelFormat::Coord3D_C32f);
    }
    for (const auto mode : otherModes)
    {
        task->SetMode(mode);
        EXPECT_EQ(match(), PixelFormat::Coord3D_C16);
    }
    task->SetMode(Mode::CalibratedC);
    EXPECT_EQ(task->MatchInputFormat(Component::Image3D, PixelFormat::Coord3D_C16, {PixelFormat::Mono8}),
              std::nullopt);
    task->SetMode(Mode::CalibratedAC);
    EXPECT_EQ(
        task->MatchInputFormat(Component::Image3D, PixelFormat::Coord3D_C32f, {PixelFormat::Coord3D_C32f}),
        std::nullopt);
}

class CoordTaskRanges : public CoordTaskTest
{
protected:
    static auto Pair(double minimum, double maximum)
    {
        return testing::Pair(testing::DoubleNear(minimum, 1e-9), testing::DoubleNear(maximum, 1e-9));
    }

    std::pair<double, double> Range(Scan3dCoordinate coordinate)
    {
        return task->GetScan3dAxisMinMax(coordinate);
    }

    static constexpr auto a = Scan3dCoordinate::CoordinateA;
    static constexpr auto b = Scan3dCoordinate::CoordinateB;
    static constexpr auto c = Scan3dCoordinate::CoordinateC;
    const Scan3dInfo info{.scan3dCoordinateScale = 0.1,
                          .scan3dAxisMax = 1000.0,
                          .scan3dAxisMin = 0.0,
                          .scan3dCoordinateOffset = 10.0,
                          .scan3dInvalidDataValue = {},
                          .scan3dInvalidDataFlag = {}};
};

TEST_F(CoordTaskRanges, AreThoseOfTheFarthestDepth)
{
    auto calibration = MakeCalibration(1000, 800);
    calibration.focalLengthX = 1000;
    calibration.focalLengthY = 500;
    calibration.principalPointX = 499.5F;
    calibration.principalPointY = 100;
    task->SetScan3dInfo(info);
    Calibrate(calibration);
    EXPECT_THAT(Range(c), Pair(1.0, 101.0));
    EXPECT_THAT(Range(a), Pair(-50.4495, 50.4495));
    EXPECT_THAT(Range(b), Pair(-100 * 101.0 / 500, 699 * 101.0 / 500));
}

TEST_F(CoordTaskRanges, UseDefaultsForWhatIsAbsent)
{
    Calibrate();
    task->SetScan3dInfo({});
    EXPECT_THAT(Range(c), Pair(0.0, 4095.0));
    EXPECT_THAT(Range(a), Pair(-8 * 4095.0 / 100, 7 * 4095.0 / 100));
    EXPECT_THAT(Range(b), Pair(-2 * 4095.0 / 50, 1 * 4095.0 / 50));
}

TEST_F(CoordTaskRanges, AreRoundedOnce)
{
    // Rounding the product separately would lose the part that the sum needs.
    constexpr double scale = 1.0 + 0x1p-30;
    task->SetScan3dInfo({.scan3dCoordinateScale = scale,
                         .scan3dAxisMax = scale,
                         .scan3dAxisMin = 0.0,
                         .scan3dCoordinateOffset = -1.0,
                         .scan3dInvalidDataValue = {},
                         .scan3dInvalidDataFlag = {}});
    Calibrate();
    EXPECT_EQ(Range(c).second, 0x1p-30 + 0x1p-60);
}

TEST_F(CoordTaskRanges, AreUnknownWithoutScaleAndCalibration)
{
    EXPECT_EQ(FailureOf([&] { Range(c); }), PlainFailure(keyNotFound));
    Calibrate();
    EXPECT_EQ(FailureOf([&] { Range(a); }), PlainFailure(keyNotFound));
    task->SetScan3dInfo(info);
    EXPECT_THAT(Range(c), Pair(1.0, 101.0));
}

TEST_F(CoordTaskRanges, AreUnknownForACoordinateOutOfRange)
{
    task->SetScan3dInfo(info);
    Calibrate();
    EXPECT_EQ(FailureOf([&] { Range(static_cast<Scan3dCoordinate>(3)); }), PlainFailure(keyNotFound));
}

TEST_F(CoordTaskRanges, StayAsTheyWereFirst)
{
    task->SetScan3dInfo(info);
    Calibrate();
    auto other = info;
    other.scan3dAxisMax = 7.0;
    task->SetScan3dInfo(other);
    task->SetMetadata(MakeGeometry(4));
    Calibrate(MakeCalibration(2, 2));
    EXPECT_THAT(Range(c), Pair(1.0, 101.0));
    EXPECT_THAT(Range(a), Pair(-8 * 101.0 / 100, 7 * 101.0 / 100));
}

TEST_F(CoordTaskRanges, AreNotComputedForAGeometryWithoutAScale)
{
    Calibrate();
    task->SetMetadata(MakeGeometry());
    EXPECT_EQ(FailureOf([&] { Range(c); }), PlainFailure(keyNotFound));
}

TEST_F(CoordTaskRanges, AreTheRawOnesWithoutCalibratedOutput)
{
    task->SetMode(Mode::UncalibratedC);
    EXPECT_EQ(Range(c), std::pair(0.0, 4095.0));
    task->SetScan3dInfo(info);
    EXPECT_EQ(Range(c), std::pair(0.0, 1000.0));
}

TEST_F(CoordTaskRanges, OfAAndBExistInTheGridOnly)
{
    const LogCapture log;
    task->SetScan3dInfo(info);
    Calibrate();
    task->SetMode(Mode::CalibratedC);
    const std::string text = "Cannot return Scan3dAxisMinMax for CalibratedC with Scan3dCoordinateA!";
    EXPECT_EQ(FailureOf([&] { Range(a); }), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::GetScan3dAxisMinMax"));
    EXPECT_THAT(Range(c), Pair(1.0, 101.0));
    task->SetMode(Mode::UncalibratedC);
    EXPECT_EQ(FailureOf([&] { Range(b); }).text,
              "Cannot return Scan3dAxisMinMax for UncalibratedC with Scan3dCoordinateB!");
    task->SetMode(Mode::CalibratedABC_Grid);
    EXPECT_THAT(Range(a), Pair(-8 * 101.0 / 100, 7 * 101.0 / 100));
}

using CoordTaskGeometry = CoordTaskTest;

TEST_F(CoordTaskGeometry, MakesNoRectifierWithoutCalibration)
{
    task->SetMetadata(MakeGeometry());
    EXPECT_EQ(vision->CountOf("Transform_Undistortion_CreateWithImageMetadata"), 0U);
}

TEST_F(CoordTaskGeometry, MakesARectifierForEachGeometry)
{
    Calibrate();
    task->SetMetadata(MakeGeometry(4));
    ASSERT_EQ(vision->undistortions.size(), 1U);
    EXPECT_THAT(vision->undistortions.begin()->second.metadata,
                ElementsAre(scripted::Entry{"UInt", "BinningHorizontal", "4"}));
    EXPECT_EQ(vision->CountOf("Transform_Undistortion_CreateWithImageMetadata"), 2U);
}

TEST_F(CoordTaskGeometry, ReplacesTheCalibrationAsAWhole)
{
    Calibrate(MakeCalibration(), {});
    Calibrate(MakeCalibration(640, 480), {});
    const auto expected = MakeCalibration(640, 480);
    EXPECT_EQ(std::memcmp(vision->camera.data(), &expected, vision->camera.size()), 0);
    EXPECT_THAT(vision->undistortions.begin()->second.metadata, IsEmpty());
}

TEST_F(CoordTaskGeometry, KeepsTheRectifierWhenThereIsNoOther)
{
    Calibrate();
    const auto *const old = vision->undistortions.begin()->first;
    vision->FailNext("Transform_Undistortion_CreateWithImageMetadata", TARN_CVL_MATH);
    EXPECT_EQ(FailureOf([&] { task->SetMetadata({}); }), PlainFailure("vision failed"));
    ASSERT_EQ(vision->undistortions.size(), 1U);
    EXPECT_EQ(vision->undistortions.begin()->first, old);
}

} // namespace
} // namespace GenTL::internal
