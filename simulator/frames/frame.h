#pragma once

#include "simulator/frames/chunk.h"
#include "simulator/sources/frame_source.h"

#include <gentl/gentl.h>
#include <memory>
#include <vector>

namespace GenTL::simulator
{

/// An image of a frame. Several follow each other without gaps.
struct FramePart
{
    ImageSettings image;
    size_t offset; ///< bytes from the beginning of the frame

    PARTDATATYPE_IDS Type() const;
};

/// What a camera sends for a frame, as its features say. Constant once made.
struct FrameSettings
{
    std::vector<FramePart> parts; ///< at least one
    double exposureTime;          ///< us
    double gain;                  ///< dB
    bool frameCheck;
    std::vector<Chunk> chunks; ///< in the order of the buffer; empty without chunk mode
    size_t payloadSize;

    /// Of all parts together.
    size_t ImageBytes() const { return parts.back().offset + parts.back().image.Bytes(); }
};

/// Bytes of the images as a chunk: GigE Vision keeps chunks at multiples of four bytes.
size_t ImageChunkSize(const FrameSettings &settings);

/// Bytes of a frame with its chunks.
size_t PayloadSize(const FrameSettings &settings);

/// The camera's order to send one frame.
struct FrameOrder
{
    uint64_t number;    ///< from 1 since AcquisitionStart
    uint64_t timestamp; ///< ns
    std::shared_ptr<const FrameSettings> settings;
};

/// What a buffer holds after it was filled.
struct Frame
{
    FrameOrder order;
    size_t filled; ///< bytes
    bool cutOff;   ///< the frame was larger than the buffer
    std::vector<SINGLE_CHUNK_DATA> chunks;
};

/// Makes the bytes of frames. Lives on the acquisition thread of a stream.
class FrameWriter
{
public:
    /// Makes a source of the camera's images for each part of a frame.
    explicit FrameWriter(MakeFrameSource makeSource);

    /// Fills the buffer; of a frame that does not fit it writes the beginning.
    Frame Write(const FrameOrder &order, std::span<uint8_t> buffer);

private:
    void WriteWhole(Frame &frame, std::span<uint8_t> payload);
    void WriteImages(const FrameOrder &order, std::span<uint8_t> images);
    void WriteChunks(Frame &frame, std::span<uint8_t> payload) const;
    void AddSources();
    FrameSource &SourceFor(const ImageSettings &settings, size_t part);

    /// Where the images of a part come from.
    struct PartSources
    {
        std::unique_ptr<FrameSource> camera;
        std::unique_ptr<FrameSource> pattern;
        std::unique_ptr<ImageSettings> prepared; ///< what the source in use was prepared for
    };

    MakeFrameSource m_makeSource;
    std::vector<PartSources> m_sources; ///< of as many parts as a frame had so far
    std::vector<uint8_t> m_oversize;    ///< for frames that do not fit their buffer
};

} // namespace GenTL::simulator
