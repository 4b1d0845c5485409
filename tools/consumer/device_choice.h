#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

/// A device in the list of an interface.
struct DeviceEntry
{
    std::string interfaceId;
    std::string id;
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string userName;
    int32_t accessStatus;
};

/// The devices that a name fits: an id wins over other names, and an exact match over one that differs in
/// case. Empty when it fits none.
std::vector<DeviceEntry> DevicesNamed(const std::vector<DeviceEntry> &devices, const std::string &name);

/// Says that no device has the name, and which there are.
std::string WithoutDevice(const std::vector<DeviceEntry> &devices, const std::string &name);

/// The device that a user means.
/// @param selection id, model, serial number or user name, in any case; empty for the first device that can
/// be opened. Otherwise as for DevicesNamed.
/// @throws std::runtime_error there is no such device, there are several, or none can be opened
DeviceEntry ChooseDevice(const std::vector<DeviceEntry> &devices, const std::string &selection);

} // namespace gentlctl
