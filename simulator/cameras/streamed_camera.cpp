#include "simulator/cameras/streamed_camera.h"

namespace GenTL::simulator
{

namespace
{

PortIdentity Identity(const CameraModel &model)
{
    return {.id = model.Id(),
            .model = model.model,
            .module = "Device",
            .portName = "Device",
            .version = cameraVersion,
            .descriptionFile = model.model + (model.zippedDescription ? ".zip" : ".xml"),
            .transportType = model.transport.type,
            .vendor = model.vendor,
            .bigEndian = model.bigEndian,
            .lastUrlCommand = model.lastUrlCommand};
}

} // namespace

StreamedCamera::StreamedCamera(HandleTable &handles, const CameraModel &model, const FeatureLayout &layout,
                               const std::string &description)
    : Module(handles, Identity(model), layout, description, {EVENT_ERROR, EVENT_FEATURE_INVALIDATE})
{
}

} // namespace GenTL::simulator
