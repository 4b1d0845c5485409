// A consumer that uses only the standard features and the delivered data finds the same points in every mode,
// with the user sets of the depth camera and in several views.

#include "depth_axis.h"
#include "depth_points.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace chain
{
namespace
{

/// What a coordinate's features say of one of its delivered values.
struct Reading
{
    double value;
    bool isValid;
    bool isCovered; // within the coordinate's axis
};

/// All values of one coordinate.
using Channel = std::vector<Reading>;

/// A frame as the consumer reads it, by the names of the coordinates.
using Channels = std::map<std::string, Channel>;

struct Layout
{
    std::vector<std::string> coordinates; // in a pixel, in this order
    double (*valueAt)(const ShotPart &part, size_t index);
};

/// The layout of a depth format, which its published name gives.
Layout LayoutOf(uint64_t format)
{
    const auto wholeAt = [](const ShotPart &part, size_t index)
    { return static_cast<double>(ValueAt<uint16_t>(part, index)); };
    const auto floatAt = [](const ShotPart &part, size_t index)
    { return static_cast<double>(ValueAt<float>(part, index)); };
    switch (format)
    {
    case coord3dC16:
        return {{"CoordinateC"}, wholeAt};
    case coord3dC32f:
        return {{"CoordinateC"}, floatAt};
    case coord3dAbc32f:
        return {{"CoordinateA", "CoordinateB", "CoordinateC"}, floatAt};
    default:
        ADD_FAILURE() << "no format of depth: " << format;
        return {};
    }
}

Channels Read(const gentlctl::Features &remote, const ShotPart &part)
{
    const auto layout = LayoutOf(part.pixelFormat);
    const size_t pixels = part.width * part.height;
    const size_t count = layout.coordinates.size();
    Channels channels;
    for (size_t i = 0; i < count; ++i)
    {
        const Axis axis(remote, layout.coordinates[i]);
        auto &channel = channels[layout.coordinates[i]];
        for (size_t pixel = 0; pixel < pixels; ++pixel)
        {
            const double value = layout.valueAt(part, pixel * count + i);
            channel.push_back({axis.Of(value), axis.IsValid(value), axis.Covers(value)});
        }
    }
    return channels;
}

struct Situation
{
    std::string userSet;
    View view;
};

void PrintTo(const Situation &situation, std::ostream *stream)
{
    *stream << situation.userSet << ' ' << situation.view.name;
}

class DepthFeatures : public testing::TestWithParam<Situation>
{
protected:
    void SetUp() override
    {
        const auto &remote = m_camera.Remote();
        remote.Set("UserSetSelector", GetParam().userSet);
        remote.Execute("UserSetLoad");
        Use(m_camera, GetParam().view);
    }

    Channels ReadIn(const std::string &mode)
    {
        const auto &remote = m_camera.Remote();
        remote.Set("Scan3dOutputMode", mode);
        EXPECT_EQ(remote.Get("Scan3dOutputMode"), mode);
        const auto shot = TakeShot(m_camera);
        EXPECT_EQ(shot.parts.at(0).width, static_cast<size_t>(GetParam().view.width));
        EXPECT_EQ(shot.parts.at(0).height, static_cast<size_t>(GetParam().view.height));
        return Read(remote, shot.parts.at(0));
    }

    /// Calls `use` with the number of each pixel and its direction without distortion.
    template <typename Use>
    void ForEachPixel(Use use) const
    {
        const auto &view = GetParam().view;
        size_t i = 0;
        for (size_t row = 0; row < static_cast<size_t>(view.height); ++row)
        {
            for (size_t column = 0; column < static_cast<size_t>(view.width); ++column)
            {
                use(i++, RayOf(PlaceOf(view, column, row)));
            }
        }
    }

    DepthCamera m_opened{proxyProducer};
    Camera &m_camera{m_opened.camera};
};

/// Expects all valid values within their axis, and both valid and invalid values of each coordinate.
void ExpectCovered(const Channels &channels)
{
    for (const auto &[coordinate, channel] : channels)
    {
        size_t valid = 0;
        size_t uncovered = 0;
        for (const auto &reading : channel)
        {
            // In a grid, the coordinates A and B of a pixel without depth are NaN.
            const bool isThere = reading.isValid && !std::isnan(reading.value);
            valid += isThere ? 1 : 0;
            uncovered += isThere && !reading.isCovered ? 1 : 0;
        }
        EXPECT_EQ(uncovered, 0U) << coordinate;
        EXPECT_GT(valid, channel.size() / 2) << coordinate;
        EXPECT_LT(valid, channel.size()) << coordinate;
    }
}

TEST_P(DepthFeatures, TellTheSamePointsInEveryMode)
{
    const auto raw = ReadIn("UncalibratedC");
    const auto depth = ReadIn("CalibratedC");
    const auto grid = ReadIn("CalibratedABC_Grid");
    for (const auto *channels : {&raw, &depth, &grid})
    {
        ExpectCovered(*channels);
    }
    ASSERT_EQ(raw.size(), 1U);
    ASSERT_EQ(depth.size(), 1U);
    ASSERT_EQ(grid.size(), 3U);
    const auto &sent = raw.at("CoordinateC");
    const auto &calibrated = depth.at("CoordinateC");
    size_t notAsSent = 0;
    size_t notInGrid = 0;
    size_t beside = 0;
    ForEachPixel(
        [&](size_t i, const Point &ray)
        {
            const auto isOf = [&](const std::optional<size_t> &source)
            {
                const bool isValid = source && sent[*source].isValid;
                return isValid == calibrated[i].isValid &&
                       (!isValid || std::abs(sent[*source].value - calibrated[i].value) < 0.001);
            };
            const auto sources = PixelsNear(GetParam().view, Shown(ray));
            notAsSent += std::any_of(sources.begin(), sources.end(), isOf) ? 0 : 1;
            const auto &a = grid.at("CoordinateA")[i];
            const auto &b = grid.at("CoordinateB")[i];
            const auto &c = grid.at("CoordinateC")[i];
            notInGrid += c.isValid == calibrated[i].isValid && c.value == calibrated[i].value ? 0 : 1;
            if (c.isValid)
            {
                const Point point{a.value, b.value, c.value};
                const double off = Length(point - Point{ray.x * c.value, ray.y * c.value, c.value});
                beside += off < 0.01 ? 0 : 1; // also counts NaN
            }
        });
    EXPECT_EQ(notAsSent, 0U);
    EXPECT_EQ(notInGrid, 0U);
    EXPECT_EQ(beside, 0U);
}

TEST_P(DepthFeatures, ReachAsFarAsTheValuesThatTheCameraCanSend)
{
    const auto &remote = m_camera.Remote();
    remote.Set("Scan3dOutputMode", "UncalibratedC");
    const Axis raw(remote, "CoordinateC");
    EXPECT_GT(raw.maximum, raw.minimum);
    remote.Set("Scan3dOutputMode", "CalibratedABC_Grid");
    const Axis c(remote, "CoordinateC");
    EXPECT_EQ(c.scale, 1);
    EXPECT_EQ(c.offset, 0);
    EXPECT_EQ(c.invalid, 0);
    EXPECT_TRUE(c.hasInvalid);
    for (const auto *coordinate : {"CoordinateA", "CoordinateB"})
    {
        const Axis axis(remote, coordinate);
        EXPECT_EQ(axis.scale, 1);
        EXPECT_EQ(axis.offset, 0);
        EXPECT_FALSE(axis.hasInvalid);
        EXPECT_LT(axis.minimum, 0);
        EXPECT_GT(axis.maximum, 0);
    }
    // The axis is exact for `Default`, the user set at opening. For the others it may differ by 8 mm.
    const double allowed = GetParam().userSet == "Default" ? 0.001 : 8;
    EXPECT_NEAR(c.maximum, raw.Of(raw.maximum), allowed);
    remote.Set("Scan3dOutputMode", "CalibratedC");
    const Axis depth(remote, "CoordinateC");
    EXPECT_EQ(depth.minimum, c.minimum);
    EXPECT_EQ(depth.maximum, c.maximum);
}

// Calibration multiplies the camera's values by the scale and ignores the offset. Only the camera's own mode,
// `UncalibratedC`, gives the offset.
TEST(DepthOfAUserSetWithAnOffset, HasTheOffsetInTheCamerasModeOnly)
{
    constexpr double offset = 200;
    DepthCamera opened(proxyProducer);
    const auto &remote = opened.camera.Remote();
    remote.Set("UserSetSelector", "UserSet2");
    remote.Execute("UserSetLoad");
    const auto read = [&](const std::string &mode)
    {
        remote.Set("Scan3dOutputMode", mode);
        const auto shot = TakeShot(opened.camera);
        EXPECT_EQ(Axis(remote, "CoordinateC").offset, mode == "UncalibratedC" ? offset : 0);
        EXPECT_EQ(Axis(remote, "CoordinateC").invalid, mode == "UncalibratedC" ? 1 : 0);
        return Read(remote, shot.parts.at(0)).at("CoordinateC");
    };
    const auto raw = read("UncalibratedC");
    const auto depth = read("CalibratedC");
    const auto grid = read("CalibratedABC_Grid");
    const View whole{"Whole"};
    size_t compared = 0;
    for (size_t row = 300; row < 330; ++row) // these rows show the plane alone
    {
        for (size_t column = 0; column < 640; ++column)
        {
            const auto place = PlaceOf(whole, column, row);
            const double known = OnPlane(RayOf(place)).z;
            const size_t i = row * 640 + column;
            ASSERT_TRUE(depth[i].isValid) << column << ' ' << row;
            ASSERT_NEAR(depth[i].value + offset, known, 0.002 * known) << column << ' ' << row;
            ASSERT_EQ(grid[i].value, depth[i].value) << column << ' ' << row;
            const auto source = PixelsNear(whole, Shown(RayOf(place))).front();
            ASSERT_TRUE(source && raw[*source].isValid) << column << ' ' << row;
            ASSERT_NEAR(raw[*source].value, known, 0.002 * known) << column << ' ' << row;
            ++compared;
        }
    }
    EXPECT_EQ(compared, 30U * 640U);
    for (const auto *channel : {&raw, &depth, &grid})
    {
        EXPECT_GT(std::count_if(channel->begin(), channel->end(), [](const auto &r) { return !r.isValid; }),
                  10000);
    }
}

std::vector<Situation> Situations()
{
    std::vector<Situation> situations;
    size_t number = 0;
    for (const auto *userSet : {"Default", "UserSet0", "UserSet1"})
    {
        // Under a sanitizer each user set has two regions of its own.
        const size_t remainder = number / Regions().size();
        for (const auto &view : Regions())
        {
            if (!hasSanitizer || number % 3 == remainder)
            {
                situations.push_back({userSet, view});
            }
            ++number;
        }
    }
    return situations;
}

INSTANTIATE_TEST_SUITE_P(Situations, DepthFeatures, testing::ValuesIn(Situations()),
                         [](const auto &instance)
                         { return instance.param.userSet + instance.param.view.name; });

} // namespace
} // namespace chain
