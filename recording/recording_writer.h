#pragma once

#include "recording/device_record.h"
#include "recording/frame_record.h"
#include "recording/layout.h"
#include "recording/owned_file.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace recording
{

/// The files that a recording begins with. Without Keep, the destructor removes them, and the folder if it is
/// new, so that the same folder can be named again.
class FirstFiles
{
public:
    /// @throws Error the folder cannot be made, or holds a recording already
    explicit FirstFiles(std::filesystem::path folder);
    FirstFiles(const FirstFiles &) = delete;
    FirstFiles &operator=(const FirstFiles &) = delete;
    ~FirstFiles();

    /// The place for a file, whose own folder is made.
    std::filesystem::path Add(const std::string &name);
    void Keep() { m_isKept = true; }

private:
    void MakeFolder(const std::filesystem::path &folder);

    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_made;
    bool m_isKept = false;
};

/// Writes a recording into a new folder: the device first, then frames as they come. A reader finds every
/// appended frame, even if the program ends without Finish; a recording that ends so before its first frame
/// is removed. For one thread at a time. All operations throw Error when the disk is full or fails.
class RecordingWriter
{
public:
    /// @throws Error the folder holds a recording already
    RecordingWriter(const std::filesystem::path &folder, const DeviceRecord &device);

    /// A further file of the recording.
    void AddFile(const std::string &name, std::string_view content);

    /// @param record whose chunks lie within `bytes`
    void Append(const FrameRecord &record, std::span<const uint8_t> bytes);

    uint64_t Frames() const { return m_end.frames; }
    uint64_t Bytes() const { return m_end.dataSize; }

    /// Completes the recording.
    /// @param lost frames that the producer lost
    /// @param unwritten frames that came and were not recorded
    void Finish(uint64_t lost, uint64_t unwritten);

private:
    void AppendEntry(uint32_t kind, std::string_view bytes);

    FirstFiles m_files;
    OwnedFile m_data;
    OwnedFile m_index;
    uint64_t m_indexSize = 0;
    uint64_t m_reserved = 0; ///< bytes of the data file with room on the disk
    EndRecord m_end;
};

} // namespace recording
