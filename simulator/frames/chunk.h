#pragma once

#include "simulator/features/feature.h"

namespace GenTL::simulator
{

/// The id and the length behind each chunk.
constexpr size_t chunkTrailerSize = 8;

/// The content of a chunk.
enum class ChunkValue
{
    Image,
    FrameId,
    Timestamp,
    ExposureTime,
    Gain,
    ImageChecksum
};

/// A chunk that a camera can send: entry of ChunkSelector, id in the buffer, and content.
struct Chunk
{
    EnumEntry entry;
    uint64_t id;
    ChunkValue value;
    FeatureKind kind;
    size_t length; ///< bytes; 0 for the image, whose length follows from its format
    std::string toolTip;
};

} // namespace GenTL::simulator
