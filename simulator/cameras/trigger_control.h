#pragma once

#include "simulator/cameras/camera_control.h"
#include "simulator/cameras/camera_model.h"

namespace GenTL::simulator
{

/// TriggerMode, TriggerSource and TriggerSoftware: with a trigger, the camera sends one frame for each.
class TriggerControl : public CameraControl
{
public:
    explicit TriggerControl(const CameraContext &context);

private:
    void Fire();

    FeatureSet &m_features;
    AcquisitionControl &m_acquisition;
};

/// The camera with a trigger. Nothing is connected to its line: frames come by TriggerSoftware alone.
CameraModel WithTrigger(CameraModel camera);

} // namespace GenTL::simulator
