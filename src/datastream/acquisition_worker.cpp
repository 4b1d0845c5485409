#include "datastream/acquisition_worker.h"

#include "datastream/buffer.h"
#include "datastream/lower_frame.h"
#include "utils/at_end.h"
#include "utils/checks.h"
#include "utils/log.h"

#include <chrono>
#include <span>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr uint64_t waitForBufferMs = 10000;
constexpr std::chrono::milliseconds callbackPause{50};

/// What every record of the acquisition thread names.
constexpr auto threadFunction = "AcquisitionWorker::RunAcquisition";

/// Runs an action of the acquisition thread, out of which nothing may come.
template <typename Action>
void RunLogged(Action action)
{
    try
    {
        action();
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(threadFunction, std::string_view(exception.what()));
    }
    catch (...)
    {
        QVR_LOG_CRITICAL_FOR(threadFunction, "Unknown exception thrown in acquisition thread");
    }
}

} // namespace

AcquisitionWorker::AcquisitionWorker(std::unique_ptr<IProxyDataStream> proxyStream,
                                     std::shared_ptr<IProcessor> processor)
    : m_proxyStream(std::move(proxyStream)), m_processor(std::move(processor))
{
}

AcquisitionWorker::~AcquisitionWorker()
{
    if (m_running)
    {
        CloseQuietly([this] { StopAcquisition(); });
    }
    // A thread that ended by itself may still be calling back.
    JoinThread();
}

void AcquisitionWorker::StartAcquisition(uint64_t iNumToAcquire)
{
    if (!m_bufferSource || !m_bufferSink)
    {
        throw GenTLException("No callbacks registered to acquire / push buffers!", GC_ERR_ERROR);
    }
    utils::CheckNotZero("iNumToAcquire", iNumToAcquire);
    if (m_running)
    {
        throw GenTLException("Acquisition is already started!", GC_ERR_ERROR);
    }
    m_processor->AcquisitionStarted();
    m_proxyStream->AnnounceBuffers();
    // The lower stream has no limit: frames that find no consumer buffer do not count here.
    m_proxyStream->StartAcquisition(GENTL_INFINITE);
    JoinThread();
    m_running = true;
    m_numToAcquire = iNumToAcquire;
    m_thread = std::jthread([this] { RunAcquisition(); });
}

void AcquisitionWorker::StopAcquisition()
{
    // In one step: of two stops at a time only one may join the thread.
    if (!m_running.exchange(false))
    {
        throw GenTLException("Acquisition is already stopped!", GC_ERR_ERROR);
    }
    m_proxyStream->StopAcquisition();
    JoinThread();
    m_processor->AcquisitionStopped();
    m_proxyStream->RevokeBuffers();
}

// For the end of the stream: goes on after failures.
void AcquisitionWorker::KillAcquisition()
{
    m_running = false;
    m_killed = true;
    try
    {
        m_proxyStream->StopAcquisition();
    }
    catch (const std::exception &exception)
    {
        SPDLOG_ERROR("Failed to stop acquisition in proxy: {}", exception.what());
    }
    try
    {
        // The memory of a frame in process goes with its buffer.
        const utils::MutexLock frame(m_frameMutex);
        m_proxyStream->RevokeBuffers();
    }
    catch (const std::exception &exception)
    {
        SPDLOG_ERROR("Failed to revoke buffers in proxy: {}", exception.what());
    }
    JoinThread();
    m_processor->AcquisitionStopped();
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
    Progress progress{.remaining = m_numToAcquire};
    while (m_running && progress.remaining != 0)
    {
        if (!WaitForCallbacks())
        {
            break;
        }
        bool goesOn = true;
        RunLogged([&] { goesOn = RunPass(progress); });
        if (!goesOn)
        {
            return;
        }
    }
    if (progress.remaining == 0)
    {
        FinishLimitedAcquisition();
    }
    CallFinished();
}

bool AcquisitionWorker::WaitForCallbacks()
{
    while (!m_bufferSource || !m_bufferSink)
    {
        std::this_thread::sleep_for(callbackPause);
        if (!m_running)
        {
            return false;
        }
    }
    return true;
}

/// One lower buffer. False when the stream was killed meanwhile: nothing may be touched any more then.
bool AcquisitionWorker::RunPass(Progress &progress)
{
    const auto lower = m_proxyStream->WaitForBuffer(waitForBufferMs);
    const utils::MutexLock frame(m_frameMutex);
    if (m_killed)
    {
        return false;
    }
    const utils::AtEnd requeue([&] { Requeue(lower); });
    if (m_running)
    {
        TransferFrame(lower, progress);
    }
    return true;
}

void AcquisitionWorker::TransferFrame(const ProxyBuffer &lower, Progress &progress)
{
    const auto buffer = m_bufferSource();
    if (!buffer)
    {
        QVR_LOG_ERROR_FOR(threadFunction, "No buffer available");
        return;
    }
    const utils::AtEnd push([&] { Push(buffer); });
    if (buffer->GetSize() < lower.Size())
    {
        buffer->SetResult(false, 0, false);
        QVR_LOG_ERROR_FOR(threadFunction, "Acquired buffer size ({}) is larger than expected ({})",
                          lower.Size(), buffer->GetSize());
        return;
    }
    FillBuffer(lower, *buffer, progress);
}

void AcquisitionWorker::FillBuffer(const ProxyBuffer &lower, Buffer &buffer, Progress &progress)
{
    const auto frame = ReadLowerFrame(lower, progress.nextFrameId);
    if (frame.isIncomplete)
    {
        buffer.SetResult(false, 0, true);
    }
    else
    {
        auto result = m_processor->Process(
            frame.input, std::span(static_cast<uint8_t *>(buffer.GetBase()), buffer.GetSize()));
        buffer.SetMetadata(result.attributes);
        buffer.SetParts(std::move(result.parts));
        // A frame without chunks leaves those of an earlier one: consumers know it so.
        if (result.chunks)
        {
            buffer.SetChunks(result.chunks->entries, result.chunks->payloadSize, result.chunks->layoutId);
        }
        buffer.SetResult(true, result.bytesWritten, true);
    }
    if (progress.remaining != GENTL_INFINITE)
    {
        --progress.remaining;
    }
}

// The processor is not told, and the thread stays joinable: both wait for the next start.
void AcquisitionWorker::FinishLimitedAcquisition()
{
    m_running = false;
    RunLogged(
        [this]
        {
            m_proxyStream->StopAcquisition();
            m_proxyStream->RevokeBuffers();
        });
}

void AcquisitionWorker::CallFinished()
{
    if (m_finished)
    {
        m_finished();
    }
}

// A buffer that the sink refuses is one that a consumer pulled away while it was being filled. There is no
// state left to go on from, so this ends the process rather than hand out a frame that is being overwritten.
void AcquisitionWorker::Push(const std::shared_ptr<Buffer> &buffer) noexcept
{
    m_bufferSink(buffer);
}

void AcquisitionWorker::Requeue(const ProxyBuffer &lower) noexcept
{
    try
    {
        m_proxyStream->RequeueBuffer(lower);
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(threadFunction, std::string_view(exception.what()));
    }
}

} // namespace GenTL::internal
