#include "vision_module/coordinates_kernel.h"
#include "vision_module/region.h"
#include "vision_module/region_kernels.h"
#include "vision_module/samples.h"
#include "vision_module/scale.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace tarn::vision
{
namespace
{

constexpr size_t longestRun = 200;

/// Percentages of pixels in a set.
constexpr std::array shares{0U, 3U, 50U, 97U, 100U};

class VisionDepthKernels : public testing::Test
{
protected:
    ~VisionDepthKernels() override { hwy::SetSupportedTargetsForTest(0); }

    template <typename Check>
    void WithEachInstructionSet(Check check)
    {
        for (const auto set : hwy::SupportedAndGeneratedTargets())
        {
            if (set == HWY_EMU128)
            {
                continue; // Interleaves floats at any address by plain stores, and no x86 processor is given
                          // it.
            }
            SCOPED_TRACE(hwy::TargetName(set));
            hwy::SetSupportedTargetsForTest(set);
            ASSERT_NO_FATAL_FAILURE(check());
        }
    }

    std::vector<uint8_t> RandomBytes(size_t count)
    {
        std::vector<uint8_t> bytes(count);
        std::ranges::generate(bytes, [this] { return static_cast<uint8_t>(m_random() >> 8); });
        return bytes;
    }

    /// A random set of pixels with `share` percent of them.
    std::vector<uint64_t> RandomSet(size_t pixels, uint32_t share)
    {
        std::vector<uint64_t> bits(WordsOf(pixels));
        for (size_t i = 0; i < pixels; ++i)
        {
            bits[i / pixelsPerWord] |= uint64_t{m_random() % 100 < share} << i % pixelsPerWord;
        }
        return bits;
    }

    std::minstd_rand m_random;
};

bool IsIn(const std::vector<uint64_t> &bits, size_t pixel)
{
    return (bits[pixel / pixelsPerWord] >> pixel % pixelsPerWord & 1) != 0;
}

/// Finds samples of one type in several ranges, at an odd address.
template <typename T>
void CheckRanges(const std::vector<uint8_t> &bytes)
{
    constexpr T largest = std::numeric_limits<T>::max();
    for (const auto &[lowest, highest] : {std::pair<T, T>{0, 0}, {1, largest}, {largest, largest}, {70, 180}})
    {
        for (size_t count = 1; count <= longestRun; ++count)
        {
            std::vector<uint64_t> found(WordsOf(count) + 1, 0x5A5A);
            FindInRange(bytes.data() + 1, count, lowest, highest, found.data());
            ASSERT_EQ(found.back(), 0x5A5AU);
            for (size_t i = 0; i < WordsOf(count) * pixelsPerWord; ++i)
            {
                const auto value = i < count ? Load<T>(bytes.data() + 1, i) : T{};
                ASSERT_EQ(IsIn(found, i), i < count && value >= lowest && value <= highest)
                    << i << " of " << count;
            }
        }
    }
}

TEST_F(VisionDepthKernels, FindEachSampleInRange)
{
    auto bytes = RandomBytes(2 * longestRun + 1);
    std::fill_n(bytes.begin() + 20, 9, uint8_t{0});
    std::fill_n(bytes.begin() + 40, 9, uint8_t{0xFF});
    WithEachInstructionSet([&] { CheckRanges<uint8_t>(bytes); });
    WithEachInstructionSet([&] { CheckRanges<uint16_t>(bytes); });
}

TEST_F(VisionDepthKernels, TakeJustThePixelsOfTheSet)
{
    constexpr size_t sourcePixels = 1000;
    const auto source = RandomBytes(sourcePixels * 4 + 1);
    for (const auto share : shares)
    {
        const auto mask = RandomSet(sourcePixels, share);
        WithEachInstructionSet(
            [&]
            {
                for (size_t count = 1; count <= longestRun; ++count)
                {
                    std::vector<uint32_t> places(count);
                    std::ranges::generate(places, [this] { return m_random() % sourcePixels; });
                    std::vector<uint8_t> target(1 + count * 4 + 1, 0xA5);
                    std::vector<uint64_t> taken(WordsOf(count) + 1, 0x5A5A);
                    TakeMasked({source.data() + 1, mask.data(), places.data(), count}, count,
                               target.data() + 1, taken.data());
                    ASSERT_EQ(target.front(), 0xA5);
                    ASSERT_EQ(target.back(), 0xA5);
                    ASSERT_EQ(taken.back(), 0x5A5AU);
                    for (size_t i = 0; i < WordsOf(count) * pixelsPerWord; ++i)
                    {
                        const bool isIn = i < count && IsIn(mask, places[i]);
                        ASSERT_EQ(IsIn(taken, i), isIn) << i << " of " << count;
                        if (i < count)
                        {
                            ASSERT_EQ(Load<uint32_t>(target.data() + 1, i),
                                      isIn ? Load<uint32_t>(source.data() + 1, places[i]) : 0)
                                << i << " of " << count;
                        }
                    }
                }
            });
    }
}

TEST_F(VisionDepthKernels, ScaleEachSampleAtDoublePrecision)
{
    constexpr size_t large = (size_t{1} << 20U) + 7;
    const auto samples = RandomBytes(2 * large + 1);
    const auto check = [&](size_t count, size_t offset, double factor)
    {
        std::vector<uint8_t> floats(offset + 4 * count + 1, 0xA5);
        ScaleWords(samples.data() + 1, count, factor, floats.data() + offset);
        ASSERT_EQ(floats.back(), 0xA5);
        for (size_t i = 0; i < count; ++i)
        {
            const auto expected = static_cast<float>(Load<uint16_t>(samples.data() + 1, i) * factor);
            ASSERT_EQ(Load<float>(floats.data() + offset, i), expected) << i << " of " << count;
        }
    };
    WithEachInstructionSet(
        [&]
        {
            for (size_t count = 0; count <= longestRun; ++count)
            {
                ASSERT_NO_FATAL_FAILURE(check(count, count % 64, 0.1));
            }
            for (const size_t offset : {0U, 1U, 4U, 60U})
            {
                ASSERT_NO_FATAL_FAILURE(check(large, offset, -1.0 / 3));
            }
        });
}

/// Makes points of random depths, and checks each of them and the memory around them.
class VisionPointKernel : public VisionDepthKernels
{
protected:
    VisionPointKernel()
    {
        std::ranges::generate(m_slopes, [this] { return static_cast<float>(m_random() % 2000) / 1024 - 1; });
        std::ranges::generate(m_depths, [this] { return static_cast<float>(m_random() % 60000) / 8; });
        std::memcpy(m_source.data() + 1, m_depths.data(), m_source.size() - 1);
    }

    /// @param offset of the first point from a cache line
    /// @param set the pixels with depth; null for all
    void Check(size_t pixels, size_t offset, const std::vector<uint64_t> *set, bool isPastCache)
    {
        constexpr size_t line = 64;
        std::vector<uint8_t> memory(2 * line + pixels * pointBytes + line, 0xA5);
        auto *const target =
            memory.data() + (line - reinterpret_cast<uintptr_t>(memory.data()) % line) + offset;
        CoordinatesOfLine({m_slopes.data(), slopeY}, m_source.data() + 1,
                          set != nullptr ? set->data() : nullptr, pixels, target, isPastCache);
        for (size_t i = 0; i < pixels; ++i)
        {
            ASSERT_NO_FATAL_FAILURE(CheckPoint(target + i * pointBytes, i, set == nullptr || IsIn(*set, i)));
        }
        const auto isUntouched = [](uint8_t byte) { return byte == 0xA5; };
        ASSERT_TRUE(std::all_of(memory.data(), target, isUntouched));
        ASSERT_TRUE(std::all_of(target + pixels * pointBytes, memory.data() + memory.size(), isUntouched));
    }

private:
    static constexpr size_t pointBytes = 12;
    static constexpr float slopeY = 0.375F;

    void CheckPoint(const uint8_t *bytes, size_t pixel, bool hasDepth) const
    {
        std::array<float, 3> point{};
        std::memcpy(point.data(), bytes, pointBytes);
        if (hasDepth)
        {
            const auto depth = m_depths[pixel];
            ASSERT_EQ(point, (std::array{m_slopes[pixel] * depth, slopeY * depth, depth})) << pixel;
        }
        else
        {
            ASSERT_TRUE(std::isnan(point[0]) && std::isnan(point[1]) && point[2] == 0) << pixel;
        }
    }

    std::vector<float> m_slopes = std::vector<float>(longestRun);
    std::vector<float> m_depths = std::vector<float>(longestRun);
    std::vector<uint8_t> m_source = std::vector<uint8_t>(longestRun * sizeof(float) + 1);
};

TEST_F(VisionPointKernel, MakesPointsAtEachWidthAndPlace)
{
    WithEachInstructionSet(
        [&]
        {
            for (const bool isPastCache : {false, true})
            {
                for (size_t pixels = 1; pixels <= longestRun; ++pixels)
                {
                    ASSERT_NO_FATAL_FAILURE(Check(pixels, 0, nullptr, isPastCache));
                    const auto set = RandomSet(pixels, shares.at(pixels % shares.size()));
                    ASSERT_NO_FATAL_FAILURE(Check(pixels, pixels % 64, &set, isPastCache));
                }
            }
        });
}

TEST_F(VisionDepthKernels, RunsAndBitsAreTheSameSet)
{
    for (const auto share : shares)
    {
        for (uint32_t pixels = 1; pixels <= longestRun; ++pixels)
        {
            const auto bits = RandomSet(pixels, share);
            std::vector<vision::Run> runs;
            AddOnes(runs, {3, 7, 7 + pixels}, bits.data());
            std::vector<uint64_t> again(bits.size());
            uint32_t last = 0;
            for (const auto &run : runs)
            {
                EXPECT_EQ(run.line, 3U);
                // A gap separates any two runs.
                EXPECT_GT(run.begin, last);
                EXPECT_LT(run.begin, run.end);
                last = run.end;
                SetBits(again.data(), run.begin - 7, run.end - 7);
            }
            ASSERT_EQ(again, bits) << share << " of a hundred of " << pixels;
        }
    }
}

} // namespace
} // namespace tarn::vision
