#pragma once

#include "recording/recording_reader.h"
#include "simulator/cameras/camera_control.h"
#include "simulator/clock.h"
#include "simulator/module/transport.h"

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <memory>
#include <string_view>

namespace GenTL::simulator
{

constexpr const char *cameraVendor = "QVR";
constexpr const char *cameraVersion = "1.0.0";

/// A description that is a file, where the simulator does not build one from the features.
struct OwnDescription
{
    std::string_view document;
    std::vector<FixedRegister> registers; ///< those that the document names
    bool byteOrderMark = false;           ///< before the document
    size_t blockSize = 1; ///< the file is followed by bytes 0xFF up to a multiple of this number
};

/// A kind of camera as data: names, features, chunks, controls and images.
struct CameraModel
{
    std::string vendor = cameraVendor;
    std::string model;
    unsigned number; ///< gives serial number, ids and hardware address
    std::string toolTip;
    size_t interfaceIndex; ///< the interface that the camera is connected to
    bool zippedDescription = false;
    uint32_t ipAddress = 0;
    std::string guid = {}; ///< the GUIDs of the description without their last two digits
    Transport transport = gigEVision;
    bool bigEndian = false;                          ///< the registers and the values of chunks
    uint64_t ticksPerSecond = nanosecondsPerSecond;  ///< of the time stamps
    std::optional<URL_INFO_CMD> lastUrlCommand = {}; ///< the camera's port refuses later ones
    std::optional<OwnDescription> ownDescription = {};
    std::vector<Feature> features = {};
    std::vector<Chunk> chunks = {};
    std::vector<EventPort> events = {}; ///< of the remote device
    std::vector<MakeCameraControl> controls =
        {}; ///< a later control builds on the features of an earlier one

    /// Called at the start of an acquisition: returns the function that makes the sources of the images.
    /// @throws Error when the images that the environment asks for cannot be replayed
    std::function<MakeFrameSource()> sources = {};

    /// Called when the camera is opened: adds features, chunks, events, controls and sources to the model, as
    /// the environment asks for. A consumer that lists the cameras does not wait for all of them. Empty for a
    /// recording.
    std::function<CameraModel(const CameraModel &)> complete = {};

    /// What a recorded camera replays. The model's features and controls are empty then.
    std::shared_ptr<const recording::RecordingReader> recording = {};

    std::string SerialNumber() const
    {
        return recording ? recording->Device().serialNumber : fmt::format("SIM{:04}", number);
    }
    std::string Id() const { return recording ? recording->Device().id : "SIM-" + SerialNumber(); }
    FeatureLayout Layout() const
    {
        return ownDescription ? FeatureLayout(features, ownDescription->registers) : FeatureLayout(features);
    }
    /// "OVRA-M5 (SIM0001)"
    std::string DisplayName() const
    {
        return recording ? recording->Device().displayName : fmt::format("{} ({})", model, SerialNumber());
    }
    int64_t MacAddress() const { return 0x020000000100 + int64_t{number}; }
    std::string ProductGuid() const { return guid + "01"; }
    std::string VersionGuid() const { return guid + "02"; }
};

} // namespace GenTL::simulator
