#pragma once

#include "datastream/acquisition_state.h"
#include "datastream/brief_frame_reader.h"
#include "datastream/i_acquisition_worker.h"
#include "datastream/i_proxy_datastream.h"
#include "processing/i_frame_processor.h"
#include "profile/profile.h"
#include "utils/gentl_exception.h"
#include "utils/mutex.h"

#include <atomic>
#include <memory>
#include <thread>

namespace GenTL::internal
{

class FrameTransfer;

/// Owner of the one thread of a stream's data path: it pairs each filled lower buffer with a free consumer
/// buffer, has the processor write the frame there, and hands the consumer buffer on.
///
/// Owned by its Datastream. AcquisitionState has the states and their graph. The table shows what each call
/// does in each state. A refused call throws; the caller must not make a forbidden one.
///
///     state              start              stop      kill        end of the object
///     Idle               starts             refused   kills       ends
///     Running            refused            stops     kills       stops, ends
///     Stopping           forbidden          refused   forbidden   forbidden
///     Finishing          starts, joins      refused   kills       joins, ends
///     Killed             delivers nothing   refused   kills       ends
///     StartedAfterKill   refused            stops     kills       stops, ends
///
/// Several consumer threads may stop at once: the first one stops. A start, a kill or the end of the object
/// must not run beside another of these calls, so all three are forbidden in Stopping.
///
/// The thread throws nothing: it logs a frame that fails, and the consumer sees the failure in the buffer's
/// flags and in the counters.
class AcquisitionWorker final : public IAcquisitionWorker
{
public:
    AcquisitionWorker(std::unique_ptr<IProxyDataStream> proxyStream,
                      std::shared_ptr<IFrameProcessor> processor,
                      std::unique_ptr<IFrameReader> reader = std::make_unique<BriefFrameReader>(),
                      const StreamRules &rules = {});
    ~AcquisitionWorker() override;

    /// @throws GenTLException GC_ERR_ERROR without callbacks or while running; the failure of the lower
    /// stream, after which nothing runs
    void StartAcquisition(uint64_t iNumToAcquire) override;
    /// With StreamRules::stopAlwaysSucceeds, an acquisition that is about to end by itself is waited for.
    /// @throws otherwise GenTLException "Acquisition is already stopped!"; the failure of the lower stop,
    /// after which the thread goes on until its wait ends
    void StopAcquisition() override;
    void KillAcquisition() override;
    bool IsRunning() const override;
    void SetBufferCallbacks(BufferSource source, BufferSink sink) override;
    void SetFinishedCallback(std::function<void()> finished) override;
    uint64_t GetPayloadSize() override;
    std::optional<uint64_t> GetDroppedFrameCount() override;

private:
    bool Take(AcquisitionStep step);
    void RunAcquisition();
    bool WaitForCallbacks();
    bool RunPass(FrameTransfer &transfer);
    bool RunQuietPass(FrameTransfer &transfer);
    void EndWait(const GenTLException &failure);
    void StartLower();
    void FinishLimitedAcquisition();
    void Requeue(const ProxyBuffer &lower) noexcept;
    void JoinThread();

    std::unique_ptr<IProxyDataStream> m_proxyStream;
    std::shared_ptr<IFrameProcessor> m_processor;
    std::unique_ptr<IFrameReader> m_reader;
    StreamRules m_rules;
    std::jthread m_thread;
    /// Held while a frame is in process, whose memory a kill would revoke. Held over calls into the lower
    /// producer and the vision library. Neither calls a function of this library, so neither waits for this
    /// mutex.
    utils::Mutex m_frameMutex;
    std::atomic<AcquisitionState> m_state = AcquisitionState::Idle;
    uint64_t m_numToAcquire = 0;
    GC_ERROR m_lastWaitFailure = GC_ERR_SUCCESS; ///< for the log; used by the thread alone
    BufferSource m_bufferSource;
    BufferSink m_bufferSink;
    std::function<void()> m_finished;
};

} // namespace GenTL::internal
