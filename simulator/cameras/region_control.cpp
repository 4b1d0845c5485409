#include "simulator/cameras/region_control.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// The names of the features of one direction.
struct Axis
{
    const char *size;
    const char *offset;
    const char *sizeMax;
    const char *sensor;
    const char *binning;
    const char *decimation;
};

constexpr Axis horizontal = {"Width",       "OffsetX",           "WidthMax",
                             "SensorWidth", "BinningHorizontal", "DecimationHorizontal"};
constexpr Axis vertical = {"Height",       "OffsetY",         "HeightMax",
                           "SensorHeight", "BinningVertical", "DecimationVertical"};

/// Binning or decimation; its selector has the one value 0.
int64_t Factor(const FeatureSet &features, const char *name)
{
    return features.Integer({name, 0});
}

void Fit(FeatureSet &features, const Axis &axis)
{
    const auto step = Factor(features, axis.binning) * Factor(features, axis.decimation);
    // Every increment of a size divides 4, so a multiple of 4 suits each of them.
    const auto largest = features.Integer(axis.sensor) / step / 4 * 4;
    features.SetInteger(axis.sizeMax, largest);
    const auto fitting = std::min(features.Integer(axis.size), largest);
    features.SetInteger(axis.size, fitting);
    features.SetInteger(axis.offset, std::min(features.Integer(axis.offset), largest - fitting));
}

} // namespace

void RegionControl::Update()
{
    Fit(m_features, horizontal);
    Fit(m_features, vertical);
}

void RegionControl::Contribute(FrameSettings &settings) const
{
    const auto number = [&](const char *name) { return static_cast<uint32_t>(m_features.Integer(name)); };
    const auto factor = [&](const char *name) { return static_cast<uint32_t>(Factor(m_features, name)); };
    auto &image = settings.parts.front().image;
    image.sensorWidth = number(horizontal.sensor);
    image.sensorHeight = number(vertical.sensor);
    image.width = number(horizontal.size);
    image.height = number(vertical.size);
    image.offsetX = number(horizontal.offset);
    image.offsetY = number(vertical.offset);
    image.binningX = factor(horizontal.binning);
    image.binningY = factor(vertical.binning);
    image.stepX = image.binningX * factor(horizontal.decimation);
    image.stepY = image.binningY * factor(vertical.decimation);
}

} // namespace GenTL::simulator
