#include "simulator/recordings/recorded_model.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace GenTL::simulator
{

namespace
{

/// The transport layers with their names in features.
constexpr std::array transports{
    gigEVision,
    usb3Vision,
    Transport{"CL", "CameraLink", false},
    Transport{"CLHS", "CameraLinkHS", false},
    Transport{"CXP", "CoaXPress", false},
    Transport{"IIDC", "Custom", false},
    Transport{"UVC", "Custom", false},
    Transport{"Ethernet", "Custom", false},
    Transport{"PCI", "Custom", false},
};
constexpr Transport otherTransport{"Custom", "Custom", false};

} // namespace

Transport TransportOf(const std::string &tlType)
{
    const auto *const found = std::ranges::find_if(transports, [&](const Transport &transport)
                                                   { return std::string_view(transport.type) == tlType; });
    return found == transports.end() ? otherTransport : *found;
}

CameraModel RecordedModel(const std::filesystem::path &folder)
{
    auto recording = std::make_shared<recording::RecordingReader>(folder);
    const auto &device = recording->Device();
    CameraModel model{.vendor = device.vendor,
                      .model = device.model,
                      .number = 0,
                      .toolTip = {},
                      .interfaceIndex = 0,
                      .transport = TransportOf(device.tlType)};
    if (device.ticksPerSecond != 0)
    {
        model.ticksPerSecond = device.ticksPerSecond;
    }
    model.recording = std::move(recording);
    return model;
}

} // namespace GenTL::simulator
