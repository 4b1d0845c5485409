#pragma once

#include "simulator/cameras/camera_control.h"

#include <array>

namespace GenTL::simulator
{

// Features of a camera that has its network settings among its features.
inline constexpr const char *currentAddress = "GevCurrentIPAddress";
inline constexpr const char *currentMask = "GevCurrentSubnetMask";
inline constexpr const char *currentGateway = "GevCurrentDefaultGateway";
inline constexpr std::array persistentAddresses = {"GevPersistentIPAddress", "GevPersistentSubnetMask",
                                                   "GevPersistentDefaultGateway"};
/// The bits of GevCurrentIPConfigurationPersistentIP (1), ...DHCP (2) and ...LLA (4).
inline constexpr const char *addressConfiguration = "GevCurrentIPConfiguration";

inline constexpr int64_t maskOfCameras = 0xFFFFFF00;

std::vector<Feature> NetworkSettingFeatures();

/// The network settings of a camera. The camera unit keeps what is written, so it outlives a DevClose.
/// Nothing takes effect: the address of a simulated camera changes by force alone.
class NetworkControl : public CameraControl
{
public:
    explicit NetworkControl(const CameraContext &context);
};

} // namespace GenTL::simulator
