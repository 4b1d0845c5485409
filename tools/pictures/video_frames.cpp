#include "pictures/video_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace gentlctl
{
namespace
{

using Factors = std::array<double, 4>; ///< of red, green and blue, then the offset

/// Luma and both colour differences of ITU-R BT.601, in 16 to 235 and 16 to 240. Readers assume these when a
/// stream does not say more.
constexpr std::array<Factors, 3> planes{{{65.481 / 255, 128.553 / 255, 24.966 / 255, 16},
                                         {-37.797 / 255, -74.203 / 255, 112.0 / 255, 128},
                                         {112.0 / 255, -93.786 / 255, -18.214 / 255, 128}}};

uint8_t Level(const Factors &factors, const uint8_t *pixel)
{
    const double level = std::inner_product(pixel, pixel + 3, factors.begin(), factors[3]);
    return static_cast<uint8_t>(std::lround(level));
}

} // namespace

std::string Y4mHeader(const Raster<uint8_t> &picture, double framesPerSecond)
{
    constexpr double usual = 25;
    constexpr double thousandths = 1000;
    const auto rate = std::lround((framesPerSecond > 0 ? framesPerSecond : usual) * thousandths);
    return fmt::format("YUV4MPEG2 W{} H{} F{}:1000 Ip A1:1 C{}\n", picture.width, picture.height,
                       std::max(rate, 1L), picture.channels == 3 ? "444" : "mono");
}

std::string Y4mFrame(const Raster<uint8_t> &picture)
{
    std::string frame = "FRAME\n";
    if (picture.channels == 1)
    {
        return frame.append(picture.samples.begin(), picture.samples.end());
    }
    frame.reserve(frame.size() + picture.samples.size());
    for (const auto &factors : planes)
    {
        for (size_t i = 0; i < picture.samples.size(); i += picture.channels)
        {
            frame.push_back(static_cast<char>(Level(factors, &picture.samples[i])));
        }
    }
    return frame;
}

} // namespace gentlctl
