#pragma once

#include <cstdint>
#include <string>

namespace gentlctl
{

/// The published name of an access status; its number when it has no name.
std::string AccessStatusName(int32_t status);

/// Why a device with this access status cannot be opened for reading and writing; empty when it can.
std::string AccessStatusReason(int32_t status);

} // namespace gentlctl
