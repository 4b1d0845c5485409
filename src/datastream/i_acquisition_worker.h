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
/// Takes a consumer buffer that is done with.
using BufferSink = std::function<void(const std::shared_ptr<Buffer> &)>;

/// Owner of the one thread of a stream's data path, as the stream uses it.
class IAcquisitionWorker
{
public:
    IAcquisitionWorker() = default;
    IAcquisitionWorker(const IAcquisitionWorker &) = delete;
    IAcquisitionWorker &operator=(const IAcquisitionWorker &) = delete;
    virtual ~IAcquisitionWorker() = default;

    /// Starts the lower stream and the thread. GENTL_INFINITE frames is no limit.
    virtual void StartAcquisition(uint64_t iNumToAcquire) = 0;
    /// Stops in order and joins the thread.
    virtual void StopAcquisition() = 0;
    /// Stops for the end of the stream object; not to be started again.
    virtual void KillAcquisition() = 0;
    virtual bool IsRunning() const = 0;
    virtual void SetBufferCallbacks(BufferSource source, BufferSink sink) = 0;
    /// Called on the thread when it has ended without a stop by the stream.
    virtual void SetFinishedCallback(std::function<void()> finished) = 0;
    /// Bytes that a consumer buffer must have.
    virtual uint64_t GetPayloadSize() = 0;
    virtual std::optional<uint64_t> GetDroppedFrameCount() = 0;
};

} // namespace GenTL::internal
