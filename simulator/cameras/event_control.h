#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

struct CameraModel;

/// Sends the events of the camera that EventNotification switches on: the end of each exposure, and a test
/// when the consumer asks for it.
class EventControl final : public CameraControl
{
public:
    explicit EventControl(const CameraContext &context);

    void FrameBegins(uint64_t number) override;

private:
    bool IsOn(int64_t event) const;

    FeatureSet &m_features;
    const std::function<void(const Notice &)> m_notify;
};

/// Gives a camera events, with the features that switch them on.
CameraModel WithEvents(CameraModel camera);

} // namespace GenTL::simulator
