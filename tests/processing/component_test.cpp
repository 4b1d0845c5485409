#include "processing/component.h"

#include <gentl/gentl.h>
#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

TEST(Component, PrintsItsNameInMessages)
{
    EXPECT_EQ(fmt::format("{} {} {}", Component::Image2D, Component::Image3D, Component::Confidence),
              "Image2D Image3D Confidence");
    EXPECT_EQ(fmt::format("{}", static_cast<Component>(3)), "3");
    EXPECT_EQ(fmt::format("{}", static_cast<Component>(-1)), "-1");
}

TEST(Component, IsFoundByEntryPartAndFormat)
{
    EXPECT_EQ(ComponentOfEntry("Range"), Component::Image3D);
    EXPECT_EQ(ComponentOfEntry("Image3D"), std::nullopt);
    EXPECT_EQ(ComponentOfPart(PART_DATATYPE_2D_IMAGE), Component::Image2D);
    EXPECT_EQ(ComponentOfPart(PART_DATATYPE_JPEG), std::nullopt);
    EXPECT_EQ(ComponentOf(tarn::common::PixelFormat::Confidence16), Component::Confidence);
    EXPECT_EQ(ComponentOf(tarn::common::PixelFormat::Coord3D_ABC32f), Component::Image3D);
    EXPECT_EQ(ComponentOf(tarn::common::PixelFormat::Mono8), Component::Image2D);
}

} // namespace
} // namespace GenTL::internal
