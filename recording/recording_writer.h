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

namespace recording
{

/// Writes a recording into a new folder: the device first, then frames as they come. A reader finds every
/// appended frame, even if the program ends without Finish. For one thread at a time. All operations throw
/// Error when the disk is full or fails.
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

    std::filesystem::path m_folder;
    OwnedFile m_data;
    OwnedFile m_index;
    uint64_t m_indexSize = 0;
    uint64_t m_reserved = 0; ///< bytes of the data file with room on the disk
    EndRecord m_end;
};

} // namespace recording
