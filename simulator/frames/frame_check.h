#pragma once

#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/// The header that the feature FrameCheck writes over the first pixels of an image. All numbers are
/// little-endian.
struct FrameCheckHeader
{
    char magic[8];        ///< "QVRFRAME"
    uint64_t frameNumber; ///< as BUFFER_INFO_FRAMEID
    uint64_t imageSize;   ///< bytes of the image, this header included
    uint32_t checksum;    ///< CRC-32 of the image behind this header
    uint32_t headerSize;  ///< bytes of this header
};
static_assert(sizeof(FrameCheckHeader) == 32);

/// Writes the header into the image. An image smaller than the header stays as it is.
void WriteFrameCheck(uint64_t frameNumber, std::span<uint8_t> image);

} // namespace GenTL::simulator
