#include "simulator/recordings/recorded_frames.h"

#include "recording/error.h"
#include "simulator/recordings/recorded_answer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace GenTL::simulator
{

namespace
{

/// By how much numbers grow from one pass through the recording to the next.
struct Shift
{
    uint64_t frameId;
    uint64_t timestamp;
    uint64_t timestampNs;

    uint64_t Of(BUFFER_INFO_CMD command) const
    {
        return command == BUFFER_INFO_FRAMEID        ? frameId
               : command == BUFFER_INFO_TIMESTAMP    ? timestamp
               : command == BUFFER_INFO_TIMESTAMP_NS ? timestampNs
                                                     : 0;
    }
};

class RecordedFrameAnswers final : public FrameAnswers
{
public:
    RecordedFrameAnswers(recording::FrameRecord record, const Shift &shift)
        : m_record(std::move(record)), m_shift(shift)
    {
    }

    Info Of(BUFFER_INFO_CMD command) const override
    {
        auto answer = RecordedAnswer(m_record.infos, command);
        if (const auto shift = m_shift.Of(command); shift != 0 && answer.bytes.size() == sizeof shift)
        {
            uint64_t value = 0;
            std::memcpy(&value, answer.bytes.data(), sizeof value);
            value += shift;
            std::memcpy(answer.bytes.data(), &value, sizeof value);
        }
        return answer;
    }

    uint32_t Parts() const override { return static_cast<uint32_t>(m_record.parts.size()); }

    Info OfPart(uint32_t part, BUFFER_PART_INFO_CMD command, void *base) const override
    {
        const auto &recorded = m_record.parts[part];
        return command == BUFFER_PART_INFO_BASE
                   ? Info::Pointer(static_cast<uint8_t *>(base) + recorded.offset)
                   : RecordedAnswer(recorded.infos, command);
    }

private:
    const recording::FrameRecord m_record;
    const Shift m_shift;
};

/// The distance by which a number grows per pass: from its first to its last value, and one step more.
uint64_t PeriodOf(const recording::FrameRecord &first, const recording::FrameRecord &last, size_t frames,
                  BUFFER_INFO_CMD command)
{
    const auto begin = recording::NumberIn(first.infos, command).value_or(0);
    const auto end = recording::NumberIn(last.infos, command).value_or(0);
    const auto distance = end > begin ? end - begin : 0;
    return distance + (frames > 1 && distance >= frames - 1 ? distance / (frames - 1) : 1);
}

bool IsWithin(const recording::ChunkRecord &chunk, uint64_t size)
{
    return chunk.offset <= size && chunk.length <= size - chunk.offset;
}

bool IsWithin(const recording::PartRecord &part, uint64_t size)
{
    const auto length = recording::NumberIn(part.infos, BUFFER_PART_INFO_DATA_SIZE).value_or(0);
    return part.offset <= size && length <= size - part.offset;
}

/// A recording that lies must not lead a consumer out of its buffer. Parts of an incomplete frame may lie
/// behind the bytes that arrived.
void RequireWithin(const recording::FrameRecord &record, uint64_t bufferSize, uint64_t size)
{
    const auto isWithin = [](uint64_t limit)
    { return [limit](const auto &range) { return IsWithin(range, limit); }; };
    if (!std::ranges::all_of(record.parts, isWithin(std::max(bufferSize, size))) ||
        !std::ranges::all_of(record.chunks, isWithin(size)))
    {
        throw Error(GC_ERR_IO, "A recorded frame has parts or chunks beyond its end");
    }
}

std::vector<SINGLE_CHUNK_DATA> ChunksOf(const recording::FrameRecord &record)
{
    std::vector<SINGLE_CHUNK_DATA> chunks;
    for (const auto &chunk : record.chunks)
    {
        chunks.push_back({chunk.id, static_cast<ptrdiff_t>(chunk.offset), static_cast<size_t>(chunk.length)});
    }
    return chunks;
}

/// Calls the reader; its failure becomes that of an export.
template <typename Call>
auto Reading(Call call)
{
    try
    {
        return call();
    }
    catch (const recording::Error &error)
    {
        throw Error(GC_ERR_IO, "{}", error.what());
    }
}

} // namespace

RecordedFrames::RecordedFrames(std::shared_ptr<const recording::RecordingReader> recording)
    : m_recording(std::move(recording))
{
    if (m_recording->Frames() == 0)
    {
        throw Error(GC_ERR_IO, "The recording {} has no frames", m_recording->Folder().string());
    }
    m_first = Reading([&] { return m_recording->Record(0); });
    m_last = Reading([&] { return m_recording->Record(m_recording->Frames() - 1); });
}

Frame RecordedFrames::Write(const FrameOrder &order, std::span<uint8_t> buffer)
{
    const auto frames = m_recording->Frames();
    const auto index = static_cast<size_t>((order.number - 1) % frames);
    const auto pass = (order.number - 1) / frames;
    const auto period = [&](BUFFER_INFO_CMD command)
    { return pass * PeriodOf(m_first, m_last, frames, command); };
    auto record = Reading([&] { return m_recording->Record(index); });
    const auto size = static_cast<size_t>(m_recording->PlaceOf(index).size);
    RequireWithin(record, buffer.size(), size);
    Frame frame{order, size, false, ChunksOf(record)};
    if (buffer.size() >= size)
    {
        Reading([&] { m_recording->ReadFrame(index, buffer); });
    }
    else
    {
        m_oversize.resize(size);
        Reading([&] { m_recording->ReadFrame(index, m_oversize); });
        std::memcpy(buffer.data(), m_oversize.data(), buffer.size());
        frame.filled = buffer.size();
        frame.cutOff = true;
        frame.chunks.clear();
        std::erase_if(record.parts, [&](const auto &part) { return !IsWithin(part, buffer.size()); });
    }
    frame.answers = std::make_shared<RecordedFrameAnswers>(
        std::move(record),
        Shift{period(BUFFER_INFO_FRAMEID), period(BUFFER_INFO_TIMESTAMP), period(BUFFER_INFO_TIMESTAMP_NS)});
    return frame;
}

} // namespace GenTL::simulator
