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

/// Reads every value that the lower producer has for a frame, and computes missing ones from others.
///
/// Uses the Try... operations, so a missing value costs one call and no exception. A frame that contradicts
/// itself comes with a failure text instead of an exception, so that it keeps its number and its time. Owned
/// by the AcquisitionWorker; only the acquisition thread calls it.
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
    bool m_asksForParts = true;  ///< false once a frame that announces no parts has none
    bool m_asksForChunks = true; ///< false once the lower producer turns out to have no lists of chunks
    uint64_t m_nextFrameId = 1;
};

} // namespace GenTL::internal
