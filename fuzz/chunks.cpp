// Chunk lists of a buffer: whatever their offsets and lengths, the chunks are moved within the two buffers,
// or the move throws an exception. The buffers have exactly the announced size.

#include "processing/moved_chunks.h"
#include "require.h"
#include "utils/gentl_exception.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// Two bytes each for the sizes of the input, of the output and of the image in the output, then chunks of 24
/// bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal;
    constexpr size_t headSize = 6;
    if (size < headSize)
    {
        return 0;
    }
    const auto number = [data](size_t at) { return data[at] | size_t{data[at + 1]} << 8U; };
    std::vector<uint8_t> source(number(0) + 1, 0xAA);
    std::vector<uint8_t> output(number(2) + 1, 0x55);
    InputData input;
    input.data = source.data();
    input.size = source.size();
    auto &chunks = input.chunks.emplace();
    chunks.entries.resize((size - headSize) / sizeof(ChunkEntry));
    std::copy_n(data + headSize, chunks.entries.size() * sizeof(ChunkEntry),
                reinterpret_cast<uint8_t *>(chunks.entries.data()));
    try
    {
        const auto moved = MoveChunks(input, output, number(4));
        for (size_t i = 0; i < moved.entries.size(); ++i)
        {
            const auto entry = moved.entries[i];
            const auto begin = static_cast<uint64_t>(entry.ChunkOffset);
            const auto id = chunks.entries.at(i).ChunkID;
            Require(begin <= output.size() && entry.ChunkLength <= output.size() - begin &&
                    entry.ChunkID == id);
        }
    }
    catch (const GenTLException &) // NOLINT(bugprone-empty-catch)
    {
    }
    return 0;
}
