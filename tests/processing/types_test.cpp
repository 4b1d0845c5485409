#include "processing/types.h"

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

TEST(Scan3dCoordinate, PrintsItsLetter)
{
    EXPECT_EQ(ToString(Scan3dCoordinate::CoordinateA), "Scan3dCoordinateA");
    EXPECT_EQ(ToString(Scan3dCoordinate::CoordinateC), "Scan3dCoordinateC");
    EXPECT_EQ(ToString(static_cast<Scan3dCoordinate>(3)), "Scan3dCoordinate");
}

} // namespace
} // namespace GenTL::internal
