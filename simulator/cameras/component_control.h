#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

/// An image that a camera can send beside others: entry of ComponentSelector, content and formats.
struct ImageComponent
{
    EnumEntry entry;
    Quantity quantity;
    std::vector<std::string> formats; ///< the default first
};

/// ComponentEnable and PixelFormat of a camera that sends several images in a frame. At first it sends the
/// first component alone.
class ComponentControl : public CameraControl
{
public:
    ComponentControl(const CameraContext &context, std::vector<ImageComponent> components);

    void Update() override;
    void Contribute(FrameSettings &settings) const override;

private:
    bool IsEnabled(const ImageComponent &component) const;
    void CheckEnable(int64_t value) const;
    std::vector<std::string> AvailableFormats(const ImageComponent &component) const;

    FeatureSet &m_features;
    const Feature &m_pixelFormat;
    const std::vector<ImageComponent> m_components;
    const std::set<std::string> m_wanted; ///< formats, by the environment; empty for all
};

} // namespace GenTL::simulator
