#include "simulator/checksum.h"

#include <zlib.h>

namespace GenTL::simulator
{

uint32_t Checksum(std::span<const uint8_t> bytes)
{
    return static_cast<uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

} // namespace GenTL::simulator
