#include "simulator/frames/frame_check.h"

#include <cstring>
#include <zlib.h>

namespace GenTL::simulator
{

uint32_t Checksum(std::span<const uint8_t> bytes)
{
    return static_cast<uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

void WriteFrameCheck(uint64_t frameNumber, std::span<uint8_t> image)
{
    if (image.size() < sizeof(FrameCheckHeader))
    {
        return;
    }
    const FrameCheckHeader header{{'Q', 'V', 'R', 'F', 'R', 'A', 'M', 'E'},
                                  frameNumber,
                                  image.size(),
                                  Checksum(image.subspan(sizeof(FrameCheckHeader))),
                                  sizeof(FrameCheckHeader)};
    std::memcpy(image.data(), &header, sizeof header);
}

} // namespace GenTL::simulator
