#pragma once

#include "simulator/features/feature_set.h"
#include "simulator/frames/frame.h"

#include <functional>
#include <memory>

namespace GenTL::simulator
{

class AcquisitionControl;
class CameraUnit;
struct CameraModel;

/// What the parts of an opened camera work on. Belongs to the camera and outlives its parts.
struct CameraContext
{
    FeatureSet &features;
    const CameraModel &model;
    CameraUnit &unit;
    AcquisitionControl &acquisition;
};

/// One job of an opened camera: it connects the features of the job when it is made, and contributes to the
/// frames. A kind of camera is a list of parts; see CameraModel. Made and owned by the camera. Apart from the
/// constructor, everything runs with the lock of the features held.
class CameraPart
{
public:
    CameraPart() = default;
    CameraPart(const CameraPart &) = delete;
    CameraPart &operator=(const CameraPart &) = delete;
    virtual ~CameraPart() = default;

    /// Brings features that depend on others up to date. Runs after the part was made, after all parts were
    /// made, and after each write by the consumer.
    virtual void Update() {}

    /// Adds to what the earlier parts of the list made of `settings`. The first part finds one image without
    /// a format.
    virtual void Contribute(FrameSettings & /*settings*/) const {}
};

using MakeCameraPart = std::function<std::unique_ptr<CameraPart>(const CameraContext &context)>;

/// Makes parts of one kind, each with a copy of `data`.
template <typename Part, typename... Data>
MakeCameraPart Makes(Data... data)
{
    return [data...](const CameraContext &context) { return std::make_unique<Part>(context, data...); };
}

} // namespace GenTL::simulator
