#include "gentlctl/depth_files.h"

#include "gentlctl/output_files.h"
#include "gentlctl/point_view.h"

#include "common/pixel_format.h"

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <bit>
#include <cstring>

namespace gentlctl
{

using tarn::common::PixelFormat;

namespace
{

static_assert(std::endian::native == std::endian::little, "PLY is written as memory has it");

constexpr int barWidth = 96;
constexpr int barMargin = 12;
constexpr int barStrip = 20;

} // namespace

bool IsPointGrid(const ImageView &image)
{
    return image.pixelFormat == static_cast<uint64_t>(PixelFormat::Coord3D_ABC32f);
}

cv::Mat ColoursOf(const cv::Mat &values, double minimum, double maximum)
{
    // The ends of the map are nearly black.
    constexpr double far = 22;
    constexpr double near = 238;
    const double slope = maximum > minimum ? (near - far) / (maximum - minimum) : 0;
    cv::Mat levels;
    values.convertTo(levels, CV_8U, -slope, near + slope * minimum);
    cv::Mat colours;
    cv::applyColorMap(levels, colours, cv::COLORMAP_TURBO);
    return colours;
}

cv::Mat ScaleBar(int height, double minimum, double maximum)
{
    cv::Mat bar(height, barWidth, CV_8UC3, cv::Scalar::all(0));
    cv::Mat ramp(std::max(1, height - 2 * barMargin), 1, CV_32FC1);
    for (int y = 0; y < ramp.rows; ++y)
    {
        ramp.at<float>(y, 0) = static_cast<float>(ramp.rows - 1 - y);
    }
    auto colours = ColoursOf(ramp, 0, ramp.rows - 1);
    cv::resize(colours, colours, {barStrip, ramp.rows}, 0, 0, cv::INTER_NEAREST);
    if (height > 2 * barMargin)
    {
        colours.copyTo(bar({barMargin, barMargin, barStrip, ramp.rows}));
    }
    constexpr int steps = 4;
    for (int i = 0; i <= steps; ++i)
    {
        const auto value = maximum - (maximum - minimum) * i / steps;
        const int y = barMargin + (ramp.rows - 1) * i / steps;
        cv::putText(bar, fmt::format("{:.4g}", value), {barMargin + barStrip + 6, y + 4},
                    cv::FONT_HERSHEY_SIMPLEX, 0.4, cv::Scalar::all(255), 1, cv::LINE_AA);
    }
    return bar;
}

cv::Mat ColourDepth(const cv::Mat &depth)
{
    cv::Mat values;
    depth.convertTo(values, CV_32F);
    cv::patchNaNs(values, 0);
    const cv::Mat valid = values != 0;
    double minimum = 0;
    double maximum = 0;
    if (cv::countNonZero(valid) != 0)
    {
        cv::minMaxLoc(values, &minimum, &maximum, nullptr, nullptr, valid);
    }
    auto colours = ColoursOf(values, minimum, maximum);
    colours.setTo(cv::Scalar::all(0), ~valid);
    cv::Mat picture;
    cv::hconcat(colours, ScaleBar(depth.rows, minimum, maximum), picture);
    return picture;
}

bool IsIntensityOf(const ImageView &points, const ImageView *intensity)
{
    return intensity != nullptr && intensity->size >= points.width * points.height &&
           intensity->pixelFormat == static_cast<uint64_t>(PixelFormat::Mono8) &&
           intensity->width == points.width && intensity->height == points.height;
}

void WritePly(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity)
{
    const size_t pixels = points.width * points.height;
    const bool hasIntensity = IsIntensityOf(points, intensity);
    std::string body;
    size_t count = 0;
    for (size_t i = 0; i < pixels && (i + 1) * sizeof(cv::Vec3f) <= points.size; ++i)
    {
        cv::Vec3f point;
        std::memcpy(point.val, points.data + i * sizeof point.val, sizeof point.val);
        if (!HasCoordinates(point))
        {
            continue;
        }
        body.append(reinterpret_cast<const char *>(point.val), sizeof point.val);
        if (hasIntensity)
        {
            body.push_back(static_cast<char>(intensity->data[i]));
        }
        ++count;
    }
    const auto header = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n"
                                    "property float x\nproperty float y\nproperty float z\n{}end_header\n",
                                    count, hasIntensity ? "property uchar intensity\n" : "");
    const auto content = header + body;
    WriteBytes(file, content.data(), content.size());
}

} // namespace gentlctl
