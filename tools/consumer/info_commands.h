#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace gentlctl
{

/// A command of an info function, with its published name.
struct InfoCommand
{
    int32_t command;
    std::string_view name;
};

// Every published command of each info function, in the order of the enumerators.
std::span<const InfoCommand> SystemInfoCommands();
std::span<const InfoCommand> InterfaceInfoCommands();
std::span<const InfoCommand> DeviceInfoCommands();
std::span<const InfoCommand> StreamInfoCommands();
std::span<const InfoCommand> BufferInfoCommands();
std::span<const InfoCommand> BufferPartInfoCommands();
std::span<const InfoCommand> PortInfoCommands();
std::span<const InfoCommand> UrlInfoCommands();

/// The published name of a payload type; its number when it has no name.
std::string PayloadTypeName(uint64_t type);

/// The published name of the data type of a buffer part; its number when it has no name.
std::string PartDataTypeName(uint64_t type);

} // namespace gentlctl
