#include "recording/recording_writer.h"

#include "recording/device_file.h"
#include "recording/error.h"
#include "recording/file_names.h"
#include "recording/frame_bytes.h"

#include <utility>

namespace recording
{

namespace fs = std::filesystem;

namespace
{

/// Room that is made on the disk at once.
constexpr uint64_t reserveStep = uint64_t{256} << 20U;

template <typename Record>
std::string_view BytesOf(const Record &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

} // namespace

FirstFiles::FirstFiles(fs::path folder) : m_folder(std::move(folder))
{
    for (const auto *name : {deviceFile, dataFile, indexFile})
    {
        std::error_code error;
        const bool isThere = fs::exists(m_folder / name, error);
        if (error)
        {
            throw Error("{} cannot be made: {}", (m_folder / name).string(), error.message());
        }
        if (isThere)
        {
            throw Error("{} holds a recording already; name another folder", m_folder.string());
        }
    }
    MakeFolder(m_folder);
}

FirstFiles::~FirstFiles()
{
    while (!m_isKept && !m_made.empty())
    {
        std::error_code ignored; // a folder may have other files
        fs::remove(m_made.back(), ignored);
        m_made.pop_back();
    }
}

fs::path FirstFiles::Add(const std::string &name)
{
    auto file = m_folder / name;
    MakeFolder(file.parent_path());
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(file, ignored))) // else it is somebody's, and opening it will fail
    {
        m_made.push_back(file);
    }
    return file;
}

void FirstFiles::MakeFolder(const fs::path &folder)
{
    std::error_code error;
    if (fs::create_directories(folder, error))
    {
        m_made.push_back(folder);
    }
    if (std::error_code ignored; !fs::is_directory(folder, ignored))
    {
        throw Error("{} cannot be made: {}", folder.string(), error.message());
    }
}

RecordingWriter::RecordingWriter(const fs::path &folder, const DeviceRecord &device)
    : m_files(folder), m_data(m_files.Add(dataFile), OwnedFile::For::Writing),
      m_index(m_files.Add(indexFile), OwnedFile::For::Writing)
{
    AddFile(DescriptionFile(device), device.description);
    for (const auto &file : device.registers.fileAccess.files)
    {
        AddFile(FileNameFor(file), file.content);
    }
    AddFile(deviceFile, ToJson(device));
    const IndexHeader header;
    m_index.Write(0, &header, sizeof header);
    m_indexSize = sizeof header;
}

void RecordingWriter::AddFile(const std::string &name, std::string_view content)
{
    OwnedFile(m_files.Add(name), OwnedFile::For::Writing).Write(0, content.data(), content.size());
}

void RecordingWriter::Append(const FrameRecord &record, std::span<const uint8_t> bytes)
{
    const auto end = m_end.dataSize + bytes.size();
    if (end > m_reserved)
    {
        m_data.Reserve(m_reserved, end - m_reserved + reserveStep);
        m_reserved = end + reserveStep;
    }
    // The frame is written before its entry, so that no entry stands for a missing frame.
    m_data.Write(m_end.dataSize, bytes.data(), bytes.size());
    const FramePlace place{m_end.dataSize, bytes.size(), record.time, Checksum(bytes), 0};
    AppendEntry(frameEntry, std::string(BytesOf(place)) + ToBytes(record));
    m_end.dataSize = end;
    ++m_end.frames;
    m_files.Keep();
}

void RecordingWriter::AppendEntry(uint32_t kind, std::string_view bytes)
{
    const EntryHeader header{kind, static_cast<uint32_t>(bytes.size()), Checksum(bytes)};
    const auto entry = std::string(BytesOf(header)).append(bytes);
    m_index.Write(m_indexSize, entry.data(), entry.size());
    m_indexSize += entry.size();
}

void RecordingWriter::Finish(uint64_t lost, uint64_t unwritten)
{
    m_data.Trim(m_end.dataSize); // first, because a full disk needs the room for the last entry
    m_index.Trim(m_indexSize);
    m_end.lost = lost;
    m_end.unwritten = unwritten;
    AppendEntry(endEntry, BytesOf(m_end));
    m_files.Keep();
}

} // namespace recording
