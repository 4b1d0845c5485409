#include "datastream/acquisition_worker.h"

#include "datastream/frame_transfer.h"
#include "utils/at_end.h"
#include "utils/checks.h"
#include "utils/log.h"

#include <chrono>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr std::chrono::milliseconds callbackPause{50};

/// Runs an action of the acquisition thread, logging whatever it throws.
template <typename Action>
void RunLogged(Action action)
{
    try
    {
        action();
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, std::string_view(exception.what()));
    }
    catch (...)
    {
        QVR_LOG_CRITICAL_FOR(acquisitionThreadFunction, "Unknown exception thrown in acquisition thread");
    }
}

} // namespace

AcquisitionWorker::AcquisitionWorker(std::unique_ptr<IProxyDataStream> proxyStream,
                                     std::shared_ptr<IFrameProcessor> processor,
                                     std::unique_ptr<IFrameReader> reader, const StreamRules &rules)
    : m_proxyStream(std::move(proxyStream)), m_processor(std::move(processor)), m_reader(std::move(reader)),
      m_rules(rules)
{
}

AcquisitionWorker::~AcquisitionWorker()
{
    if (IsRunning())
    {
        CloseQuietly([this] { StopAcquisition(); });
    }
    // A thread that ended by itself may still be in the finished callback.
    JoinThread();
}

void AcquisitionWorker::StartAcquisition(uint64_t iNumToAcquire)
{
    if (!m_bufferSource || !m_bufferSink)
    {
        throw GenTLException("No callbacks registered to acquire / push buffers!", GC_ERR_ERROR);
    }
    utils::CheckNotZero("iNumToAcquire", iNumToAcquire);
    if (IsRunning())
    {
        throw GenTLException("Acquisition is already started!", GC_ERR_ERROR);
    }
    try
    {
        StartLower();
    }
    catch (...)
    {
        if (m_rules.stopAlwaysSucceeds)
        {
            m_processor->AcquisitionStopped();
            m_proxyStream->RevokeBuffers();
        }
        throw;
    }
    JoinThread();
    Take(AcquisitionStep::Start);
    m_numToAcquire = iNumToAcquire;
    m_thread = std::jthread([this] { RunAcquisition(); });
}

void AcquisitionWorker::StartLower()
{
    m_processor->AcquisitionStarted();
    m_proxyStream->AnnounceBuffers();
    // Without a limit on the lower side, since frames that find no consumer buffer must not count.
    m_proxyStream->StartAcquisition(GENTL_INFINITE);
}

void AcquisitionWorker::StopAcquisition()
{
    // Of two concurrent stops only one takes the step. Only this one may join the thread.
    if (!Take(AcquisitionStep::Stop))
    {
        if (m_rules.stopAlwaysSucceeds)
        {
            // Here the caller makes one stop at a time, so only a thread that ends by itself can be left.
            return JoinThread();
        }
        throw GenTLException("Acquisition is already stopped!", GC_ERR_ERROR);
    }
    m_proxyStream->StopAcquisition();
    JoinThread();
    m_processor->AcquisitionStopped();
    m_proxyStream->RevokeBuffers();
}

// The stream object ends in any case, so this goes on after a failure.
void AcquisitionWorker::KillAcquisition()
{
    Take(AcquisitionStep::Kill);
    try
    {
        m_proxyStream->StopAcquisition();
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR("Failed to stop acquisition in proxy: {}", exception.what());
    }
    try
    {
        // Waits until no frame is in process: the revoke takes its memory away.
        const utils::MutexLock frame(m_frameMutex);
        m_proxyStream->RevokeBuffers();
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR("Failed to revoke buffers in proxy: {}", exception.what());
    }
    JoinThread();
    m_processor->AcquisitionStopped();
}

bool AcquisitionWorker::IsRunning() const
{
    return internal::IsRunning(m_state);
}

/// The one place where the state changes. False when the graph has no such step from the present state, which
/// then stays.
bool AcquisitionWorker::Take(AcquisitionStep step)
{
    auto state = m_state.load();
    for (;;)
    {
        const auto next = StateAfter(state, step);
        if (!next || m_state.compare_exchange_weak(state, *next))
        {
            return next.has_value();
        }
    }
}

