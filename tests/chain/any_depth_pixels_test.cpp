// The producer for any camera delivers depth by the formula raw * scale + offset, and the pixels of the other
// producer where the offset is 0.

#include "any_depth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <vector>

namespace chain
{
namespace
{

constexpr std::array modes = {"UncalibratedC", "CalibratedC", "CalibratedABC_Grid"};

/// The images of all components in each mode.
std::vector<Shot> ShotsThrough(const std::string &producer, const View &view)
{
    DepthCamera opened(producer);
    Use(opened.camera, view);
    UseAllComponents(opened.camera);
    std::vector<Shot> shots;
    for (const auto *mode : modes)
    {
        opened.camera.Remote().Set("Scan3dOutputMode", mode);
        shots.push_back(TakeShot(opened.camera));
    }
    return shots;
}

class SameDepth : public testing::TestWithParam<View>
{
};

TEST_P(SameDepth, ComesThroughBothProducers)
{
    const auto allExpected = ShotsThrough(proxyProducer, GetParam());
    const auto all = ShotsThrough(anyProducer, GetParam());
    for (size_t mode = 0; mode < modes.size(); ++mode)
    {
        SCOPED_TRACE(modes.at(mode));
        const auto &expected = allExpected.at(mode);
        const auto &shot = all.at(mode);
        ASSERT_EQ(shot.payloadType, static_cast<size_t>(PAYLOAD_TYPE_MULTI_PART));
        ASSERT_EQ(shot.parts.size(), 3U);
        ASSERT_EQ(expected.parts.size(), 3U);
        for (size_t i = 0; i < 3; ++i)
        {
            SCOPED_TRACE(i);
            const auto &part = shot.parts[i];
            EXPECT_EQ(part.dataType, expected.parts[i].dataType);
            EXPECT_EQ(part.pixelFormat, expected.parts[i].pixelFormat);
            EXPECT_EQ(part.width, static_cast<size_t>(GetParam().width));
            EXPECT_EQ(part.height, static_cast<size_t>(GetParam().height));
            // A comparison of vectors would print them.
            EXPECT_TRUE(part.bytes == expected.parts[i].bytes);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Regions, SameDepth, testing::ValuesIn(Regions()), NameOf);
INSTANTIATE_TEST_SUITE_P(Steps, SameDepth,
                         testing::Values(View{"Binned2By2", 2, 2, 1, 1, 320, 240},
                                         View{"Binned3By1", 3, 1, 1, 1, 212, 480},
                                         View{"Decimated1By4", 1, 1, 1, 4, 640, 120},
                                         View{"Decimated2By2", 1, 1, 2, 2, 320, 240}),
                         NameOf);

struct Encoding
{
    std::string userSet;
    double scale;
    double offset;
    uint16_t first; // of the valid raw values
    uint16_t last;
    uint16_t invalid;
};

void PrintTo(const Encoding &encoding, std::ostream *stream)
{
    *stream << encoding.userSet;
}

class DepthOf : public AnyDepth, public testing::WithParamInterface<Encoding>
{
protected:
    void SetUp() override
    {
        Load(GetParam().userSet);
        m_raw = ShotIn("UncalibratedC").parts.at(0);
        ASSERT_EQ(m_raw.pixelFormat, coord3dC16);
    }

    /// What becomes of a pixel of the camera's image; 0 for one without depth.
    float DepthAt(const std::optional<size_t> &pixel) const
    {
        const auto &encoding = GetParam();
        const auto raw = pixel ? ValueAt<uint16_t>(m_raw, *pixel) : encoding.invalid;
        const bool isValid = raw != encoding.invalid && raw >= encoding.first && raw <= encoding.last;
        return isValid ? static_cast<float>(raw * encoding.scale + encoding.offset) : 0;
    }

    const View m_whole{"Whole"};
    ShotPart m_raw;
};

TEST_P(DepthOf, IsTheFormulaOfTheNearestRawValue)
{
    const auto depth = ShotIn("CalibratedC").parts.at(0);
    ASSERT_EQ(depth.pixelFormat, coord3dC32f);
    size_t wrong = 0;
    size_t valid = 0;
    for (size_t i = 0; i < depth.width * depth.height; ++i)
    {
        const auto value = ValueAt<float>(depth, i);
        const auto ray = RayOf(PlaceOf(m_whole, i % depth.width, i / depth.width));
        const auto near = PixelsNear(m_whole, Shown(ray));
        wrong +=
            std::ranges::any_of(near, [&](const auto &pixel) { return DepthAt(pixel) == value; }) ? 0 : 1;
        valid += value != 0 ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_GT(valid, depth.width * depth.height / 2);
    EXPECT_LT(valid, depth.width * depth.height);
}

TEST_P(DepthOf, LiesOnTheRayOfEachPoint)
{
    const auto depth = ShotIn("CalibratedC").parts.at(0);
    const auto grid = ShotIn("CalibratedABC_Grid").parts.at(0);
    ASSERT_EQ(grid.pixelFormat, coord3dAbc32f);
    const auto points = PointsOf(grid);
    ASSERT_EQ(points.size(), depth.width * depth.height);
    size_t otherDepth = 0;
    double beside = 0;
    for (size_t i = 0; i < points.size(); ++i)
    {
        const auto z = double{ValueAt<float>(depth, i)};
        otherDepth += points[i].z == z ? 0 : 1;
        if (z != 0)
        {
            const auto ray = RayOf(PlaceOf(m_whole, i % depth.width, i / depth.width));
            beside = std::max(beside, Length(points[i] - Point{ray.x * z, ray.y * z, z}));
        }
    }
    EXPECT_EQ(otherDepth, 0U);
    EXPECT_LT(beside, 0.01);
}

TEST_P(DepthOf, IsWithinTheLimitsThatTheFeaturesTell)
{
    const auto &encoding = GetParam();
    const auto grid = PointsOf(ShotIn("CalibratedABC_Grid").parts.at(0));
    const Axis a(Remote(), "CoordinateA");
    const Axis b(Remote(), "CoordinateB");
    const Axis c(Remote(), "CoordinateC");
    EXPECT_DOUBLE_EQ(c.minimum, encoding.first * encoding.scale + encoding.offset);
    EXPECT_DOUBLE_EQ(c.maximum, encoding.last * encoding.scale + encoding.offset);
    for (const auto *axis : {&a, &b, &c})
    {
        EXPECT_EQ(axis->scale, 1);
        EXPECT_EQ(axis->offset, 0);
    }
    EXPECT_TRUE(c.hasInvalid);
    EXPECT_EQ(c.invalid, 0);
    size_t outside = 0;
    for (const auto &point : grid)
    {
        const bool isCovered = a.Covers(point.x) && b.Covers(point.y) && c.Covers(point.z);
        outside += c.IsValid(point.z) && !isCovered ? 1 : 0;
    }
    EXPECT_EQ(outside, 0U);
}

INSTANTIATE_TEST_SUITE_P(UserSets, DepthOf,
                         testing::Values(Encoding{"Default", 0.5, 0, 1, 4095, 0},
                                         Encoding{"UserSet0", 0.125, 0, 1, 16383, 0},
                                         Encoding{"UserSet1", 8, 0, 1, 255, 0},
                                         Encoding{"UserSet2", 0.5, 200, 2, 4000, 1}),
                         [](const auto &instance) { return instance.param.userSet; });

// The features of the camera show other values for its other format.
TEST_F(AnyDepth, FollowsTheFormatOfTheRawValues)
{
    Remote().Set("Scan3dOutputMode", "UncalibratedC");
    Remote().Set("PixelFormat", "Coord3D_C8");
    const auto raw = TakeShot(m_camera).parts.at(0);
    ASSERT_EQ(raw.pixelFormat, coord3dC8);
    const auto depth = ShotIn("CalibratedC").parts.at(0);
    ASSERT_EQ(depth.pixelFormat, coord3dC32f);
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 255 * 8);
    const View whole{"Whole"};
    size_t wrong = 0;
    for (size_t i = 0; i < depth.width * depth.height; ++i)
    {
        const auto value = ValueAt<float>(depth, i);
        const auto near = PixelsNear(whole, Shown(RayOf(PlaceOf(whole, i % depth.width, i / depth.width))));
        const auto isOf = [&](const auto &pixel)
        { return (pixel ? 8 * ValueAt<uint8_t>(raw, *pixel) : 0) == value; };
        wrong += std::ranges::any_of(near, isOf) ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0U);
    Remote().Set("Scan3dOutputMode", "UncalibratedC");
    Remote().Set("PixelFormat", "Coord3D_C16");
    Remote().Set("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 2047.5);
}

} // namespace
} // namespace chain
