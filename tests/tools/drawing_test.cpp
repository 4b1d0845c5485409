#include "pictures/drawing.h"

#include <gtest/gtest.h>

#include <numeric>

namespace gentlctl
{
namespace
{

TEST(Stamp, ColoursWhatItCoversWithinThePicture)
{
    const Raster<uint8_t> shape{2, 2, 1, {255, 0, 51, 255}};
    auto picture = Filled(3, 3, {10, 20, 30});
    Stamp(picture, shape, 1, 1, {200, 220, 130});
    EXPECT_EQ(picture.At(1, 1)[0], 200);
    EXPECT_EQ(picture.At(1, 1)[2], 130);
    EXPECT_EQ(picture.At(2, 1)[0], 10);
    EXPECT_EQ(picture.At(1, 2)[1], 60); // a fifth of the way
    EXPECT_EQ(picture.At(0, 0)[0], 10);

    Stamp(picture, shape, -1, -1, {200, 220, 130});
    EXPECT_EQ(picture.At(0, 0)[0], 200);
    const auto before = picture.samples;
    Stamp(picture, shape, 3, 0, {0, 0, 0});
    Stamp(picture, shape, 0, -2, {0, 0, 0});
    EXPECT_EQ(picture.samples, before);
}

TEST(DrawnLine, CoversItsPixelsAndEndsAtItsEnds)
{
    auto picture = Filled(9, 5, black);
    DrawLine(picture, {2, 2}, {6, 2}, white);
    for (size_t x = 0; x < picture.width; ++x)
    {
        EXPECT_EQ(picture.At(x, 2)[0], x >= 2 && x <= 6 ? 255 : 0) << x;
    }
    EXPECT_EQ(std::accumulate(picture.samples.begin(), picture.samples.end(), 0), 5 * 3 * 255);
}

TEST(DrawnLine, BetweenPixelsIsSharedByBoth)
{
    auto picture = Filled(5, 4, black);
    DrawLine(picture, {0, 1.5}, {4, 1.5}, white);
    EXPECT_EQ(picture.At(2, 1)[0], 128);
    EXPECT_EQ(picture.At(2, 2)[0], 128);
    EXPECT_EQ(picture.At(2, 0)[0], 0);
}

TEST(DrawnLine, MayLeaveThePictureOrBeAPoint)
{
    auto picture = Filled(3, 3, black);
    DrawLine(picture, {-5, 1}, {8, 1}, white);
    EXPECT_EQ(picture.At(0, 1)[0], 255);
    EXPECT_EQ(picture.At(2, 1)[0], 255);
    DrawLine(picture, {1, 2}, {1, 2}, white);
    EXPECT_EQ(picture.At(1, 2)[0], 255);
}

} // namespace
} // namespace gentlctl
