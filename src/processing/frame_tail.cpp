#include "processing/frame_tail.h"

#include "utils/checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace GenTL::internal
{

namespace
{

/// A trailer: id and length of the chunk in front of it, 32 bits each.
constexpr uint64_t trailerBytes = 8;
constexpr uint64_t lengthPlace = 4;
constexpr uint64_t lengthBytes = 4;

uint64_t BeginOf(const ChunkEntry &entry)
{
    return static_cast<uint64_t>(entry.ChunkOffset);
}

void CheckChunks(const ChunkList &chunks, uint64_t delivered)
{
    for (const ChunkEntry entry : chunks.entries)
    {
        if (!utils::RangeFits(BeginOf(entry), entry.ChunkLength, delivered))
        {
            throw GenTLException(
                fmt::format("Chunk at offset {} with {} bytes lies beyond the {} bytes delivered!",
                            BeginOf(entry), uint64_t{entry.ChunkLength}, delivered),
                GC_ERR_PARSING_CHUNK_DATA);
        }
    }
}

/// The shift of a byte of a length, in the byte order of the trailers.
uint64_t ShiftOf(ChunkTrailers trailers, uint64_t byte)
{
    return 8 * (trailers == ChunkTrailers::BigEndian ? lengthBytes - 1 - byte : byte);
}

uint64_t ReadLength(const uint8_t *bytes, ChunkTrailers trailers)
{
    uint64_t length = 0;
    for (uint64_t i = 0; i < lengthBytes; ++i)
    {
        length |= uint64_t{bytes[i]} << ShiftOf(trailers, i);
    }
    return length;
}

void WriteLength(uint8_t *bytes, ChunkTrailers trailers, uint64_t length)
{
    if (length > UINT32_MAX)
    {
        throw GenTLException(fmt::format("The image of {} bytes is too large for its trailer!", length),
                             GC_ERR_PARSING_CHUNK_DATA);
    }
    for (uint64_t i = 0; i < lengthBytes; ++i)
    {
        bytes[i] = static_cast<uint8_t>(length >> ShiftOf(trailers, i));
    }
}

/// The place of the image's trailer; none when the trailers do not lead to the image.
std::optional<uint64_t> FindImageTrailer(const InputData &input, uint64_t imageBegin, uint64_t delivered)
{
    auto end = delivered;
    while (end >= imageBegin + trailerBytes)
    {
        const auto trailer = end - trailerBytes;
        const auto length = ReadLength(input.data + trailer + lengthPlace, input.trailers);
        if (length > trailer - imageBegin)
        {
            return std::nullopt;
        }
        end = trailer - length;
        if (end == imageBegin)
        {
            return trailer;
        }
    }
    return std::nullopt;
}

uint64_t ListedImageEnd(const ChunkList &chunks, uint64_t imageBegin, uint64_t imageEnd)
{
    const auto &entries = chunks.entries;
    const auto image = std::ranges::find(entries, imageBegin, BeginOf);
    if (image != entries.end())
    {
        return imageBegin + image->ChunkLength;
    }
    const auto first = std::ranges::min_element(entries, {}, BeginOf);
    return first != entries.end() ? BeginOf(*first) : imageEnd;
}

} // namespace

uint64_t DeliveredBytes(const InputData &input)
{
    const auto delivered = input.sizeFilled.value_or(input.size);
    if (delivered > input.size)
    {
        throw GenTLException(
            fmt::format("{} bytes cannot lie in a buffer of {} bytes!", delivered, input.size), GC_ERR_ERROR);
    }
    return delivered;
}

std::optional<FrameTail> FindTail(const InputData &input, uint64_t imageBegin, uint64_t imageEnd)
{
    if (!input.chunks)
    {
        return std::nullopt;
    }
    const auto delivered = DeliveredBytes(input);
    CheckChunks(*input.chunks, delivered);
    if (input.trailers != ChunkTrailers::None)
    {
        const auto trailer = FindImageTrailer(input, imageBegin, delivered);
        if (trailer && *trailer >= imageEnd)
        {
            return FrameTail{imageBegin, *trailer, delivered, true};
        }
    }
    const auto begin = ListedImageEnd(*input.chunks, imageBegin, imageEnd);
    return FrameTail{imageBegin, std::min(begin, delivered), delivered, false};
}

ChunkList MoveTail(const InputData &input, const FrameTail &tail, std::span<uint8_t> output, uint64_t target)
{
    const auto room = output.subspan(target, tail.Size());
    std::copy_n(input.data + tail.begin, tail.Size(), room.data());
    if (tail.hasImageTrailer)
    {
        WriteLength(room.data() + lengthPlace, input.trailers, target);
    }
    ChunkList moved{.layoutId = input.chunks->layoutId};
    if (input.chunks->payloadSize != 0)
    {
        // The image may shrink: the difference wraps, and the sum wraps back.
        moved.payloadSize = input.chunks->payloadSize + target + tail.Size() - tail.end;
    }
    for (const ChunkEntry entry : input.chunks->entries)
    {
        if (BeginOf(entry) >= tail.begin)
        {
            const auto place = BeginOf(entry) - tail.begin + target;
            moved.entries.push_back({entry.ChunkID, static_cast<ptrdiff_t>(place), entry.ChunkLength});
        }
        else if (BeginOf(entry) == tail.imageBegin)
        {
            moved.entries.push_back({entry.ChunkID, 0, target});
        }
    }
    return moved;
}

} // namespace GenTL::internal
