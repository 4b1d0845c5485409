#pragma once

#include "simulator/frames/chunk.h"
#include "simulator/frames/frame_answers.h"
#include "simulator/sources/frame_source.h"

#include <gentl/gentl.h>
#include <memory>
#include <vector>

namespace GenTL::simulator
{

/// An image of a frame. The images of a frame follow each other without gaps.
struct FramePart
{
    ImageSettings image;
    size_t offset; ///< bytes from the beginning of the frame

    PARTDATATYPE_IDS Type() const;
};

/// The layout and the content settings of a frame, taken from the camera's features. Constant once made.
struct FrameSettings
{
    std::vector<FramePart> parts; ///< at least one
    double exposureTime;          ///< us
    double gain;                  ///< dB
    bool frameCheck;
    std::vector<Chunk> chunks; ///< in the order of the buffer; empty without chunk mode
    size_t payloadSize;
    uint64_t ticksPerSecond; ///< of the time stamps
    bool bigEndianChunks;    ///< the values in chunks
    bool bigEndianTrailers;  ///< the id and the length behind each chunk

    /// Bytes of all parts together.
    size_t ImageBytes() const { return parts.back().offset + parts.back().image.Bytes(); }
};

/// Bytes of the images as a chunk: GigE Vision pads chunks to a multiple of four.
size_t ImageChunkSize(const FrameSettings &settings);

/// Bytes of a frame, its chunks included.
size_t PayloadSize(const FrameSettings &settings);

/// The camera's order to send one frame.
struct FrameOrder
{
    uint64_t number;                               ///< from 1 since AcquisitionStart
    uint64_t timestamp;                            ///< ticks
    std::shared_ptr<const FrameSettings> settings; ///< null for a recorded frame
};

/// The content of a filled buffer.
struct Frame
{
    FrameOrder order;
    size_t filled; ///< bytes
    bool cutOff;   ///< the frame was larger than the buffer
    std::vector<SINGLE_CHUNK_DATA> chunks;
    std::shared_ptr<const FrameAnswers> answers = {}; ///< of a recorded frame
};

/// Makes the bytes of frames. Made by the stream, and used on its acquisition thread alone.
class FrameMaker
{
public:
    FrameMaker() = default;
    FrameMaker(const FrameMaker &) = delete;
    FrameMaker &operator=(const FrameMaker &) = delete;
    virtual ~FrameMaker() = default;

    /// Fills the buffer. A frame that does not fit is cut off at the end of the buffer.
    /// @throws Error the frame cannot be made
    virtual Frame Write(const FrameOrder &order, std::span<uint8_t> buffer) = 0;
};

/// Makes the frames of a simulated camera from its images.
class FrameWriter final : public FrameMaker
{
public:
    /// `makeSource` is called once for each part of a frame.
    /// @throws Error what `makeSource` throws
    explicit FrameWriter(MakeFrameSource makeSource);

    Frame Write(const FrameOrder &order, std::span<uint8_t> buffer) override;

private:
    void WriteWhole(Frame &frame, std::span<uint8_t> payload);
    void WriteImages(const FrameOrder &order, std::span<uint8_t> images);
    void WriteChunks(Frame &frame, std::span<uint8_t> payload) const;
    void AddSources();
    FrameSource &SourceFor(const ImageSettings &settings, size_t part);

    /// The sources of the images of one part.
    struct PartSources
    {
        std::unique_ptr<FrameSource> camera;
        std::unique_ptr<FrameSource> pattern;
        std::unique_ptr<ImageSettings> prepared; ///< the settings that the source in use was prepared for
    };

    MakeFrameSource m_makeSource;
    std::vector<PartSources> m_sources; ///< by part; as many as the largest frame so far had parts
    std::vector<uint8_t> m_oversize;    ///< for frames that do not fit their buffer
};

} // namespace GenTL::simulator
