#include "simulator/cameras/depth_output.h"

#include <algorithm>
#include <cmath>

namespace GenTL::simulator
{

Scan3dValues InFormat(const Scan3dValues &scan, const PixelFormat &format)
{
    double factor = 1;
    while (std::floor(scan.axisMax / factor) > format.MaximumSample())
    {
        factor *= 2;
    }
    double least = std::ceil(scan.axisMin / factor);
    if (scan.axisMin > scan.invalidValue)
    {
        least = std::max(least, scan.invalidValue + 1);
    }
    return {scan.scale * factor, scan.offset, least, std::floor(scan.axisMax / factor), scan.invalidValue};
}

DepthOutput::DepthOutput(const CameraContext &context, int64_t range, std::vector<UserSet> sets)
    : m_features(context.features), m_range(range), m_userSets(context, std::move(sets))
{
}

void DepthOutput::Update()
{
    const auto format = m_features.Integer({"PixelFormat", m_range});
    const auto scan = InFormat(m_userSets.Scan(), FindPixelFormat(format));
    const auto setMultiplied = [&](const char *name, double value)
    { m_features.SetInteger(name, std::llround(value * scan3dDivisor)); };
    m_features.SetFloat("Scan3dCoordinateScale", scan.scale);
    setMultiplied("Scan3dCoordinateOffset", scan.offset);
    setMultiplied("Scan3dAxisMin", scan.axisMin);
    setMultiplied("Scan3dAxisMax", scan.axisMax);
    m_features.SetFloat("Scan3dInvalidDataValue", scan.invalidValue);
}

Scan3dValues DepthOutput::ReadScan() const
{
    const auto divided = [&](const char *name)
    { return static_cast<double>(m_features.Integer(name)) / scan3dDivisor; };
    return {m_features.Float("Scan3dCoordinateScale"), divided("Scan3dCoordinateOffset"),
            divided("Scan3dAxisMin"), divided("Scan3dAxisMax"), m_features.Float("Scan3dInvalidDataValue")};
}

double DepthOutput::NoiseOf(Quantity quantity) const
{
    switch (quantity)
    {
    case Quantity::Range:
        return m_features.Float("DepthNoise");
    case Quantity::Light:
        return m_features.Float("IntensityNoise");
    case Quantity::Confidence:
        break;
    }
    return 0.0;
}

void DepthOutput::Contribute(FrameSettings &settings) const
{
    for (auto &part : settings.parts)
    {
        auto &depth = part.image.depth;
        depth.scan = ReadScan();
        depth.noise = NoiseOf(depth.quantity);
    }
}

} // namespace GenTL::simulator
