#include "pictures/demosaic.h"

#include "rasters.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cstdint>
#include <vector>

namespace gentlctl
{
namespace
{

template <typename T>
class RandomMosaic : public testing::Test
{
};

using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(RandomMosaic, SampleTypes);

TYPED_TEST(RandomMosaic, HasTheColoursThatAnotherLibraryFinds)
{
    cv::Mat samples(9, 12, cv::DataType<TypeParam>::type);
    cv::RNG(5).fill(samples, cv::RNG::UNIFORM, 0, 1 << 8 * sizeof(TypeParam));
    struct
    {
        FirstRed red;
        int conversion; // named after the second pixel of the second row
    } const orders[] = {{{0, 0}, cv::COLOR_BayerBG2RGB},
                        {{1, 0}, cv::COLOR_BayerGB2RGB},
                        {{0, 1}, cv::COLOR_BayerGR2RGB},
                        {{1, 1}, cv::COLOR_BayerRG2RGB}};
    for (const auto &[red, conversion] : orders)
    {
        cv::Mat expected;
        cv::cvtColor(samples, expected, conversion);
        const auto picture = AsMat(Demosaic(AsRaster<TypeParam>(samples), red));
        // OpenCV copies the pixels at the edges from their neighbours.
        const cv::Rect inner(1, 1, samples.cols - 2, samples.rows - 2);
        EXPECT_EQ(cv::norm(picture(inner), expected(inner), cv::NORM_INF), 0) << red.x << red.y;
    }
}

TEST(MosaicAtItsEdge, HasTheMeanOfTheNeighboursInside)
{
    const Raster<uint8_t> mosaic{3, 2, 1, {10, 20, 30, 41, 50, 60}};
    const auto picture = Demosaic(mosaic, {0, 0});
    EXPECT_EQ(std::vector(picture.At(0, 0), picture.At(1, 0)), (std::vector<uint8_t>{10, 31, 50}));
    EXPECT_EQ(std::vector(picture.At(1, 0), picture.At(2, 0)), (std::vector<uint8_t>{20, 20, 50}));
    EXPECT_EQ(std::vector(picture.At(2, 1), picture.At(2, 1) + 3), (std::vector<uint8_t>{30, 60, 50}));
}

TEST(MosaicOfOnePixel, HasItsSampleInEveryColour)
{
    EXPECT_EQ(Demosaic(Raster<uint8_t>{1, 1, 1, {7}}, {0, 0}).samples, (std::vector<uint8_t>{7, 7, 7}));
}

} // namespace
} // namespace gentlctl
