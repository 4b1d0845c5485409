#include "gentlctl/frame_recording.h"

#include "consumer/info_answers.h"
#include "gentlctl/info_recording.h"
#include "utils/try.h"

#include <algorithm>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;
using GenTL::internal::utils::Attempt;

namespace
{

constexpr uint64_t nanosecondsPerSecond = 1'000'000'000;

const uint8_t *AddressFrom(const InfoQuery &query)
{
    const auto answer = TryAnswer(query);
    const auto *const address = answer ? std::get_if<const uint8_t *>(&*answer) : nullptr;
    return address == nullptr ? nullptr : *address;
}

/// The memory of a buffer.
std::span<const uint8_t> MemoryOf(const std::vector<recording::InfoRecord> &infos, const uint8_t *base)
{
    if (base == nullptr)
    {
        throw std::runtime_error("The producer does not tell where a frame lies, so it cannot be recorded");
    }
    return {base, static_cast<size_t>(recording::NumberIn(infos, BUFFER_INFO_SIZE).value_or(0))};
}

uint64_t TimeOf(const std::vector<recording::InfoRecord> &infos, uint64_t ticksPerSecond)
{
    if (const auto time = recording::NumberIn(infos, BUFFER_INFO_TIMESTAMP_NS))
    {
        return *time;
    }
    const auto ticks = recording::NumberIn(infos, BUFFER_INFO_TIMESTAMP).value_or(0);
    return ticksPerSecond == 0 ? 0
                               : ticks / ticksPerSecond * nanosecondsPerSecond +
                                     ticks % ticksPerSecond * nanosecondsPerSecond / ticksPerSecond;
}

std::vector<recording::PartRecord> PartsOf(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer,
                                           std::span<const uint8_t> memory)
{
    uint32_t count = 0;
    // A producer without support for parts fails this call; then there are none.
    Attempt([&] { calls.DSGetNumBufferParts(stream, buffer, &count); });
    std::vector<recording::PartRecord> parts;
    for (uint32_t part = 0; part < count; ++part)
    {
        const auto ask = [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
        { calls.DSGetBufferPartInfo(stream, buffer, part, command, type, data, size); };
        const auto *const base = AddressFrom([&](INFO_DATATYPE *type, void *data, size_t *size)
                                             { ask(BUFFER_PART_INFO_BASE, type, data, size); });
        if (base < memory.data() || base > memory.data() + memory.size())
        {
            throw std::runtime_error(
                "A part of a frame lies outside of its buffer, so it cannot be recorded");
        }
        parts.push_back(
            {static_cast<uint64_t>(base - memory.data()), RecordInfos(BufferPartInfoCommands(), ask)});
    }
    return parts;
}

std::vector<recording::ChunkRecord> ChunksOf(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer,
                                             size_t frameSize)
{
    size_t count = 0;
    calls.DSGetBufferChunkData(stream, buffer, nullptr, &count);
    std::vector<SINGLE_CHUNK_DATA> entries(count);
    calls.DSGetBufferChunkData(stream, buffer, entries.data(), &count);
    entries.resize(std::min(count, entries.size()));
    std::vector<recording::ChunkRecord> chunks;
    for (const SINGLE_CHUNK_DATA entry : entries) // a copy: the published layout is packed
    {
        const auto offset = static_cast<uint64_t>(entry.ChunkOffset);
        if (offset <= frameSize && entry.ChunkLength <= frameSize - offset)
        {
            chunks.push_back({entry.ChunkID, offset, entry.ChunkLength});
        }
    }
    return chunks;
}

} // namespace

RecordedFrame DescribeFrame(IGenTLProxy &calls, DS_HANDLE stream, BUFFER_HANDLE buffer,
                            uint64_t ticksPerSecond)
{
    const auto ask = [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
    { calls.DSGetBufferInfo(stream, buffer, command, type, data, size); };
    RecordedFrame frame;
    auto &record = frame.record;
    record.infos = RecordInfos(BufferInfoCommands(), ask);
    const auto memory = MemoryOf(record.infos, AddressFrom([&](INFO_DATATYPE *type, void *data, size_t *size)
                                                           { ask(BUFFER_INFO_BASE, type, data, size); }));
    const auto filled = recording::NumberIn(record.infos, BUFFER_INFO_SIZE_FILLED).value_or(memory.size());
    frame.bytes = memory.first(static_cast<size_t>(std::min<uint64_t>(filled, memory.size())));
    record.time = TimeOf(record.infos, ticksPerSecond);
    record.parts = PartsOf(calls, stream, buffer, memory);
    // For a frame without chunks, the call fails.
    Attempt([&] { record.chunks = ChunksOf(calls, stream, buffer, frame.bytes.size()); });
    return frame;
}

} // namespace gentlctl
