#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace GenTL::internal
{

class Buffer;

/// Gives a free consumer buffer, or null when there is none.
using BufferSource = std::function<std::shared_ptr<Buffer>()>;
/// Takes a consumer buffer, filled or failed, to the output side.
using BufferSink = std::function<void(const std::shared_ptr<Buffer> &)>;

/// The acquisition worker as its stream uses it.
class IAcquisitionWorker
{
public:
    IAcquisitionWorker() = default;
    IAcquisitionWorker(const IAcquisitionWorker &) = delete;
    IAcquisitionWorker &operator=(const IAcquisitionWorker &) = delete;
    virtual ~IAcquisitionWorker() = default;

    /// Starts the lower stream and the thread.
    /// @param iNumToAcquire frames, GENTL_INFINITE = no limit
    virtual void StartAcquisition(uint64_t iNumToAcquire) = 0;
    /// Stops the lower stream and joins the thread.
    virtual void StopAcquisition() = 0;
    /// Stops because the stream object ends, and goes on after failures. A later start delivers nothing.
    virtual void KillAcquisition() = 0;
    virtual bool IsRunning() const = 0;
    virtual void SetBufferCallbacks(BufferSource source, BufferSink sink) = 0;
    /// Called on the thread as its last step, but not when a kill finds it with a lower buffer.
    virtual void SetFinishedCallback(std::function<void()> finished) = 0;
    /// Bytes that a consumer buffer needs.
    virtual uint64_t GetPayloadSize() = 0;
    virtual std::optional<uint64_t> GetDroppedFrameCount() = 0;
};

} // namespace GenTL::internal
