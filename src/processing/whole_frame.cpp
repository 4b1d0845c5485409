#include "processing/whole_frame.h"

#include "processing/frame_copy.h"
#include "processing/frame_tail.h"
#include "utils/checks.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal
{

namespace
{

uint64_t PlaceOf(const InputData &input, const BufferPartInfo &part)
{
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(part.base) -
                                 reinterpret_cast<uintptr_t>(input.data));
}

bool IsWithin(const ChunkEntry &chunk, uint64_t bytes)
{
    return utils::RangeFits(static_cast<uint64_t>(chunk.ChunkOffset), chunk.ChunkLength, bytes);
}

ChunkList ChunksWithin(const ChunkList &chunks, uint64_t bytes)
{
    auto kept = chunks;
    std::erase_if(kept.entries, [=](const ChunkEntry &entry) { return !IsWithin(entry, bytes); });
    return kept;
}

} // namespace

std::span<uint8_t> DeliveredPart(const InputData &input, const BufferPartInfo &part)
{
    const auto offset = PlaceOf(input, part);
    if (!utils::RangeFits(offset, part.size, input.size))
    {
        throw GenTLException(
            fmt::format("Part of {} bytes does not lie in the buffer of {} bytes!", part.size, input.size),
            GC_ERR_ERROR);
    }
    const auto delivered = DeliveredBytes(input);
    const auto present = delivered > offset ? std::min<uint64_t>(delivered - offset, part.size) : 0;
    return {part.base, present};
}

ProcessingResult CopyWholeFrame(const InputData &input, std::span<uint8_t> output)
{
    CheckHasMemory(input);
    const auto delivered = DeliveredBytes(input);
    const auto copied = std::min<uint64_t>(delivered, output.size());
    ProcessingResult result{.bytesWritten = copied,
                            .parts = input.parts,
                            .attributes = input.attributes,
                            .dataSize = input.isIncomplete ? input.dataSize.value_or(delivered) : delivered,
                            .isIncomplete = input.isIncomplete || copied < delivered,
                            .isLargerThanBuffer = copied < delivered};
    for (auto &part : result.parts)
    {
        DeliveredPart(input, part);
        part.base = output.data() + PlaceOf(input, part);
    }
    if (result.isLargerThanBuffer)
    {
        std::erase_if(result.parts,
                      [&](const BufferPartInfo &part) {
                          return !utils::RangeFits(static_cast<uint64_t>(part.base - output.data()),
                                                   part.size, output.size());
                      });
    }
    if (input.chunks)
    {
        result.chunks = ChunksWithin(*input.chunks, copied);
        if (!result.isIncomplete && result.chunks->entries.size() != input.chunks->entries.size())
        {
            throw GenTLException(fmt::format("A chunk lies beyond the {} bytes delivered!", delivered),
                                 GC_ERR_PARSING_CHUNK_DATA);
        }
    }
    CopyFrame(output.data(), input.data, copied);
    return result;
}

} // namespace GenTL::internal
