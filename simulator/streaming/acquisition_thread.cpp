#include "simulator/streaming/acquisition_thread.h"

namespace GenTL::simulator
{

namespace
{

/// Makes a frame; none when memory is short or a picture can no longer be read. Such a frame is lost, like a
/// frame that finds no buffer.
std::optional<Frame> TryWrite(FrameMaker &frames, const FrameOrder &order, std::span<uint8_t> memory)
{
    try
    {
        return frames.Write(order, memory);
    }
    catch (const std::bad_alloc &)
    {
        return std::nullopt;
    }
    catch (const Error &)
    {
        return std::nullopt;
    }
}

} // namespace

AcquisitionThread::AcquisitionThread(StreamedCamera &camera, BufferPool &pool, Event::Mutex mutex)
    : m_camera(camera), m_pool(pool), m_mutex(std::move(mutex))
{
}

void AcquisitionThread::RequireStartable() const
{
    if (m_state == State::Closed)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The stream was closed");
    }
    if (m_state == State::Grabbing)
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The stream is grabbing already");
    }
}

void AcquisitionThread::Start(uint64_t frames)
{
    if (m_thread.joinable())
    {
        m_thread.join(); // it finished by itself
    }
    auto maker = m_camera.MakeFrames();
    const std::lock_guard lock(*m_mutex);
    m_pool.Counters() = {};
    m_remaining = frames;
    m_discard = false;
    m_state = State::Grabbing;
    m_thread = std::thread([this, maker = std::move(maker)] { Run(*maker); });
}

void AcquisitionThread::Stop(bool discard)
{
    {
        const std::lock_guard lock(*m_mutex);
        if (m_state != State::Grabbing && m_state != State::Finished)
        {
            throw Error(GC_ERR_RESOURCE_IN_USE, "The stream was not started");
        }
    }
    End(State::Stopped, discard);
}

void AcquisitionThread::Close()
{
    End(State::Closed, true);
}

void AcquisitionThread::End(State state, bool discard)
{
    {
        const std::lock_guard lock(*m_mutex);
        m_state = state;
        m_discard = discard;
        m_wake.notify_all();
    }
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void AcquisitionThread::CameraChanged()
{
    const std::lock_guard lock(*m_mutex);
    ++m_cameraSignals;
    m_wake.notify_all();
}

void AcquisitionThread::Run(FrameMaker &frames)
{
    Pacer pacer;
    std::unique_lock lock(*m_mutex);
    while (IsGrabbing() && m_remaining > 0)
    {
        if (WaitForTurn(lock, pacer))
        {
            SendFrame(lock, frames);
        }
    }
    m_state = IsGrabbing() ? State::Finished : m_state;
}

bool AcquisitionThread::WaitForTurn(std::unique_lock<std::mutex> &lock, Pacer &pacer)
{
    const auto signals = m_cameraSignals;
    lock.unlock(); // the calls take the camera's lock, which comes before this one
    const bool hasFrame = m_camera.HasFrame();
    const auto rate = m_camera.FrameRate();
    lock.lock();
    const auto changed = [&] { return !IsGrabbing() || m_cameraSignals != signals; };
    if (!hasFrame)
    {
        m_wake.wait(lock, changed);
        return false;
    }
    if (rate > 0.0)
    {
        if (m_wake.wait_until(lock, pacer.Due(rate), changed))
        {
            return false;
        }
        pacer.Sent(rate);
        return true;
    }
    m_wake.wait(lock, [&] { return changed() || m_pool.Sizes().input > 0; });
    return !changed();
}

void AcquisitionThread::SendFrame(std::unique_lock<std::mutex> &lock, FrameMaker &frames)
{
    const auto buffer = m_pool.TakeInput();
    lock.unlock();
    const auto order = m_camera.NextFrame();
    std::optional<Frame> frame;
    if (order && buffer)
    {
        frame = TryWrite(frames, *order, buffer->Memory());
    }
    lock.lock();
    m_pool.Counters().started += frame ? 1 : 0;
    m_pool.Counters().dropped += order && !frame ? 1 : 0;
    if (frame && !m_discard)
    {
        Deliver(buffer, std::move(*frame));
    }
    else if (buffer)
    {
        m_pool.ReturnInput(buffer);
    }
}

void AcquisitionThread::Deliver(const std::shared_ptr<Buffer> &buffer, Frame frame)
{
    buffer->frame = std::move(frame);
    m_pool.ToOutput(buffer);
    if (m_remaining != GENTL_INFINITE)
    {
        --m_remaining;
    }
}

} // namespace GenTL::simulator
