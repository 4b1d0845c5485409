#pragma once

#include "simulator/cameras/streamed_camera.h"
#include "simulator/streaming/buffer_pool.h"
#include "simulator/streaming/pacer.h"

#include <thread>

namespace GenTL::simulator
{

/// Fills the buffers of a stream with the camera's frames, on a thread of its own.
///
///     Stopped --Start--> Grabbing --last frame--> Finished
///     Stopped <--Stop--- Grabbing, Finished;  Finished --Start--> Grabbing;  any --Close--> Closed
///
/// Without a frame rate the thread waits for a buffer before it asks the camera for a frame, so no frame is
/// lost; with a frame rate a frame that finds no buffer is dropped and counted. Owned by the stream, which
/// serialises Start, Stop and Close. `mutex` is the lock of the new-buffer event.
class AcquisitionThread
{
public:
    AcquisitionThread(StreamedCamera &camera, BufferPool &pool, Event::Mutex mutex);

    /// Checks that Start may be called now. With the lock held.
    /// @throws Error GC_ERR_INVALID_HANDLE: it is closed.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is grabbing.
    void RequireStartable() const;

    /// Starts to send `frames` frames, GENTL_INFINITE for no limit. Without the lock held.
    /// @throws Error when the camera has no images to send
    void Start(uint64_t frames);

    /// Ends the thread after its frame under way, which it delivers or discards. Without the lock held.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it was not started.
    void Stop(bool discard);

    /// Ends the thread for good; the frame under way is discarded. Without the lock held.
    void Close();

    /// With the lock held.
    bool IsGrabbing() const { return m_state == State::Grabbing; }

    /// Tells the thread that the input pool changed. With the lock held.
    void Wake() { m_wake.notify_all(); }

    /// Tells the thread that the camera started, stopped or changed its rate. Without the lock held.
    void CameraChanged();

private:
    enum class State
    {
        Stopped,
        Grabbing,
        Finished, ///< by itself, after its last frame
        Closed
    };

    void End(State state, bool discard);
    void Run(FrameMaker &frames);
    bool WaitForTurn(std::unique_lock<std::mutex> &lock, Pacer &pacer);
    void SendFrame(std::unique_lock<std::mutex> &lock, FrameMaker &frames);
    void Deliver(const std::shared_ptr<Buffer> &buffer, Frame frame);

    StreamedCamera &m_camera;
    BufferPool &m_pool;
    const Event::Mutex m_mutex; ///< guards what follows, but for the thread
    State m_state = State::Stopped;
    bool m_discard = false;       ///< whether to discard the frame under way
    uint64_t m_remaining = 0;     ///< frames to deliver
    uint64_t m_cameraSignals = 0; ///< how often CameraChanged was called
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace GenTL::simulator
