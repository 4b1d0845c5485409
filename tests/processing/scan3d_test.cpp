#include "processing/scan3d.h"

#include "support/failure.h"

#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

TEST(Scan3dCoordinate, PrintsItsLetter)
{
    EXPECT_EQ(ToString(Scan3dCoordinate::CoordinateA), "Scan3dCoordinateA");
    EXPECT_EQ(ToString(Scan3dCoordinate::CoordinateC), "Scan3dCoordinateC");
    EXPECT_EQ(ToString(static_cast<Scan3dCoordinate>(3)), "Scan3dCoordinate");
}

TEST(Scan3dCoordinate, HasAnEntryOfItsName)
{
    EXPECT_EQ(Scan3dCoordinateOf("CoordinateB"), Scan3dCoordinate::CoordinateB);
    EXPECT_EQ(Scan3dCoordinateOf("CoordinateD"), std::nullopt);
}

TEST(OutputModeTraits, AreThoseOfADeviceForAModeThatIsNotMade)
{
    const auto traits = TraitsOf(Scan3dOutputMode::RectifiedC);
    EXPECT_EQ(traits.mode, Scan3dOutputMode::RectifiedC);
    EXPECT_FALSE(traits.isRaw || traits.hasGrid || traits.makes.has_value());
    EXPECT_TRUE(TraitsOf(Scan3dOutputMode::UncalibratedC).isRaw);
    EXPECT_TRUE(TraitsOf(Scan3dOutputMode::CalibratedABC_Grid).hasGrid);
    EXPECT_EQ(TraitsOf(Scan3dOutputMode::CalibratedC).makes, tarn::common::PixelFormat::Coord3D_C32f);
}

TEST(MadeOutputMode, IsTheRowOfAnEntryThatTheProcessingMakes)
{
    for (const auto *const name : {"UncalibratedC", "CalibratedC", "CalibratedABC_Grid"})
    {
        const auto *const made = MadeOutputMode(name);
        ASSERT_NE(made, nullptr) << name;
        EXPECT_EQ(made->mode, Scan3dOutputModeOf(name));
    }
    EXPECT_EQ(MadeOutputMode("RectifiedC"), nullptr);
    EXPECT_EQ(MadeOutputMode("ProjectedC"), nullptr);
}

TEST(MadeOutputMode, MakesTheFormatsOfPointsAndDepth)
{
    EXPECT_TRUE(IsMadeByOutputMode(tarn::common::PixelFormat::Coord3D_C32f));
    EXPECT_TRUE(IsMadeByOutputMode(tarn::common::PixelFormat::Coord3D_ABC32f));
    EXPECT_FALSE(IsMadeByOutputMode(tarn::common::PixelFormat::Coord3D_C16));
    EXPECT_FALSE(IsMadeByOutputMode(tarn::common::PixelFormat::Mono8));
}

TEST(Scan3dOutputModeName, IsTheEntrysAndLeadsBackToIt)
{
    EXPECT_EQ(ToString(Scan3dOutputMode::UncalibratedC), "UncalibratedC");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedABC_Grid), "CalibratedABC_Grid");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedABC_PointCloud), "CalibratedABC_PointCloud");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedAC), "CalibratedAC");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedAC_Linescan), "CalibratedAC_Linescan");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedC), "CalibratedC");
    EXPECT_EQ(ToString(Scan3dOutputMode::CalibratedC_Linescan), "CalibratedC_Linescan");
    EXPECT_EQ(ToString(Scan3dOutputMode::RectifiedC), "RectifiedC");
    EXPECT_EQ(ToString(Scan3dOutputMode::RectifiedC_Linescan), "RectifiedC_Linescan");
    EXPECT_EQ(ToString(Scan3dOutputMode::DisparityC), "DisparityC");
    EXPECT_EQ(ToString(Scan3dOutputMode::DisparityC_Linescan), "DisparityC_Linescan");
    EXPECT_EQ(ToString(static_cast<Scan3dOutputMode>(11)), "11");
    for (int32_t value = 0; value < 11; ++value)
    {
        const auto mode = static_cast<Scan3dOutputMode>(value);
        EXPECT_EQ(Scan3dOutputModeOf(ToString(mode)), mode);
    }
}

TEST(Scan3dOutputModeName, OutsideOfTheTableIsAKeyThatIsNotFound)
{
    EXPECT_EQ(FailureOf([] { Scan3dOutputModeOf("ProjectedC"); }),
              PlainFailure("unordered_map::at: key not found"));
}

} // namespace
} // namespace GenTL::internal
