#pragma once

#include "simulator/features/feature_set.h"
#include "simulator/frames/frame.h"
#include "simulator/module/notice.h"

#include <functional>
#include <memory>

namespace GenTL::simulator
{

class AcquisitionControl;
class CameraUnit;
struct CameraModel;

/// What the controls of an opened camera work on. Belongs to the camera and outlives its controls.
struct CameraContext
{
    FeatureSet &features;
    const CameraModel &model;
    CameraUnit &unit;
    AcquisitionControl &acquisition;
    std::function<void(const Notice &)> notify; ///< sends an event of the camera
};

/// One job of an opened camera: it connects the features of the job when it is made, and contributes to the
/// frames. A kind of camera is a list of controls; see CameraModel. Made and owned by the camera. Apart from
/// the constructor, everything runs with the lock of the features held.
class CameraControl
{
public:
    CameraControl() = default;
    CameraControl(const CameraControl &) = delete;
    CameraControl &operator=(const CameraControl &) = delete;
    virtual ~CameraControl() = default;

    /// Brings features that depend on others up to date. Runs after the control was made, after all controls
    /// were made, and after each write by the consumer.
    virtual void Update() {}

    /// Completes the `settings` that the earlier controls of the list have filled. The first control finds
    /// one image without a format.
    virtual void Contribute(FrameSettings & /*settings*/) const {}

    /// Runs when the camera begins to send a frame.
    virtual void FrameBegins(uint64_t /*number*/) {}
};

using MakeCameraControl = std::function<std::unique_ptr<CameraControl>(const CameraContext &context)>;

/// Makes controls of one kind, each with a copy of `data`.
template <typename Control, typename... Data>
MakeCameraControl Makes(Data... data)
{
    return [data...](const CameraContext &context) { return std::make_unique<Control>(context, data...); };
}

} // namespace GenTL::simulator
