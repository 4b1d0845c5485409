#include "recording/recording_reader.h"

#include "recording/device_file.h"
#include "recording/error.h"
#include "recording/file_names.h"
#include "recording/frame_bytes.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace recording
{

namespace fs = std::filesystem;

namespace
{

/// Far above any description or file of a device.
constexpr uint64_t largestFile = uint64_t{1} << 30U;

std::string ContentOf(const fs::path &path)
{
    const OwnedFile file(path, OwnedFile::For::Reading);
    const auto size = file.Size();
    if (size > largestFile)
    {
        throw Error("{} has {} bytes, more than a recording can have there", path.string(), size);
    }
    return file.Read(0, size);
}

/// The description's bytes, whatever its file is called.
std::string DescriptionIn(const fs::path &folder)
{
    const auto archive = folder / "description.zip";
    return ContentOf(fs::exists(archive) ? archive : folder / "description.xml");
}

DeviceRecord DeviceIn(const fs::path &folder)
{
    const auto path = folder / deviceFile;
    std::error_code ignored; // a file that cannot be read is told when it is read
    if (fs::status(path, ignored).type() == fs::file_type::not_found)
    {
        throw Error("{} is no recording: it has no {}. Name the folder that gentlctl record wrote",
                    folder.string(), deviceFile);
    }
    const auto text = ContentOf(path);
    try
    {
        auto device = DeviceFromJson(text);
        device.description = DescriptionIn(folder);
        for (auto &file : device.registers.fileAccess.files)
        {
            file.content = ContentOf(folder / FileNameFor(file));
        }
        return device;
    }
    catch (const Error &error)
    {
        throw Error("{} is damaged: {}. Copy the recording again", path.string(), error.what());
    }
}

/// Bytes of the last entry with its header.
constexpr uint64_t endSize = sizeof(EntryHeader) + sizeof(EndRecord);

bool IsWithin(const FramePlace &place, uint64_t dataSize)
{
    return place.offset <= dataSize && place.size <= dataSize - place.offset;
}

template <typename Record>
Record RecordIn(std::string_view bytes)
{
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

} // namespace

RecordingReader::RecordingReader(const fs::path &folder)
    : m_folder(folder), m_device(DeviceIn(folder)), m_index(folder / indexFile, OwnedFile::For::Reading),
      m_data(folder / dataFile, OwnedFile::For::Reading)
{
    ReadIndex();
}

uint64_t RecordingReader::LargestFrame() const
{
    const auto largest = std::ranges::max_element(m_frames, {}, [](const auto &f) { return f.place.size; });
    return largest == m_frames.end() ? 0 : largest->place.size;
}

void RecordingReader::ReadIndex()
{
    const auto size = m_index.Size();
    const auto dataSize = m_data.Size();
    const IndexHeader expected;
    IndexHeader header;
    if (size < sizeof header || (m_index.Read(0, &header, sizeof header),
                                 std::memcmp(&header.magic, &expected.magic, sizeof header.magic) != 0))
    {
        Damaged(m_index.Path(), "it does not begin like an index");
    }
    if (header.version != formatVersion)
    {
        Damaged(m_index.Path(), fmt::format("it has version {} of the format", header.version));
    }
    m_end = ReadEnd(size);
    const auto limit = m_end ? size - endSize : size;
    uint64_t offset = sizeof header;
    while (ReadEntry(offset, limit))
    {
    }
    if (m_end)
    {
        CheckComplete(offset, limit, dataSize);
        return;
    }
    const auto torn =
        std::ranges::find_if(m_frames, [&](const Frame &frame) { return !IsWithin(frame.place, dataSize); });
    m_frames.erase(torn, m_frames.end());
}

/// The last entry; none when the recording was not completed.
std::optional<EndRecord> RecordingReader::ReadEnd(uint64_t size) const
{
    if (size < sizeof(IndexHeader) + endSize)
    {
        return std::nullopt;
    }
    EntryHeader header;
    m_index.Read(size - endSize, &header, sizeof header);
    const auto bytes = m_index.Read(size - sizeof(EndRecord), sizeof(EndRecord));
    const bool isEnd =
        header.kind == endEntry && header.length == bytes.size() && header.checksum == Checksum(bytes);
    return isEnd ? std::optional(RecordIn<EndRecord>(bytes)) : std::nullopt;
}

/// Reads the entry of a frame at `offset` and moves behind it. Returns false at the first that is not whole.
bool RecordingReader::ReadEntry(uint64_t &offset, uint64_t limit)
{
    EntryHeader header;
    if (limit - offset < sizeof header)
    {
        return false;
    }
    m_index.Read(offset, &header, sizeof header);
    const auto start = offset + sizeof header;
    if (header.kind != frameEntry || header.length < sizeof(FramePlace) || header.length > longestEntry ||
        limit - start < header.length)
    {
        return false;
    }
    const auto bytes = m_index.Read(start, header.length);
    if (Checksum(bytes) != header.checksum)
    {
        return false;
    }
    m_frames.push_back({RecordIn<FramePlace>(bytes), start + sizeof(FramePlace),
                        static_cast<uint32_t>(header.length - sizeof(FramePlace))});
    offset = start + header.length;
    return true;
}

void RecordingReader::CheckComplete(uint64_t end, uint64_t limit, uint64_t dataSize) const
{
    if (m_end->frames != m_frames.size() || end != limit)
    {
        Damaged(m_index.Path(), fmt::format("{} of {} frames can be read", m_frames.size(), m_end->frames));
    }
    const bool areWithin =
        std::ranges::all_of(m_frames, [&](const Frame &frame) { return IsWithin(frame.place, dataSize); });
    if (m_end->dataSize != dataSize || !areWithin)
    {
        Damaged(m_data.Path(), fmt::format("it has {} bytes, {} were recorded", dataSize, m_end->dataSize));
    }
}

FrameRecord RecordingReader::Record(size_t frame) const
{
    const auto &found = m_frames[frame];
    try
    {
        auto record = FrameFromBytes(m_index.Read(found.recordOffset, found.recordLength));
        record.time = found.place.time;
        return record;
    }
    catch (const Error &error)
    {
        Damaged(m_index.Path(), fmt::format("frame {}: {}", frame, error.what()));
    }
}

void RecordingReader::ReadFrame(size_t frame, std::span<uint8_t> out) const
{
    const auto &place = m_frames[frame].place;
    m_data.Read(place.offset, out.data(), place.size);
    if (Checksum(out.first(place.size)) != place.checksum)
    {
        Damaged(m_data.Path(), fmt::format("frame {} is not as it was recorded", frame));
    }
}

void RecordingReader::Damaged(const fs::path &file, const std::string &cause) const
{
    throw Error("{} is damaged: {}. Copy the recording again", file.string(), cause);
}

} // namespace recording
