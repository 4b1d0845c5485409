#include "processing/moved_chunks.h"

#include "processing/frame_copy.h"
#include "utils/checks.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace GenTL::internal
{

namespace
{

constexpr uint64_t trailerSize = 8;

void CheckRange(uint64_t offset, uint64_t size, uint64_t limit)
{
    if (!utils::RangeFits(offset, size, limit))
    {
        throw GenTLException(
            fmt::format("Chunk at offset {} with {} bytes lies beyond the buffer of {} bytes!", offset, size,
                        limit),
            GC_ERR_PARSING_CHUNK_DATA);
    }
}

uint64_t OffsetOf(const ChunkEntry &entry)
{
    return static_cast<uint64_t>(entry.ChunkOffset);
}

const ChunkEntry &ImageChunk(const std::vector<ChunkEntry> &entries)
{
    const auto image =
        std::ranges::find_if(entries, [](const ChunkEntry &entry) { return OffsetOf(entry) == 0; });
    if (image == entries.end())
    {
        throw GenTLException("Received chunks, but no image chunk!", GC_ERR_ERROR);
    }
    return *image;
}

/// Writes the trailers of consecutive chunks, each behind the room for its chunk.
class TrailerWriter
{
public:
    explicit TrailerWriter(std::span<uint8_t> output) : m_output(output) {}

    void Write(uint64_t id, uint64_t length)
    {
        CheckRange(m_cursor, length, m_output.size());
        CheckRange(m_cursor + length, trailerSize, m_output.size());
        const std::array words{static_cast<uint32_t>(id), static_cast<uint32_t>(length)};
        std::memcpy(m_output.data() + m_cursor + length, words.data(), sizeof words);
        m_cursor += length + trailerSize;
    }

private:
    std::span<uint8_t> m_output;
    uint64_t m_cursor = 0;
};

} // namespace

ChunkList MoveChunks(const InputData &input, std::span<uint8_t> output, uint64_t imageSize)
{
    // The conversion before this call does not fail for an image without pixels at a null address.
    CheckHasMemory(input);
    const auto &entries = input.chunks->entries;
    // Unsigned on purpose: the difference wraps when a smaller image moves the chunks towards the front.
    const uint64_t delta = imageSize - ImageChunk(entries).ChunkLength;
    ChunkList moved;
    TrailerWriter trailers(output);
    for (const ChunkEntry entry : entries)
    {
        const uint64_t offset = OffsetOf(entry);
        if (offset == 0)
        {
            moved.entries.push_back({entry.ChunkID, 0, imageSize});
            trailers.Write(entry.ChunkID, imageSize);
            continue;
        }
        const uint64_t target = offset + delta;
        CheckRange(offset, entry.ChunkLength, input.size);
        CheckRange(target, entry.ChunkLength, output.size());
        std::memcpy(output.data() + target, input.data + offset, entry.ChunkLength);
        moved.entries.push_back({entry.ChunkID, static_cast<ptrdiff_t>(target), entry.ChunkLength});
        trailers.Write(entry.ChunkID, entry.ChunkLength);
    }
    return moved;
}

} // namespace GenTL::internal
