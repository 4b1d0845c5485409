#include "simulator/frames/frame_check.h"

#include "simulator/checksum.h"

#include <cstring>

namespace GenTL::simulator
{

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
