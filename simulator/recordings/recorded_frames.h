#pragma once

#include "recording/recording_reader.h"
#include "simulator/frames/frame.h"

#include <memory>
#include <vector>

namespace GenTL::simulator
{

/// Reads the frames of a recording. Begins again after the last one; frame numbers and time stamps go on
/// rising.
class RecordedFrames final : public FrameMaker
{
public:
    /// @throws Error GC_ERR_IO: the recording has no frames, or is damaged.
    explicit RecordedFrames(std::shared_ptr<const recording::RecordingReader> recording);

    Frame Write(const FrameOrder &order, std::span<uint8_t> buffer) override;

private:
    const std::shared_ptr<const recording::RecordingReader> m_recording;
    recording::FrameRecord m_first;
    recording::FrameRecord m_last;
    std::vector<uint8_t> m_oversize; ///< for frames that do not fit their buffer
};

} // namespace GenTL::simulator
