#pragma once

#include "datastream/buffer_questions.h"
#include "datastream/device_clock.h"
#include "datastream/i_frame_reader.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// Where the frames of a stream come from.
struct FrameSource
{
    std::shared_ptr<DeviceClock> clock;
    std::string tlType; ///< transport layer type
};

/// Reads all that the lower producer tells of a frame, and completes it where one value follows from others.
///
/// Reads past the lower producer's exceptions: what a frame does not tell costs a call and no more. A frame
/// that contradicts itself comes with a failure instead of an exception, so that it keeps its number and its
/// time. Owned by the AcquisitionWorker; only the acquisition thread calls it.
class FullFrameReader final : public IFrameReader
{
public:
    explicit FullFrameReader(const FrameSource &source);

    void Begin() override;
    LowerFrame Read(const ProxyBuffer &buffer) override;

private:
    void ReadContents(const ProxyBuffer &buffer, InputData &input);
    void ReadMemory(const ProxyBuffer &buffer, InputData &input) const;
    void ReadAttributes(BufferMetadata &attributes) const;
    void ReadSizes(InputData &input) const;
    void ReadParts(const ProxyBuffer &buffer, InputData &input);
    BufferPartInfo ReadPart(const ProxyBuffer &buffer, uint32_t index, const InputData &input);
    void ReadPartMemory(uint32_t index, const InputData &input, BufferPartInfo &part) const;
    void ReadChunks(const ProxyBuffer &buffer, InputData &input);

    std::shared_ptr<DeviceClock> m_clock;
    ChunkTrailers m_trailers;
    BufferQuestions m_questions;
    PartQuestions m_partQuestions;
    bool m_asksForParts = true;  ///< until a frame that does not announce parts has none
    bool m_asksForChunks = true; ///< until the lower producer has no lists of chunks
    uint64_t m_nextFrameId = 1;
};

} // namespace GenTL::internal
