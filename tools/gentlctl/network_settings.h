#pragma once

#include "consumer/json.h"

#include <span>
#include <string>
#include <vector>

namespace gentlctl
{

class Features;
class Producer;

/// A network setting of a camera, and the feature that has it.
struct NetworkSetting
{
    const char *member; ///< in JSON
    const char *feature;
};

/// Those that SFNC names, in the order in which they are shown.
std::span<const NetworkSetting> NetworkSettings();

/// What a camera says: an address as in "192.168.10.21", a switch as a Boolean, and an object with "error" in
/// place of what it does not say.
Json NetworkSettingsOf(const Features &remote);

/// Sets features and executes commands, as Apply does, after it has found all of them.
/// @param owner of the features, for the message
/// @throws std::runtime_error `owner` lacks features, which the message names; as Apply
void ApplyNetwork(const Features &features, const std::string &owner,
                  const std::vector<std::string> &assignments);

/// Tells a device to take an address until it restarts. Its interface sends it, so the device is not opened.
/// @param device a name as for Producer::Choose
/// @param assignments of the features that an interface has for this
/// @return the id of the device
/// @throws std::runtime_error there is no such device, or its interface does not list it by DeviceSelector;
/// as ApplyNetwork
std::string ForceAddress(Producer &producer, const std::string &device, std::vector<std::string> assignments);

} // namespace gentlctl
