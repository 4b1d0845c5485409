#pragma once

#include "simulator/cameras/camera_control.h"

#include <fmt/format.h>

namespace GenTL::simulator
{

constexpr const char *cameraVendor = "QVR";
constexpr const char *cameraVersion = "1.0.0";

/// A kind of camera as data: names, features, chunks, controls and images.
struct CameraModel
{
    std::string model;
    unsigned number; ///< gives serial number, ids and hardware address
    std::string toolTip;
    size_t interfaceIndex; ///< the interface that the camera is connected to
    bool zippedDescription = false;
    uint32_t ipAddress;
    std::string guid; ///< the GUIDs of the description without their last two digits
    std::vector<Feature> features = {};
    std::vector<Chunk> chunks = {};
    std::vector<MakeCameraControl> controls =
        {}; ///< a later control builds on the features of an earlier one

    /// Called at the start of an acquisition: returns the function that makes the sources of the images.
    /// @throws Error when the images that the environment asks for cannot be replayed
    std::function<MakeFrameSource()> sources = {};

    /// Called when the camera is opened: returns the model that the environment asks for. Empty for a model
    /// that the environment does not change.
    std::function<CameraModel()> atOpening = {};

    std::string SerialNumber() const { return fmt::format("SIM{:04}", number); }
    std::string Id() const { return "SIM-" + SerialNumber(); }
    /// "OVRA-M5 (SIM0001)"
    std::string DisplayName() const { return fmt::format("{} ({})", model, SerialNumber()); }
    int64_t MacAddress() const { return 0x020000000100 + int64_t{number}; }
    std::string ProductGuid() const { return guid + "01"; }
    std::string VersionGuid() const { return guid + "02"; }
};

} // namespace GenTL::simulator
