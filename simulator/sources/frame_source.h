#pragma once

#include "simulator/pixels/pixel_format.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <span>

namespace GenTL::simulator
{

/// The brightest light of a scene; the darkest is 0.
constexpr uint32_t white = 65535;

/// What the pixels of an image measure.
enum class Quantity
{
    Light,
    Range,
    Confidence
};

/// How a depth camera encodes depth: depth in mm = value * scale + offset.
struct Scan3dValues
{
    double scale;
    double offset;       ///< mm
    double axisMin;      ///< the smallest valid value
    double axisMax;      ///< the largest
    double invalidValue; ///< of pixels without depth

    bool operator==(const Scan3dValues &) const = default;
};

struct DepthSettings
{
    Quantity quantity;
    Scan3dValues scan;
    double noise; ///< standard deviation: of a range in mm, of light in grey levels

    bool operator==(const DepthSettings &) const = default;
};

/// Everything that the content of an image depends on. Lengths in pixels.
struct ImageSettings
{
    uint32_t sensorWidth;
    uint32_t sensorHeight;
    uint32_t width; ///< of the image; sizes and offsets count binned and decimated pixels
    uint32_t height;
    uint32_t offsetX;
    uint32_t offsetY;
    uint32_t binningX;
    uint32_t binningY;
    uint32_t stepX; ///< sensor pixels from one image pixel to the next: binning times decimation
    uint32_t stepY;
    bool reverseX; ///< the sensor is read from right to left
    bool reverseY; ///< the sensor is read from bottom to top
    const PixelFormat *format;
    double brightness; ///< 1 shows the scene as it is
    int64_t testPattern;
    DepthSettings depth; ///< of depth cameras

    bool operator==(const ImageSettings &) const = default;

    /// The sample that light from 0 to `white` yields in a place of the image, rounded to the nearest.
    uint16_t SampleOf(double light, uint32_t column, uint32_t row) const
    {
        const double maximum = format->MaximumSample();
        const double exposure = brightness * format->ExposureAt(column, row);
        return static_cast<uint16_t>(std::min(light * exposure * maximum / white + 0.5, maximum));
    }

    size_t Pixels() const { return size_t{width} * height; }
    size_t Samples() const { return Pixels() * format->components; }
    size_t Bytes() const { return format->SizeOf(Pixels()); }
};

/// Makes the images of a camera, or of a part of its frames. Made by the stream and used on its acquisition
/// thread alone.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Called before the first image and whenever the settings changed. May be slow.
    virtual void Prepare(const ImageSettings &settings) = 0;

    /// Writes the image of frame `number` (from 1) into `image`, whose size follows from the settings.
    virtual void Render(uint64_t number, std::span<uint8_t> image) = 0;
};

using MakeFrameSource = std::function<std::unique_ptr<FrameSource>()>;

} // namespace GenTL::simulator
