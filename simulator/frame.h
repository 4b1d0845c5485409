#ifndef QVR_SIMULATOR_FRAME_H
#define QVR_SIMULATOR_FRAME_H

#include "camera_model.h"

#include <gentl/gentl.h>
#include <memory>
#include <vector>

namespace GenTL::simulator
{

/** What a camera sends for a frame, as its features say. Constant once made. */
struct FrameSettings
{
    ImageSettings image;
    double exposureTime; /**< us */
    double gain;         /**< dB */
    bool frameCheck;
    std::vector<Chunk> chunks; /**< in the order of the buffer; empty without chunk mode */
    size_t payloadSize;
};

/** Bytes of the image as a chunk: GigE Vision keeps chunks at multiples of four bytes. */
size_t ImageChunkSize(const ImageSettings &image);

/** Bytes of a frame with its chunks. */
size_t PayloadSize(const FrameSettings &settings);

/** The camera's order to send one frame. */
struct FrameOrder
{
    uint64_t number;    /**< from 1 since AcquisitionStart */
    uint64_t timestamp; /**< ns */
    std::shared_ptr<const FrameSettings> settings;
};

/** What a buffer holds after it was filled. */
struct Frame
{
    FrameOrder order;
    size_t filled; /**< bytes */
    bool cutOff;   /**< the frame was larger than the buffer */
    std::vector<SINGLE_CHUNK_DATA> chunks;
};

/** Makes the bytes of frames. Lives on the acquisition thread of a stream. */
class FrameWriter
{
public:
    explicit FrameWriter(const CameraModel &model);

    /** Fills the buffer; of a frame that does not fit it writes the beginning. */
    Frame Write(const FrameOrder &order, std::span<uint8_t> buffer);

private:
    void WriteWhole(Frame &frame, std::span<uint8_t> payload);
    void WriteImage(const FrameOrder &order, std::span<uint8_t> image);
    void WriteChunks(Frame &frame, std::span<uint8_t> payload) const;
    FrameSource &SourceFor(const ImageSettings &settings);

    std::unique_ptr<FrameSource> m_camera;
    std::unique_ptr<FrameSource> m_pattern;
    std::unique_ptr<ImageSettings> m_prepared; /**< what the source in use was prepared for */
    std::vector<uint8_t> m_oversize;           /**< for frames that do not fit their buffer */
};

} // namespace GenTL::simulator

#endif
