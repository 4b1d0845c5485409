#pragma once

#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/// What the feature FrameCheck puts into the first bytes of an image, over its pixels. All numbers in
/// little-endian byte order.
struct FrameCheckHeader
{
    char magic[8];        ///< "QVRFRAME"
    uint64_t frameNumber; ///< as BUFFER_INFO_FRAMEID
    uint64_t imageSize;   ///< bytes of the image, this header included
    uint32_t checksum;    ///< CRC-32 of the image behind this header
    uint32_t headerSize;  ///< bytes of this header
};
static_assert(sizeof(FrameCheckHeader) == 32);

/// CRC-32 as of zlib, PNG and Ethernet.
uint32_t Checksum(std::span<const uint8_t> bytes);

/// Overwrites the beginning of the image. An image smaller than the header stays as it is.
void WriteFrameCheck(uint64_t frameNumber, std::span<uint8_t> image);

} // namespace GenTL::simulator
