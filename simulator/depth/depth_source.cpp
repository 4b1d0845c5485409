#include "simulator/depth/depth_source.h"

#include "simulator/depth/depth_scene.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <utility>

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

/// Normally distributed numbers around 0: the same as of std::normal_distribution, which takes two logarithms
/// of a long double for each.
class Noise
{
public:
    Noise(uint64_t seed, double deviation) : m_random(seed), m_deviation(deviation) {}

    double Next()
    {
        if (m_spare)
        {
            return m_deviation * *std::exchange(m_spare, std::nullopt);
        }
        // A place that is evenly distributed in the unit circle: the polar method of Marsaglia.
        double x = 0;
        double y = 0;
        double square = 0;
        do
        {
            x = FromMinusOneToOne();
            y = FromMinusOneToOne();
            square = x * x + y * y;
        } while (square > 1 || square == 0);
        const double factor = std::sqrt(-2 * std::log(square) / square);
        m_spare = x * factor;
        return m_deviation * (y * factor);
    }

private:
    double FromMinusOneToOne() { return 2 * (static_cast<double>(m_random()) * 0x1p-64) - 1; }

    std::mt19937_64 m_random;
    double m_deviation;
    std::optional<double> m_spare;
};

} // namespace

void WriteRange(const ImageSettings &settings, uint64_t frame, std::span<const double> depths,
                std::vector<uint16_t> &samples)
{
    samples.resize(depths.size());
    const auto raw = [&](double depth) { return RawOf(settings, depth); };
    if (settings.depth.noise <= 0)
    {
        std::ranges::transform(depths, samples.begin(), raw);
        return;
    }
    Noise noise(frame, settings.depth.noise);
    const auto noisy = [&](double depth)
    {
        const double error = noise.Next();
        return raw(depth == noDepth ? noDepth : depth + error);
    };
    std::ranges::transform(depths, samples.begin(), noisy);
}

void WriteLight(const ImageSettings &settings, uint64_t frame, std::span<const uint16_t> light,
                std::vector<uint16_t> &samples)
{
    samples.assign(light.begin(), light.end());
    if (settings.depth.noise <= 0)
    {
        return;
    }
    Noise noise(~frame, settings.depth.noise); // independent of the noise of the depth
    const double highest = settings.format->MaximumSample();
    for (uint16_t &sample : samples)
    {
        sample = static_cast<uint16_t>(std::clamp(std::round(sample + noise.Next()), 0.0, highest));
    }
}

void DepthSource::PrepareRange()
{
    FillPixels(m_settings, m_depths,
               [&](uint32_t column, uint32_t row)
               {
                   const auto point = SceneAt(RayOf(m_settings, column, row));
                   return point.isValid ? point.depth : noDepth;
               });
    if (m_settings.depth.noise <= 0)
    {
        WriteRange(m_settings, 0, m_depths, m_still);
    }
}

void DepthSource::PrepareLight()
{
    FillPixels(m_settings, m_still,
               [&](uint32_t column, uint32_t row)
               { return m_settings.SampleOf(LightOf(m_settings, column, row), column, row); });
}

void DepthSource::PrepareConfidence()
{
    const double highest = m_settings.format->MaximumSample();
    FillPixels(m_settings, m_still,
               [&](uint32_t column, uint32_t row)
               {
                   const double confidence = SceneAt(RayOf(m_settings, column, row)).confidence;
                   return static_cast<uint16_t>(std::round(confidence * highest));
               });
}

void DepthSource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
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
