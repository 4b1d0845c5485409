#pragma once

#include "datastream/i_acquisition_worker.h"
#include "datastream/i_frame_reader.h"
#include "processing/i_frame_processor.h"
#include "profile/profile.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>

namespace GenTL::internal
{

class ProxyBuffer;

/// The function name in the log records of the acquisition loop.
inline constexpr auto acquisitionThreadFunction = "AcquisitionWorker::RunAcquisition";

/// Carries the frames of one acquisition from lower buffers into consumer buffers, and counts them.
///
/// Lives on the acquisition thread. Reader, processor and callbacks must outlive it.
class FrameTransfer
{
public:
    /// @param numToAcquire GENTL_INFINITE = no limit
    FrameTransfer(IFrameReader &reader, IFrameProcessor &processor, const BufferSource &source,
                  const BufferSink &sink, uint64_t numToAcquire, const StreamRules &rules = {});

    /// Takes a free consumer buffer, writes the frame there and hands the buffer on, also after a failure.
    /// Without a free buffer the frame is lost.
    ///
    /// With StreamRules::deliversWhatArrived, a frame that fails is delivered without data, and its failure
    /// is logged once.
    /// @throws otherwise GenTLException of the lower producer's queries, and whatever the processor throws
    void Transfer(const ProxyBuffer &lower);
    /// Whether the last frame that was asked for is done.
    bool IsComplete() const { return m_remaining == 0; }

private:
    void TransferWhole(const ProxyBuffer &lower);
    void TransferAsArrived(const ProxyBuffer &lower);
    void Fill(const ProxyBuffer &lower, Buffer &buffer);
    void FillAsArrived(LowerFrame &&frame, Buffer &buffer);
    ProcessingResult Process(const InputData &input, Buffer &buffer);
    void CountDown();
    void LogOnce(const std::string &failure);
    void Push(const std::shared_ptr<Buffer> &buffer) noexcept;

    IFrameReader &m_reader;
    IFrameProcessor &m_processor;
    const BufferSource &m_bufferSource;
    const BufferSink &m_bufferSink;
    uint64_t m_remaining;
    bool m_deliversWhatArrived;
    std::set<std::string> m_logged; ///< failures of frames
};

} // namespace GenTL::internal
