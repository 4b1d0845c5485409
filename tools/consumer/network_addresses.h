#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace gentlctl
{

class Features;

/// Where a device is in the network; empty where it is not known.
struct NetworkAddress
{
    std::string ip;  ///< as in "192.168.10.21"
    std::string mac; ///< as in "02:00:00:00:01:01"
};

/// The addresses of an interface's devices, by their ids, where the features of the interface give them.
/// Leaves its DeviceSelector at another device.
/// @param devices how many the interface lists
std::map<std::string, NetworkAddress> NetworkAddresses(const Features &interface, size_t devices);

/// Sets the DeviceSelector of an interface to the device of this id.
/// @param devices how many the interface lists
/// @return whether the features of the interface find it
bool SelectDevice(const Features &interface, const std::string &id, size_t devices);

} // namespace gentlctl
