#include "vision_module/bilinear.h"

#include "undistorter.h"
#include "vision_module/calibration.h"

#include <opencv2/imgproc.hpp>

#include <array>
#include <cstring>
#include <limits>
#include <random>

namespace GenTL::internal
{

namespace
{

using tarn::vision::BilinearMap;

std::vector<uint8_t> Noise(uint32_t width, uint32_t height)
{
    std::mt19937 random(width);
    std::vector<uint8_t> pixels(size_t{width} * height);
    std::ranges::generate(pixels, [&] { return static_cast<uint8_t>(random()); });
    return pixels;
}

std::vector<uint8_t> Remapped(std::vector<uint8_t> pixels, BilinearMap map, uint32_t width, uint32_t height)
{
    const int columns = static_cast<int>(width);
    const int lines = static_cast<int>(height);
    cv::Mat result;
    cv::remap(cv::Mat(lines, columns, CV_8UC1, pixels.data()), result,
              cv::Mat(lines, columns, CV_16SC2, map.positions.data()),
              cv::Mat(lines, columns, CV_16UC1, map.fractions.data()), cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    return {result.data, result.data + pixels.size()};
}

std::vector<uint8_t> Taken(const std::vector<uint8_t> &pixels, const BilinearMap &map, uint32_t width,
                           uint32_t height)
{
    std::vector<uint8_t> target(pixels.size(), 0x77);
    TakeBlocks(MakeBlocks(map, width, height), pixels.data(), target.data());
    return target;
}

} // namespace

TEST(VisionBilinearBlocks, GiveWhatOpenCVGivesBitByBit)
{
    const DistortionTerms barrel{-0.28F, 0.09F, 0.0015F, -0.002F, -0.01F};
    const DistortionTerms pincushion{0.5F, 0.2F};
    const DistortionTerms folded{-3, 2, 0.3F, -0.4F};
    for (const auto &terms : {DistortionTerms{}, barrel, pincushion, folded})
    {
        for (const auto &[width, height] :
             {std::pair{16U, 3U}, {17U, 3U}, {23U, 40U}, {64U, 48U}, {333U, 251U}, {1280U, 960U}})
        {
            const auto x = static_cast<float>(width);
            const auto camera = Camera(width, height, x * 0.8F, x * 0.75F, x * 0.51F,
                                       static_cast<float>(height) * 0.47F, terms);
            const auto map = tarn::vision::MakeBilinearMap(camera);
            const auto pixels = Noise(width, height);
            ASSERT_TRUE(tarn::vision::HasBlocks(width, height));
            EXPECT_TRUE(Taken(pixels, map, width, height) == Remapped(pixels, map, width, height))
                << width << " x " << height << " with k1 " << terms[0];
        }
    }
}

TEST(VisionBilinearBlocks, MatchOpenCVAtEveryFraction)
{
    // Eight neighbouring pixels have the same source, so they form a block made with vectors.
    constexpr uint32_t width = 8 * 32;
    constexpr uint32_t height = 32;
    const auto pixels = Noise(width, height);
    for (int16_t column = 0; column < 40; ++column)
    {
        BilinearMap map;
        for (uint16_t down = 0; down < 32; ++down)
        {
            for (uint16_t i = 0; i < width; ++i)
            {
                map.positions.push_back(static_cast<int16_t>(column + i % 8));
                map.positions.push_back(static_cast<int16_t>(down / 2 + i % 2));
                map.fractions.push_back(static_cast<uint16_t>(down * 32 + i / 8));
            }
        }
        EXPECT_TRUE(MakeBlocks(map, width, height).oddBlocks.empty());
        EXPECT_TRUE(Taken(pixels, map, width, height) == Remapped(pixels, map, width, height));
    }
}

TEST(VisionBilinearBlocks, MatchOpenCVAtExtremeValues)
{
    constexpr uint32_t width = 16;
    constexpr uint32_t height = 32;
    BilinearMap map;
    for (uint16_t down = 0; down < height; ++down)
    {
        for (uint16_t i = 0; i < width; ++i)
        {
            map.positions.insert(map.positions.end(), {0, 0});
            map.fractions.push_back(static_cast<uint16_t>(down * 32 + 2 * i + down % 2));
        }
    }
    for (int corners = 0; corners < 16; ++corners)
    {
        std::vector<uint8_t> pixels(width * height);
        pixels[0] = (corners & 1) != 0 ? 255 : 0;
        pixels[1] = (corners & 2) != 0 ? 255 : 0;
        pixels[width] = (corners & 4) != 0 ? 255 : 0;
        pixels[width + 1] = (corners & 8) != 0 ? 255 : 0;
        EXPECT_TRUE(Taken(pixels, map, width, height) == Remapped(pixels, map, width, height)) << corners;
    }
}

TEST(VisionBilinearBlocks, AreMadeWithVectorsForALensAsUsual)
{
    const auto map = tarn::vision::MakeBilinearMap(DistortingCamera());
    const auto blocks = MakeBlocks(map, 640, 480);
    EXPECT_LT(blocks.oddBlocks.size() * 20, blocks.windows.size());
}

TEST(VisionBilinearBlocks, AreNotForImagesSmallerThanAWindow)
{
    EXPECT_TRUE(tarn::vision::HasBlocks(16, 3));
    EXPECT_FALSE(tarn::vision::HasBlocks(15, 3));
    EXPECT_FALSE(tarn::vision::HasBlocks(16, 2));
}

namespace
{

template <typename T>
std::vector<T> Extremes(size_t count)
{
    const std::array<T, 4> extremes{T{}, std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest(),
                                    T{1}};
    std::mt19937 random(7);
    std::vector<T> samples(count);
    std::ranges::generate(samples,
                          [&]
                          {
                              const auto number = random();
                              return number % 4 == 0 ? extremes.at(number / 4 % 4) : static_cast<T>(number);
                          });
    return samples;
}

/// Compares samples bit for bit for all lenses, in memory at an odd address.
template <typename T>
void ExpectAsRemapped(std::vector<T> samples, tarn::vision::Samples type, uint32_t width, uint32_t height)
{
    const int columns = static_cast<int>(width);
    const int lines = static_cast<int>(height);
    const int matType = CV_MAKETYPE(cv::DataType<T>::depth, static_cast<int>(type.count));
    const auto x = static_cast<float>(width);
    for (const auto &terms : {DistortionTerms{-0.28F, 0.09F, 0.0015F, -0.002F, -0.01F},
                              DistortionTerms{0.5F, 0.2F}, DistortionTerms{-3, 2, 0.3F, -0.4F}})
    {
        const auto camera =
            Camera(width, height, x * 0.8F, x * 0.75F, x * 0.43F, static_cast<float>(height) * 0.47F, terms);
        auto map = tarn::vision::MakeBilinearMap(camera);
        const size_t size = samples.size() * sizeof(T);
        std::vector<uint8_t> source(size + 1);
        std::memcpy(source.data() + 1, samples.data(), size);
        std::vector<uint8_t> target(size + 1, 0x77);
        TakePixels(map, source.data() + 1, width, height, type, target.data() + 1);
        cv::Mat expected;
        cv::remap(cv::Mat(lines, columns, matType, samples.data()), expected,
                  cv::Mat(lines, columns, CV_16SC2, map.positions.data()),
                  cv::Mat(lines, columns, CV_16UC1, map.fractions.data()), cv::INTER_LINEAR,
                  cv::BORDER_CONSTANT);
        EXPECT_EQ(std::memcmp(target.data() + 1, expected.data, size), 0)
            << width << " x " << height << " with k1 " << terms[0];
    }
}

} // namespace

TEST(VisionBilinearPixels, AreOpenCvsForEverySampleType)
{
    using enum tarn::vision::SampleType;
    for (const auto &[width, height] : {std::pair{1U, 1U},
                                        {1U, 9U},
                                        {9U, 1U},
                                        {2U, 2U},
                                        {2U, 3U},
                                        {3U, 2U},
                                        {15U, 3U},
                                        {64U, 48U},
                                        {333U, 251U}})
    {
        const size_t pixels = size_t{width} * height;
        ExpectAsRemapped(Extremes<uint8_t>(pixels), {Unsigned8, 1}, width, height);
        ExpectAsRemapped(Extremes<uint8_t>(pixels * 3), {Unsigned8, 3}, width, height);
        ExpectAsRemapped(Extremes<uint16_t>(pixels), {Unsigned16, 1}, width, height);
        ExpectAsRemapped(Extremes<float>(pixels), {Float32, 1}, width, height);
    }
}

TEST(VisionBilinearPixels, SpreadInfinityAsOpenCvDoes)
{
    std::vector<float> samples(64 * 48, -0.0F);
    samples[20 * 64 + 30] = std::numeric_limits<float>::infinity();
    samples[5 * 64 + 7] = -std::numeric_limits<float>::infinity();
    ExpectAsRemapped(samples, {tarn::vision::SampleType::Float32, 1}, 64, 48);
}

} // namespace GenTL::internal