void AcquisitionWorker::JoinThread()
{
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void AcquisitionWorker::SetBufferCallbacks(BufferSource source, BufferSink sink)
{
    m_bufferSource = std::move(source);
    m_bufferSink = std::move(sink);
}

void AcquisitionWorker::SetFinishedCallback(std::function<void()> finished)
{
    m_finished = std::move(finished);
}

uint64_t AcquisitionWorker::GetPayloadSize()
{
    return m_processor->PayloadSize();
}

std::optional<uint64_t> AcquisitionWorker::GetDroppedFrameCount()
{
    return m_proxyStream->GetDroppedFrameCount();
}

void AcquisitionWorker::RunAcquisition()
{
    m_lastWaitFailure = GC_ERR_SUCCESS;
    m_reader->Begin();
    FrameTransfer transfer(*m_reader, *m_processor, m_bufferSource, m_bufferSink, m_numToAcquire, m_rules);
    while (IsRunning() && !transfer.IsComplete())
    {
        if (!WaitForCallbacks())
        {
            break;
        }
        bool goesOn = true;
        RunLogged([&] { goesOn = m_rules.logsTimeouts ? RunPass(transfer) : RunQuietPass(transfer); });
        if (!goesOn)
        {
            return;
        }
    }
    if (transfer.IsComplete())
    {
        FinishLimitedAcquisition();
    }
    Take(AcquisitionStep::End);
    if (m_finished)
    {
        m_finished();
    }
}

// A start without callbacks fails. If the callbacks are reset later, the thread waits here for new ones or
// for a stop.
bool AcquisitionWorker::WaitForCallbacks()
{
    while (!m_bufferSource || !m_bufferSink)
    {
        std::this_thread::sleep_for(callbackPause);
        if (!IsRunning())
        {
            return false;
        }
    }
    return true;
}

/// Handles one lower buffer. False after a kill: from then on the thread must touch nothing.
bool AcquisitionWorker::RunPass(FrameTransfer &transfer)
{
    const auto lower = m_proxyStream->WaitForBuffer(m_rules.waitMs);
    const utils::MutexLock frame(m_frameMutex);
    if (IsKilled(m_state))
    {
        return false;
    }
    const utils::AtEnd requeue([&] { Requeue(lower); });
    if (IsRunning())
    {
        transfer.Transfer(lower);
    }
    return true;
}

bool AcquisitionWorker::RunQuietPass(FrameTransfer &transfer)
{
    try
    {
        return RunPass(transfer);
    }
    catch (const GenTLException &failure)
    {
        EndWait(failure);
        return true;
    }
}

/// A wait that ended without a buffer. Only an unusual end is logged, once in a row.
void AcquisitionWorker::EndWait(const GenTLException &failure)
{
    const auto code = failure.Code();
    if (code == GC_ERR_TIMEOUT || code == GC_ERR_ABORT)
    {
        return;
    }
    if (std::exchange(m_lastWaitFailure, code) != code)
    {
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, std::string_view(failure.what()));
    }
    // A device that is gone fails each wait at once.
    std::this_thread::sleep_for(std::chrono::milliseconds(m_rules.failurePauseMs));
}

// Leaves the thread joinable until the next start or the end of the worker. The processor stays frozen as
// well, unless StreamRules::stopAlwaysSucceeds lets a later stop succeed without thawing it.
void AcquisitionWorker::FinishLimitedAcquisition()
{
    Take(AcquisitionStep::LastFrame);
    RunLogged(
        [this]
        {
            m_proxyStream->StopAcquisition();
            m_proxyStream->RevokeBuffers();
            if (m_rules.stopAlwaysSucceeds)
            {
                m_processor->AcquisitionStopped();
            }
        });
}

void AcquisitionWorker::Requeue(const ProxyBuffer &lower) noexcept
{
    try
    {
        m_proxyStream->RequeueBuffer(lower);
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(acquisitionThreadFunction, std::string_view(exception.what()));
    }
}

} // namespace GenTL::internal
