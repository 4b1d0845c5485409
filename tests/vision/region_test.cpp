#include "vision_test.h"

#include "vision/image.h"
#include "vision/region.h"

#include <gmock/gmock.h>

#include <array>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using tarn::common::PixelFormat;
using testing::ElementsAre;

class VisionRegion : public VisionTest
{
protected:
    std::array<uint8_t, 8> memory{1, 2, 3, 4, 5, 6, 7, 8};
    Image MakeImage() { return {PixelFormat::Mono8, {4, 2}, memory.data(), memory.size()}; }
};

TEST_F(VisionRegion, IsEmptyAtFirst)
{
    {
        const Region region;
        ASSERT_EQ(vision->regions.size(), 1U);
        EXPECT_TRUE(vision->regions.begin()->second.empty());
    }
    EXPECT_THAT(vision->calls, ElementsAre("Region_Create", "Region_Destroy"));
}

TEST_F(VisionRegion, HasThePixelsWithinAThreshold)
{
    const auto source = MakeImage();
    const Region region(source, 3, 5);
    ASSERT_EQ(vision->regions.size(), 1U);
    EXPECT_THAT(vision->regions.begin()->second, ElementsAre(2, 3, 4));
}

TEST_F(VisionRegion, IsTheOneThatAThresholdGivesBack)
{
    vision->exchangesRegions = true;
    auto source = MakeImage();
    {
        const Region region(source, 8, 100);
        ASSERT_EQ(vision->regions.size(), 1U);
        source.SetRegion(region);
        EXPECT_EQ(vision->images.begin()->second.region, vision->regions.begin()->first);
    }
    EXPECT_EQ(vision->regions.size(), 0U);
}

TEST_F(VisionRegion, IsDestroyedWhenTheThresholdFails)
{
    const auto source = MakeImage();
    vision->FailNext("Threshold_Process", TARN_CVL_NOT_SUPPORTED);
    EXPECT_EQ(VisionFailureOf([&] { Region(source, 0, 1); }),
              Failing<NotSupportedException>("vision failed", 4));
    EXPECT_EQ(vision->CountOf("Region_Destroy"), 1U);
}

TEST_F(VisionRegion, IsNotDestroyedWhenItWasNotMade)
{
    vision->FailNext("Region_Create", TARN_CVL_INTERNAL);
    EXPECT_EQ(VisionFailureOf([] { Region(); }), Failing<InternalErrorException>("vision failed", 7));
    EXPECT_EQ(vision->CountOf("Region_Destroy"), 0U);
}

TEST_F(VisionRegion, IsDrawnIntoAnImage)
{
    const auto source = MakeImage();
    Region region(source, 2, 3);
    IDrawable &drawable = region;
    drawable.Draw(source, {{9, 10, 11}});
    EXPECT_THAT(memory, ElementsAre(1, 9, 9, 4, 5, 6, 7, 8));
    EXPECT_THAT(vision->colour, ElementsAre(9, 10, 11));
    vision->FailNext("Region_Draw", TARN_CVL_TARGET_NOT_FOUND);
    EXPECT_EQ(VisionFailureOf([&] { drawable.Draw(source, {}); }),
              Failing<TargetNotFoundException>("vision failed", 10));
}

TEST_F(VisionRegion, MovesWithItsHandle)
{
    {
        Region region;
        const Region taker(std::move(region));
        EXPECT_EQ(vision->regions.size(), 1U);
    }
    EXPECT_EQ(vision->CountOf("Region_Destroy"), 1U);
}

} // namespace
} // namespace GenTL::internal
