#include "remote/calibrated_depth.h"

#include "support/failure.h"
#include "support/lens_device.h"

#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

constexpr auto grid = Scan3dOutputMode::CalibratedABC_Grid;
constexpr auto calibrated = Scan3dOutputMode::CalibratedC;
constexpr auto raw = Scan3dOutputMode::UncalibratedC;

struct CalibratedMode : testing::Test
{
    LensDevice device;
    ConversionProcessor processor;
    Scan3dInfo info;
    bool sendsRaw = true;
    CalibratedDepth depth{
        processor,
        *device.reader,
        {.encoding = [this] { return info; }, .sendsRawDepth = [this] { return sendsRaw; }}};
};

TEST_F(CalibratedMode, IsTheGridAtFirst)
{
    EXPECT_EQ(depth.Mode(), grid);
    EXPECT_TRUE(depth.IsOffered());
    EXPECT_EQ(*depth.Lens(), device.registers.device.file);
}

TEST_F(CalibratedMode, IsRawWithoutALens)
{
    device.Break();
    EXPECT_EQ(depth.Mode(), raw);
    EXPECT_FALSE(depth.IsOffered());
    EXPECT_EQ(depth.Lens(), nullptr);
}

TEST_F(CalibratedMode, CannotBeChosenWithoutALens)
{
    device.Break();
    EXPECT_EQ(FailureOf([this] { depth.SetMode(calibrated); }).code, GC_ERR_IO);
    EXPECT_EQ(depth.Mode(), raw);
    device.Repair();
    depth.SetMode(calibrated);
    EXPECT_EQ(depth.Mode(), calibrated);
}

TEST_F(CalibratedMode, FailsWhereItsLensIsNeededWhenItHasGone)
{
    depth.SetMode(calibrated);
    device.Break();
    device.LoadUserSet();
    EXPECT_EQ(depth.Mode(), calibrated) << "what was chosen stays";
    EXPECT_FALSE(depth.IsOffered());
    EXPECT_EQ(FailureOf([this] { depth.Lens(); }).code, GC_ERR_IO);
    EXPECT_EQ(FailureOf([this] { depth.AxisRange(Scan3dCoordinate::CoordinateC); }).code, GC_ERR_IO);
    depth.SetMode(raw);
    EXPECT_EQ(depth.Lens(), nullptr);
}

TEST_F(CalibratedMode, NeedsNoLensWhenItIsRaw)
{
    depth.SetMode(raw);
    EXPECT_EQ(depth.Mode(), raw);
    EXPECT_EQ(depth.Lens(), nullptr);
    EXPECT_EQ(device.registers.writes, 0);
}

TEST_F(CalibratedMode, IsRawWhileTheDeviceHasAModeOfItsOwn)
{
    sendsRaw = false;
    EXPECT_EQ(depth.Mode(), raw);
    EXPECT_EQ(device.registers.writes, 0);
    sendsRaw = true;
    depth.SetMode(calibrated);
    sendsRaw = false;
    EXPECT_EQ(depth.Mode(), raw);
}

TEST_F(CalibratedMode, StaysDuringAnAcquisition)
{
    depth.SetMode(calibrated);
    processor.AcquisitionStarted();
    device.Break();
    device.LoadUserSet();
    EXPECT_EQ(depth.Mode(), calibrated);
    EXPECT_EQ(depth.Lens(), nullptr) << "it has what it needs";
    EXPECT_EQ(FailureOf([this] { depth.SetMode(raw); }).code, GC_ERR_ACCESS_DENIED);
}

TEST_F(CalibratedMode, HasLimitsOfThePresentValues)
{
    info.scan3dCoordinateScale = 0.5;
    info.scan3dCoordinateOffset = 200;
    info.scan3dAxisMin = 2;
    info.scan3dAxisMax = 4000;
    EXPECT_EQ(depth.AxisRange(Scan3dCoordinate::CoordinateC), (std::pair{201.0, 2200.0}));
    info.scan3dCoordinateOffset = 0;
    EXPECT_EQ(depth.AxisRange(Scan3dCoordinate::CoordinateC), (std::pair{1.0, 2000.0}));
}

} // namespace
} // namespace GenTL::internal
