#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

/// Region, binning and decimation. A region that does not fit the binned and decimated sensor gets smaller.
class RegionControl : public CameraControl
{
public:
    explicit RegionControl(const CameraContext &context) : m_features(context.features) {}

    void Update() override;
    void Contribute(FrameSettings &settings) const override;

private:
    FeatureSet &m_features;
};

} // namespace GenTL::simulator
