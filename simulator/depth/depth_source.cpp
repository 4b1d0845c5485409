#include "simulator/depth/depth_source.h"

#include "simulator/depth/depth_scene.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace GenTL::simulator
{

namespace
{

/// The middle of the sensor pixels that a binned or decimated pixel of the image covers.
double SensorPlace(uint32_t pixel, uint32_t offset, uint32_t step)
{
    return (static_cast<double>(offset) + pixel) * step + (step - 1) / 2.0;
}

Ray RayOf(const ImageSettings &s, uint32_t column, uint32_t row)
{
    return DepthDirections().At(SensorPlace(column, s.offsetX, s.stepX),
                                SensorPlace(row, s.offsetY, s.stepY));
}

/// Light of a pixel of the image: the mean of places spread evenly over its area.
double LightOf(const ImageSettings &s, uint32_t column, uint32_t row)
{
    constexpr int places = 2; // in each direction
    double sum = 0;
    for (int i = 0; i < places * places; ++i)
    {
        const auto inPixel = [](int place) { return (place + 0.5) / places - 0.5; };
        const double x = SensorPlace(column, s.offsetX, s.stepX) + inPixel(i % places) * s.binningX;
        const double y = SensorPlace(row, s.offsetY, s.stepY) + inPixel(i / places) * s.binningY;
        sum += SceneAt(DepthDirections().At(x, y)).light;
    }
    return sum / (places * places);
}

/// The value of a depth; the invalid value for no depth and for one outside the range.
uint16_t RawOf(const ImageSettings &settings, double depth)
{
    const auto &scan = settings.depth.scan;
    const double raw = std::round((depth - scan.offset) / scan.scale);
    const double highest = std::min<double>(scan.axisMax, settings.format->MaximumSample());
    const bool isShown = depth > 0 && raw >= scan.axisMin && raw <= highest;
    return static_cast<uint16_t>(isShown ? raw : scan.invalidValue);
}

} // namespace

void WriteRange(const ImageSettings &settings, uint64_t frame, std::span<const double> depths,
                std::vector<uint16_t> &samples)
{
    samples.clear();
    samples.reserve(depths.size());
    if (settings.depth.noise <= 0)
    {
        for (const double depth : depths)
        {
            samples.push_back(RawOf(settings, depth));
        }
        return;
    }
    std::mt19937_64 random(frame);
    std::normal_distribution<double> noise(0.0, settings.depth.noise);
    for (const double depth : depths)
    {
        const double error = noise(random);
        samples.push_back(RawOf(settings, depth == noDepth ? noDepth : depth + error));
    }
}

void WriteLight(const ImageSettings &settings, uint64_t frame, std::span<const uint16_t> light,
                std::vector<uint16_t> &samples)
{
    samples.assign(light.begin(), light.end());
    if (settings.depth.noise <= 0)
    {
        return;
    }
    std::mt19937_64 random(~frame); // independent of the noise of the depth
    std::normal_distribution<double> noise(0.0, settings.depth.noise);
    const double highest = settings.format->MaximumSample();
    for (uint16_t &sample : samples)
    {
        sample = static_cast<uint16_t>(std::clamp(std::round(sample + noise(random)), 0.0, highest));
    }
}

void DepthSource::PrepareRange()
{
    ForEachPixel(m_settings,
                 [&](uint32_t column, uint32_t row)
                 {
                     const auto point = SceneAt(RayOf(m_settings, column, row));
                     m_depths.push_back(point.isValid ? point.depth : noDepth);
                 });
    if (m_settings.depth.noise <= 0)
    {
        WriteRange(m_settings, 0, m_depths, m_still);
    }
}

void DepthSource::PrepareLight()
{
    ForEachPixel(m_settings, [&](uint32_t column, uint32_t row)
                 { m_still.push_back(m_settings.SampleOf(LightOf(m_settings, column, row), column, row)); });
}

void DepthSource::PrepareConfidence()
{
    ForEachPixel(m_settings,
                 [&](uint32_t column, uint32_t row)
                 {
                     const double confidence = SceneAt(RayOf(m_settings, column, row)).confidence;
                     const double highest = m_settings.format->MaximumSample();
                     m_still.push_back(static_cast<uint16_t>(std::round(confidence * highest)));
                 });
}

void DepthSource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
    m_depths.clear();
    m_still.clear();
    switch (settings.depth.quantity)
    {
    case Quantity::Range:
        return PrepareRange();
    case Quantity::Light:
        return PrepareLight();
    case Quantity::Confidence:
        return PrepareConfidence();
    }
}

void DepthSource::Render(uint64_t number, std::span<uint8_t> image)
{
    const bool hasNoise = m_settings.depth.noise > 0;
    if (hasNoise && m_settings.depth.quantity == Quantity::Range)
    {
        WriteRange(m_settings, number, m_depths, m_noisy);
    }
    else if (hasNoise)
    {
        WriteLight(m_settings, number, m_still, m_noisy);
    }
    m_settings.format->pack(hasNoise ? m_noisy : m_still, image.data());
}

} // namespace GenTL::simulator
