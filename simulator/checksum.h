#pragma once

#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/// CRC-32 as of zlib, PNG and Ethernet.
uint32_t Checksum(std::span<const uint8_t> bytes);

} // namespace GenTL::simulator
