// The lens of the depth camera bends the straight lines of its scene; the undistorted intensity shows them
// straight.

#include "depth_points.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace chain
{
namespace
{

constexpr double straight = 0.3; // pixels
constexpr double bent = 2.0;

/// Gives grey values by their place along a line and across it, so that the same code searches upright and
/// level lines.
struct Picture
{
    double At(int along, int across) const
    {
        const auto column = static_cast<size_t>(isUpright ? across : along);
        const auto row = static_cast<size_t>(isUpright ? along : across);
        return part->bytes[row * part->width + column];
    }

    int Length() const { return static_cast<int>(isUpright ? part->height : part->width); }
    int Breadth() const { return static_cast<int>(isUpright ? part->width : part->height); }

    const ShotPart *part;
    bool isUpright;
};

/// The middle of the dark line near a place; none unless there is light on both sides of it.
std::optional<double> MiddleOfLine(const Picture &picture, int along, double near)
{
    constexpr int reach = 7;
    const int middle = static_cast<int>(std::lround(near));
    const int first = middle - reach;
    const int last = middle + reach;
    if (first < 0 || last >= picture.Breadth())
    {
        return std::nullopt;
    }
    const double begin = picture.At(along, first);
    const double end = picture.At(along, last);
    constexpr double dark = 80; // lines are darker than this, their surroundings lighter
    constexpr double leastDarkness = 5;
    if (begin < dark || end < dark || std::abs(begin - end) > leastDarkness)
    {
        return std::nullopt;
    }
    double weights = 0;
    double sum = 0;
    for (int across = first; across <= last; ++across)
    {
        const double background = begin + (end - begin) * (across - first) / (last - first);
        const double darkness = background - picture.At(along, across);
        const double weight = darkness > leastDarkness ? darkness : 0;
        weights += weight;
        sum += weight * across;
    }
    // Less weight means only a part of a line, as at its end.
    constexpr double leastWeight = 150;
    return weights > leastWeight ? std::optional(sum / weights) : std::nullopt;
}

struct Place
{
    double along;
    double across;
};

/// The mean of each place and its neighbours on the line. The camera samples a pixel at two by two places, so
/// a single place may be off by a quarter of a pixel. Places without all neighbours are left out: beside a
/// crossing, the other line darkens the surroundings.
std::vector<Place> Smoothed(std::vector<Place> places)
{
    constexpr size_t beside = 3;
    constexpr size_t together = 2 * beside + 1;
    std::ranges::sort(places, {}, &Place::along);
    std::vector<Place> smoothed;
    for (size_t first = 0; first + together <= places.size(); ++first)
    {
        if (places[first + together - 1].along - places[first].along != together - 1.0)
        {
            continue;
        }
        double sum = 0;
        for (size_t i = first; i < first + together; ++i)
        {
            sum += places[i].across;
        }
        smoothed.push_back({places[first + beside].along, sum / together});
    }
    return smoothed;
}

/// Follows the line at a place to both sides, as far as it is visible.
std::vector<Place> Follow(const Picture &picture, const Place &start)
{
    std::vector<Place> places;
    constexpr int longestGap = 12; // where other lines cross
    for (const int step : {1, -1})
    {
        double near = start.across;
        int gap = 0;
        for (int along = static_cast<int>(start.along) + (step < 0 ? -1 : 0);
             along >= 0 && along < picture.Length() && gap <= longestGap; along += step)
        {
            const auto middle = MiddleOfLine(picture, along, near);
            gap = middle ? 0 : gap + 1;
            if (middle)
            {
                near = *middle;
                places.push_back({static_cast<double>(along), near});
            }
        }
    }
    return Smoothed(std::move(places));
}

/// The largest distance from the straight line with the least square error.
double Bend(const std::vector<Place> &places)
{
    const auto count = static_cast<double>(places.size());
    Place mean{0, 0};
    for (const auto &place : places)
    {
        mean.along += place.along / count;
        mean.across += place.across / count;
    }
    double slopeAbove = 0;
    double slopeBelow = 0;
    for (const auto &place : places)
    {
        slopeAbove += (place.along - mean.along) * (place.across - mean.across);
        slopeBelow += (place.along - mean.along) * (place.along - mean.along);
    }
    const double slope = slopeAbove / slopeBelow;
    double worst = 0;
    for (const auto &place : places)
    {
        const double off = place.across - mean.across - slope * (place.along - mean.along);
        worst = std::max(worst, std::abs(off) / std::hypot(1, slope));
    }
    return worst;
}

/// A line of the plane's grid, and a place on it in the undistorted picture.
struct GridLine
{
    std::string name;
    bool isUpright;
    double x; // mm on the plane
    double y;
};

void PrintTo(const GridLine &line, std::ostream *stream)
{
    *stream << line.name;
}

Point OnPlane(const GridLine &line)
{
    return {line.x, line.y, 1500 + 0.25 * line.x + 0.10 * line.y};
}

/// The intensity of a frame without the other components.
ShotPart IntensityOf(const std::string &producer)
{
    DepthCamera opened(producer);
    const auto &remote = opened.camera.Remote();
    const auto enable = [&remote](const char *component, const char *on)
    {
        remote.Set("ComponentSelector", component);
        remote.Set("ComponentEnable", on);
    };
    enable("Intensity", "1");
    enable("Range", "0");
    return TakeShot(opened.camera).parts.at(0);
}

std::vector<Place> LineIn(const ShotPart &intensity, bool isUpright, const SensorPlace &start)
{
    const Place place = isUpright ? Place{start.row, start.column} : Place{start.column, start.row};
    return Follow({&intensity, isUpright}, place);
}

class LineOfTheScene : public testing::TestWithParam<GridLine>
{
};

TEST_P(LineOfTheScene, IsStraightWithoutDistortionOnly)
{
    const auto &line = GetParam();
    constexpr size_t longEnough = 200;
    const auto raw = IntensityOf(lowerProducer);
    ASSERT_EQ(raw.bytes.size(), raw.width * raw.height);
    const auto bentLine = LineIn(raw, line.isUpright, Shown(OnPlane(line)));
    ASSERT_GT(bentLine.size(), longEnough);
    EXPECT_GT(Bend(bentLine), bent);

    const auto undistorted = IntensityOf(proxyProducer);
    ASSERT_EQ(undistorted.bytes.size(), raw.bytes.size());
    const auto straightLine = LineIn(undistorted, line.isUpright, ShownStraight(OnPlane(line)));
    ASSERT_GT(straightLine.size(), longEnough);
    EXPECT_LT(Bend(straightLine), straight);
    RecordProperty("BendRaw", std::to_string(Bend(bentLine)));
    RecordProperty("Bend", std::to_string(Bend(straightLine)));
}

// These lines pass beside the sphere and the plate. Each runs from an edge of the picture to the opposite
// edge or to the band without light.
INSTANTIATE_TEST_SUITE_P(Grid, LineOfTheScene,
                         testing::Values(GridLine{"FarLeft", true, -700, 50},
                                         GridLine{"Left", true, -600, 50}, GridLine{"Right", true, 800, 50},
                                         GridLine{"FarRight", true, 900, 50},
                                         GridLine{"Top", false, 50, -600}, GridLine{"Upper", false, 50, -500},
                                         GridLine{"Lower", false, 50, 500},
                                         GridLine{"Bottom", false, 50, 600}),
                         [](const auto &instance) { return instance.param.name; });

} // namespace
} // namespace chain
