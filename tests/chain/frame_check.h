#pragma once

#include "simulator/frames/frame_check.h"

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

namespace chain
{

using namespace GenTL;

/// The number of a frame that the simulator marked with the feature FrameCheck; none when a byte of the image
/// has changed.
inline std::optional<uint64_t> CheckedFrameNumber(const uint8_t *image, size_t size)
{
    simulator::FrameCheckHeader header{};
    if (size < sizeof header)
    {
        return std::nullopt;
    }
    std::memcpy(&header, image, sizeof header);
    if (std::string_view(header.magic, sizeof header.magic) != "QVRFRAME" || header.imageSize > size ||
        header.headerSize != sizeof header)
    {
        return std::nullopt;
    }
    const auto checksum = crc32_z(0, image + sizeof header, header.imageSize - sizeof header);
    return checksum == header.checksum ? std::optional(header.frameNumber) : std::nullopt;
}

} // namespace chain
