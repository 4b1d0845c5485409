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

constexpr uint64_t waitForBufferMs = 10000;
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
                                     std::shared_ptr<IFrameProcessor> processor)
    : m_proxyStream(std::move(proxyStream)), m_processor(std::move(processor))
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
    m_processor->AcquisitionStarted();
    m_proxyStream->AnnounceBuffers();
    // Without a limit on the lower side, since frames that find no consumer buffer must not count.
    m_proxyStream->StartAcquisition(GENTL_INFINITE);
    JoinThread();
    Take(AcquisitionStep::Start);
    m_numToAcquire = iNumToAcquire;
    m_thread = std::jthread([this] { RunAcquisition(); });
}

void AcquisitionWorker::StopAcquisition()
{
    // Of two concurrent stops only one takes the step. Only this one may join the thread.
    if (!Take(AcquisitionStep::Stop))
    {
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
    FrameTransfer transfer(*m_processor, m_bufferSource, m_bufferSink, m_numToAcquire);
    while (IsRunning() && !transfer.IsComplete())
    {
        if (!WaitForCallbacks())
        {
            break;
        }
        bool goesOn = true;
        RunLogged([&] { goesOn = RunPass(transfer); });
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
    const auto lower = m_proxyStream->WaitForBuffer(waitForBufferMs);
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

// Leaves the processor frozen and the thread joinable until the next start, or the end of the worker.
void AcquisitionWorker::FinishLimitedAcquisition()
{
    Take(AcquisitionStep::LastFrame);
    RunLogged(
        [this]
        {
            m_proxyStream->StopAcquisition();
            m_proxyStream->RevokeBuffers();
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
