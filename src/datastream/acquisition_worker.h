#pragma once

#include "datastream/i_acquisition_worker.h"
#include "datastream/i_proxy_datastream.h"
#include "processing/i_processor.h"
#include "utils/mutex.h"

#include <atomic>
#include <memory>
#include <thread>

namespace GenTL::internal
{

/// Owner of the one thread of a stream's data path: it pairs each filled lower buffer with a free consumer
/// buffer, has the processor write the frame there, and hands the consumer buffer on.
///
/// Owned by its Datastream. Idle, then acquiring from StartAcquisition until StopAcquisition, KillAcquisition
/// or the last frame asked for, which the thread notices itself; after a kill it is not started again.
/// Stops may come from several consumer threads at a time: the first one counts. A start or a kill must not
/// run beside another of these calls. Nothing leaves the thread: a frame that fails is logged, and the
/// consumer sees it in the buffer's flags and in the counters.
class AcquisitionWorker final : public IAcquisitionWorker
{
public:
    AcquisitionWorker(std::unique_ptr<IProxyDataStream> proxyStream, std::shared_ptr<IProcessor> processor);
    ~AcquisitionWorker() override;

    /// @throws GenTLException GC_ERR_ERROR without callbacks or while running; whatever the lower stream
    /// fails with, and then it is not running
    void StartAcquisition(uint64_t iNumToAcquire) override;
    /// @throws GenTLException "Acquisition is already stopped!"
    void StopAcquisition() override;
    void KillAcquisition() override;
    bool IsRunning() const override { return m_running; }
    void SetBufferCallbacks(BufferSource source, BufferSink sink) override;
    void SetFinishedCallback(std::function<void()> finished) override;
    uint64_t GetPayloadSize() override;
    std::optional<uint64_t> GetDroppedFrameCount() override;

private:
    struct Progress
    {
        uint64_t remaining; ///< GENTL_INFINITE: no limit
        uint64_t nextFrameId = 1;
    };

    void RunAcquisition();
    bool WaitForCallbacks();
    bool RunPass(Progress &progress);
    void TransferFrame(const ProxyBuffer &lower, Progress &progress);
    void FillBuffer(const ProxyBuffer &lower, Buffer &buffer, Progress &progress);
    void FinishLimitedAcquisition();
    void CallFinished();
    void Push(const std::shared_ptr<Buffer> &buffer) noexcept;
    void Requeue(const ProxyBuffer &lower) noexcept;
    void JoinThread();

    std::unique_ptr<IProxyDataStream> m_proxyStream;
    std::shared_ptr<IProcessor> m_processor;
    std::jthread m_thread;
    /// A frame in process, whose memory a kill would take away. Held over calls into the lower producer and
    /// the vision library, neither of which calls anything of ours, so neither waits for this mutex.
    utils::Mutex m_frameMutex;
    std::atomic<bool> m_running = false;
    std::atomic<bool> m_killed = false; ///< never cleared
    uint64_t m_numToAcquire = 0;
    BufferSource m_bufferSource;
    BufferSink m_bufferSink;
    std::function<void()> m_finished;
};

} // namespace GenTL::internal
