#include "consumer/frame_info.h"

#include "utils/try.h"

#include <algorithm>
#include <map>
#include <span>
#include <variant>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;

namespace
{

const InfoValue &ValueOf(const std::vector<InfoAnswer> &answers, int32_t command)
{
    return std::ranges::find(answers, command, &InfoAnswer::command)->value;
}

uint64_t NumberIn(const std::vector<InfoAnswer> &answers, int32_t command)
{
    return NumberOf(ValueOf(answers, command)).value_or(0);
}

const uint8_t *AddressIn(const std::vector<InfoAnswer> &answers, int32_t command)
{
    const auto *address = std::get_if<const uint8_t *>(&ValueOf(answers, command));
    return address != nullptr ? *address : nullptr;
}

PartInfo ReadPartInfo(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer, uint32_t part)
{
    auto answers =
        Answers(BufferPartInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                { calls.DSGetBufferPartInfo(stream, buffer, part, command, type, data, size); });
    PartInfo info{.base = AddressIn(answers, BUFFER_PART_INFO_BASE),
                  .size = NumberIn(answers, BUFFER_PART_INFO_DATA_SIZE),
                  .dataType = NumberIn(answers, BUFFER_PART_INFO_DATA_TYPE),
                  .pixelFormat = NumberIn(answers, BUFFER_PART_INFO_DATA_FORMAT),
                  .width = NumberIn(answers, BUFFER_PART_INFO_WIDTH),
                  .height = NumberIn(answers, BUFFER_PART_INFO_HEIGHT),
                  .answers = {}};
    info.answers = std::move(answers);
    return info;
}

std::vector<PartInfo> ReadPartInfos(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer)
{
    uint32_t count = 0;
    // A producer without support for parts fails this call; then there are none.
    internal::utils::Attempt([&] { calls.DSGetNumBufferParts(stream, buffer, &count); });
    std::vector<PartInfo> parts;
    for (uint32_t part = 0; part < count; ++part)
    {
        parts.push_back(ReadPartInfo(calls, stream, buffer, part));
    }
    return parts;
}

/// The chunks in the memory of a buffer, by their ids.
std::map<uint64_t, std::span<const uint8_t>> FindChunks(IGenTLProxy &calls, DS_HANDLE stream,
                                                        const FrameInfo &frame)
{
    size_t count = 0;
    calls.DSGetBufferChunkData(stream, frame.buffer, nullptr, &count);
    std::vector<SINGLE_CHUNK_DATA> entries(count);
    calls.DSGetBufferChunkData(stream, frame.buffer, entries.data(), &count);
    entries.resize(std::min(count, entries.size()));
    std::map<uint64_t, std::span<const uint8_t>> chunks;
    for (const auto &entry : entries)
    {
        if (frame.base != nullptr && LiesWithin(entry, frame.size))
        {
            chunks[entry.ChunkID] = {frame.base + entry.ChunkOffset, entry.ChunkLength};
        }
    }
    return chunks;
}

/// Whether to ask for chunks: of complete frames, unless the producer says that there are none.
bool MayHaveChunks(const FrameInfo &frame)
{
    const auto *contains = std::get_if<bool>(&ValueOf(frame.answers, BUFFER_INFO_CONTAINS_CHUNKDATA));
    return !frame.isIncomplete && (contains == nullptr || *contains);
}

} // namespace

std::optional<uint64_t> NumberFor(const FrameInfo &frame, BUFFER_INFO_CMD command)
{
    const auto answer = std::ranges::find(frame.answers, command, &InfoAnswer::command);
    return answer != frame.answers.end() ? NumberOf(answer->value) : std::nullopt;
}

bool LiesWithin(const SINGLE_CHUNK_DATA &chunk, uint64_t size)
{
    // A negative offset is larger than any size.
    const auto offset = static_cast<uint64_t>(chunk.ChunkOffset);
    return offset <= size && chunk.ChunkLength <= size - offset;
}

FrameInfo ReadFrameInfo(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer, const Features &remote)
{
    auto answers =
        Answers(BufferInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                { calls.DSGetBufferInfo(stream, buffer, command, type, data, size); });
    FrameInfo frame{.buffer = buffer,
                    .base = AddressIn(answers, BUFFER_INFO_BASE),
                    .size = NumberIn(answers, BUFFER_INFO_SIZE),
                    .sizeFilled = NumberIn(answers, BUFFER_INFO_SIZE_FILLED),
                    .isIncomplete = IsTrueAnswer(ValueOf(answers, BUFFER_INFO_IS_INCOMPLETE)),
                    .payloadType = NumberIn(answers, BUFFER_INFO_PAYLOADTYPE),
                    .pixelFormat = NumberIn(answers, BUFFER_INFO_PIXELFORMAT),
                    .width = NumberIn(answers, BUFFER_INFO_WIDTH),
                    .height = NumberIn(answers, BUFFER_INFO_HEIGHT),
                    .imageOffset = NumberIn(answers, BUFFER_INFO_IMAGEOFFSET),
                    .answers = {},
                    .parts = ReadPartInfos(calls, stream, buffer)};
    frame.answers = std::move(answers);
    if (MayHaveChunks(frame))
    {
        internal::utils::Attempt([&]
                                 { frame.chunks = remote.ChunkValues(FindChunks(calls, stream, frame)); });
    }
    return frame;
}

} // namespace gentlctl
