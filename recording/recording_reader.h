#pragma once

#include "recording/device_record.h"
#include "recording/frame_record.h"
#include "recording/layout.h"
#include "recording/owned_file.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace recording
{

/// Reads a recording. Constant after construction, so several threads may read at once.
///
/// The constructor reads all but the frames, and checks that every frame lies in the data file. A complete
/// recording has all its frames, or it is damaged. An incomplete one, whose program or machine failed, has
/// the frames before the first damage.
class RecordingReader
{
public:
    /// @throws Error the folder is no recording, or it is damaged
    explicit RecordingReader(const std::filesystem::path &folder);

    const std::filesystem::path &Folder() const { return m_folder; }
    const DeviceRecord &Device() const { return m_device; }

    size_t Frames() const { return m_frames.size(); }
    const FramePlace &PlaceOf(size_t frame) const { return m_frames[frame].place; }
    /// The bytes of the largest frame.
    uint64_t LargestFrame() const;

    /// What the writer said at the end; none for a recording that was not completed.
    const std::optional<EndRecord> &End() const { return m_end; }

    /// @throws Error it is damaged
    FrameRecord Record(size_t frame) const;

    /// Reads a frame.
    /// @param out has PlaceOf(frame).size bytes
    /// @throws Error it cannot be read, or is damaged
    void ReadFrame(size_t frame, std::span<uint8_t> out) const;

private:
    struct Frame
    {
        FramePlace place;
        uint64_t recordOffset; ///< in the index
        uint32_t recordLength; ///< bytes
    };

    void ReadIndex();
    std::optional<EndRecord> ReadEnd(uint64_t size) const;
    bool ReadEntry(uint64_t &offset, uint64_t limit);
    void CheckComplete(uint64_t end, uint64_t limit, uint64_t dataSize) const;
    [[noreturn]] void Damaged(const std::filesystem::path &file, const std::string &cause) const;

    std::filesystem::path m_folder;
    DeviceRecord m_device;
    OwnedFile m_index;
    OwnedFile m_data;
    std::vector<Frame> m_frames;
    std::optional<EndRecord> m_end;
};

} // namespace recording
