#pragma once

#include "recording/info_record.h"

#include <cstdint>
#include <vector>

namespace recording
{

/// A chunk in the bytes of a frame.
struct ChunkRecord
{
    uint64_t id = 0;
    uint64_t offset = 0; ///< bytes
    uint64_t length = 0; ///< bytes

    friend bool operator==(const ChunkRecord &, const ChunkRecord &) = default;
};

/// A part of a frame.
struct PartRecord
{
    uint64_t offset = 0; ///< bytes from the beginning of the frame
    std::vector<InfoRecord> infos;

    friend bool operator==(const PartRecord &, const PartRecord &) = default;
};

/// All that is known of a frame, apart from its bytes.
struct FrameRecord
{
    uint64_t time = 0; ///< ns, on a clock of the recording's own
    std::vector<InfoRecord> infos;
    std::vector<PartRecord> parts;
    std::vector<ChunkRecord> chunks;

    friend bool operator==(const FrameRecord &, const FrameRecord &) = default;
};

} // namespace recording
