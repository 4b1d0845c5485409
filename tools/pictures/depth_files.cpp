#include "pictures/depth_files.h"

#include "pictures/drawing.h"
#include "pictures/file_writing.h"
#include "pictures/lettering.h"
#include "pictures/point_view.h"

#include "common/pixel_format.h"

#include <Eigen/Core>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace gentlctl
{

using tarn::common::PixelFormat;

namespace
{

static_assert(std::endian::native == std::endian::little, "PLY and PCD are written as memory has it");

constexpr size_t barWidth = 96;
constexpr size_t barMargin = 12;
constexpr size_t barStrip = 20;

/// Stands in a PCD for a point without coordinates.
constexpr std::array<float, 3> nowhere{std::numeric_limits<float>::quiet_NaN(),
                                       std::numeric_limits<float>::quiet_NaN(),
                                       std::numeric_limits<float>::quiet_NaN()};

/// A colour of the Turbo map, by its published approximation in polynomials.
/// @param level 0 to 1, from dark blue through green to dark red
Colour Turbo(double level)
{
    static constexpr std::array<std::array<double, 6>, 3> factors{
        {{0.13572138, 4.61539260, -42.66032258, 132.13108234, -152.94239396, 59.28637943},
         {0.09140261, 2.19418839, 4.84296658, -14.18503333, 4.27729857, 2.82956604},
         {0.10667330, 12.64194608, -60.58204836, 110.36276771, -89.90310912, 27.34824973}}};
    Colour colour{};
    for (size_t i = 0; i < colour.size(); ++i)
    {
        double value = 0;
        for (size_t power = factors[i].size(); power-- > 0;)
        {
            value = value * level + factors[i][power];
        }
        colour[i] = static_cast<uint8_t>(std::lround(255 * std::clamp(value, 0.0, 1.0)));
    }
    return colour;
}

bool HasDepth(float depth)
{
    return std::isfinite(depth) && depth != 0;
}

/// How many points a grid has in its memory.
size_t PointsIn(const ImageView &points)
{
    return std::min(points.width * points.height, points.size / sizeof(Eigen::Vector3f));
}

Eigen::Vector3f PointOf(const ImageView &points, size_t index)
{
    Eigen::Vector3f point;
    std::memcpy(point.data(), points.data + index * sizeof point, sizeof point);
    return point;
}

template <typename T>
void AppendBytes(std::string &bytes, const T &value)
{
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

void WriteContent(const std::filesystem::path &file, const std::string &content)
{
    WriteBytes(file, content.data(), content.size());
}

} // namespace

bool IsPointGrid(const ImageView &image)
{
    return image.pixelFormat == static_cast<uint64_t>(PixelFormat::Coord3D_ABC32f);
}

Colour ColourOf(float depth, double minimum, double maximum)
{
    // The ends of the map are nearly black.
    constexpr double far = 22.0 / 255;
    constexpr double near = 238.0 / 255;
    const double part = maximum > minimum ? (depth - minimum) / (maximum - minimum) : 0;
    return Turbo(near + (far - near) * std::clamp(part, 0.0, 1.0));
}

ColourRaster ScaleBar(size_t height, double minimum, double maximum, const Colour &ground)
{
    auto bar = Filled(barWidth, height, ground);
    const size_t last = std::max(height, 2 * barMargin + 1) - 2 * barMargin - 1;
    for (size_t y = 0; y <= last && height > 2 * barMargin; ++y)
    {
        const auto colour = ColourOf(static_cast<float>(last - y), 0, static_cast<double>(last));
        for (size_t x = 0; x < barStrip; ++x)
        {
            SetColour(bar, barMargin + x, barMargin + y, colour);
        }
    }
    constexpr size_t steps = 4;
    for (size_t i = 0; i <= steps; ++i)
    {
        const auto value = maximum - (maximum - minimum) * static_cast<double>(i) / steps;
        const auto text = TextShape(fmt::format("{:.4g}", value));
        const auto middle = static_cast<long>(barMargin + last * i / steps);
        Stamp(bar, text, barMargin + barStrip + 6, middle - static_cast<long>(text.height / 2), white);
    }
    return bar;
}

ColourRaster ColourDepth(const Raster<float> &depth)
{
    double minimum = std::numeric_limits<double>::max();
    double maximum = std::numeric_limits<double>::lowest();
    for (const double value : depth.samples)
    {
        if (HasDepth(static_cast<float>(value)))
        {
            minimum = std::min(minimum, value);
            maximum = std::max(maximum, value);
        }
    }
    if (maximum < minimum)
    {
        minimum = maximum = 0;
    }
    auto colours = Filled(depth.width, depth.height, black);
    for (size_t y = 0; y < depth.height; ++y)
    {
        for (size_t x = 0; x < depth.width; ++x)
        {
            if (const float value = *depth.At(x, y); HasDepth(value))
            {
                SetColour(colours, x, y, ColourOf(value, minimum, maximum));
            }
        }
    }
    return Beside(colours, ScaleBar(depth.height, minimum, maximum, black));
}

bool IsIntensityOf(const ImageView &points, const ImageView *intensity)
{
    return intensity != nullptr && intensity->size >= points.width * points.height &&
           intensity->pixelFormat == static_cast<uint64_t>(PixelFormat::Mono8) &&
           intensity->width == points.width && intensity->height == points.height;
}

void WritePly(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity)
{
    const bool hasIntensity = IsIntensityOf(points, intensity);
    std::string body;
    size_t count = 0;
    for (size_t i = 0; i < PointsIn(points); ++i)
    {
        const auto point = PointOf(points, i);
        if (!HasCoordinates(point))
        {
            continue;
        }
        AppendBytes(body, point);
        if (hasIntensity)
        {
            AppendBytes(body, intensity->data[i]);
        }
        ++count;
    }
    const auto header = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n"
                                    "property float x\nproperty float y\nproperty float z\n{}end_header\n",
                                    count, hasIntensity ? "property uchar intensity\n" : "");
    WriteContent(file, header + body);
}

void WritePcd(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity)
{
    const bool hasIntensity = IsIntensityOf(points, intensity);
    const auto *const fields = hasIntensity
                                   ? "FIELDS x y z intensity\nSIZE 4 4 4 4\nTYPE F F F F\nCOUNT 1 1 1 1\n"
                                   : "FIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\n";
    auto content =
        fmt::format("# .PCD v0.7 - Point Cloud Data file format\nVERSION 0.7\n{}WIDTH {}\nHEIGHT {}\n"
                    "VIEWPOINT 0 0 0 1 0 0 0\nPOINTS {}\nDATA binary\n",
                    fields, points.width, points.height, points.width * points.height);
    const size_t count = PointsIn(points);
    for (size_t i = 0; i < points.width * points.height; ++i)
    {
        const auto point = i < count ? PointOf(points, i) : Eigen::Vector3f(0, 0, 0);
        if (HasCoordinates(point))
        {
            AppendBytes(content, point);
        }
        else
        {
            AppendBytes(content, nowhere);
        }
        if (hasIntensity)
        {
            AppendBytes(content, static_cast<float>(intensity->data[i]));
        }
    }
    WriteContent(file, content);
}

} // namespace gentlctl
