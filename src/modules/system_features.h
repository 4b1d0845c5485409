#pragma once

#include "nodemap/register_definition.h"

#include <array>
#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// Registers of the System module's node map. Their callbacks get the System as their context.
std::span<const nodemap::RegisterDefinition> SystemFeatures();

namespace system_registers
{

inline constexpr uint64_t tlId = 0x0;
inline constexpr uint64_t tlVendorName = 0x40;
inline constexpr uint64_t tlModelName = 0x80;
inline constexpr uint64_t tlVersion = 0xC0;
inline constexpr uint64_t tlFileName = 0xE0;
inline constexpr uint64_t tlDisplayName = 0x120;
inline constexpr uint64_t tlPath = 0x160;
inline constexpr uint64_t tlType = 0x360;
inline constexpr uint64_t genTLVersionMajor = 0x364;
inline constexpr uint64_t genTLVersionMinor = 0x368;
inline constexpr uint64_t genTLSFNCVersionMajor = 0x36C;
inline constexpr uint64_t genTLSFNCVersionMinor = 0x370;
inline constexpr uint64_t interfaceUpdateList = 0x374;
inline constexpr uint64_t interfaceUpdateTimeout = 0x378;

} // namespace system_registers

/// The features that read through to the lower system module.
inline constexpr std::array readThroughFeatures{"InterfaceCount",
                                                "InterfaceSelector",
                                                "InterfaceDisplayName",
                                                "InterfaceID",
                                                "InterfaceType",
                                                "GevInterfaceDefaultIPAddress",
                                                "GevInterfaceDefaultSubnetMask",
                                                "GevInterfaceDefaultGateway",
                                                "GevInterfaceMACAddress",
                                                "NetworkAdapterCount"};

} // namespace GenTL::internal
