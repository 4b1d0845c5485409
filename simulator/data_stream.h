#ifndef QVR_SIMULATOR_DATA_STREAM_H
#define QVR_SIMULATOR_DATA_STREAM_H

#include "buffer.h"
#include "camera.h"

#include <list>
#include <thread>

namespace GenTL::simulator
{

/** Keeps a frame rate, without a burst after a pause. */
class Pacer
{
public:
    using Clock = std::chrono::steady_clock;

    /** When the next frame is due. */
    Clock::time_point Due(double rate) const;
    /** A frame is sent now. */
    void Sent(double rate);

private:
    Clock::time_point m_last{};
};

/**
 * The stream of a camera: announced buffers, the input pool, the output queue, and while it grabs the
 * acquisition thread, which fills buffers with the camera's frames.
 *
 * Without a frame rate the thread waits for a buffer before it asks the camera for a frame, so no frame is
 * lost; with one a frame that finds no buffer is dropped and counted. Any thread may call. The lock of the
 * new-buffer event, which is the stream's own, guards the buffers and comes after the
 * locks of the module and of the camera; `m_control`, which comes first, serialises announce, start and stop.
 */
class DataStream : public Module
{
public:
    static constexpr size_t minimumBuffers = 4;
    static constexpr const char *id = "Stream0";

    DataStream(HandleTable &handles, std::shared_ptr<Camera> camera);
    ~DataStream() override;

    Info GetInfo(STREAM_INFO_CMD command) const;

    // Buffers
    /** With null memory the stream allocates it. GC_ERR_INVALID_PARAMETER: `size` is 0. */
    void *Announce(void *memory, size_t size, void *userPointer);
    /** GC_ERR_BUSY: the buffer is queued, being filled or in the output queue. */
    void Revoke(const void *buffer, void **memory, void **userPointer);
    /** GC_ERR_RESOURCE_IN_USE: it is queued already. */
    void Queue(const void *buffer);
    void Flush(ACQ_QUEUE_TYPE operation);
    /** GC_ERR_INVALID_INDEX: fewer buffers are announced. */
    void *BufferAt(uint32_t index) const;

    /** Calls `query` with the buffer while nothing can change it. */
    template <typename Query>
    auto WithBuffer(const void *handle, Query &&query)
    {
        const std::shared_ptr<Buffer> buffer = FindBuffer(handle);
        const std::unique_lock lock(*m_mutex);
        return query(*buffer);
    }

    // Acquisition
    /**
     * GC_ERR_RESOURCE_IN_USE: it is grabbing.
     * GC_ERR_INVALID_BUFFER: fewer than `minimumBuffers` are announced.
     */
    void Start(ACQ_START_FLAGS flags, uint64_t frames);
    /** The frame under way is delivered first, or discarded with ACQ_STOP_FLAGS_KILL. */
    void Stop(ACQ_STOP_FLAGS flags);

private:
    struct Counters
    {
        uint64_t delivered = 0; /**< taken by the consumer */
        uint64_t dropped = 0;   /**< frames that found no buffer */
        uint64_t started = 0;   /**< buffers that were begun */
    };

    void OnClose() override;
    std::shared_ptr<Event> MakeEvent(EVENT_TYPE type) override;
    void ConnectFeatures();
    std::shared_ptr<Buffer> FindBuffer(const void *handle);

    // With the lock held
    void ToOutput(const std::shared_ptr<Buffer> &buffer);
    void ToInput(const std::shared_ptr<Buffer> &buffer);
    void EmptyInput();
    void EmptyOutput();
    void IdleToInput();
    size_t Count(Buffer::State state) const;

    // The acquisition thread
    void Run(FrameWriter &writer);
    bool WaitForTurn(std::unique_lock<std::mutex> &lock, Pacer &pacer);
    void SendFrame(std::unique_lock<std::mutex> &lock, FrameWriter &writer);
    void Deliver(const std::shared_ptr<Buffer> &buffer, Frame frame);
    void Join();

    const std::shared_ptr<Camera> m_camera;
    std::mutex m_control;

    const Event::Mutex m_mutex;
    std::shared_ptr<Event> m_output;                /**< the output queue, whether it is registered or not */
    std::vector<std::shared_ptr<Buffer>> m_buffers; /**< in the order of announcement */
    std::list<std::shared_ptr<Buffer>> m_input;
    const std::shared_ptr<Counters> m_counters;
    bool m_grabbing = false;
    bool m_started = false;         /**< DSStartAcquisition without its DSStopAcquisition yet */
    bool m_discard = false;         /**< the frame under way is not wanted */
    bool m_ended = false;           /**< closed */
    uint64_t m_remaining = 0;       /**< frames to deliver */
    uint64_t m_cameraSignals = 0;   /**< how often the camera said that something changed */
    std::condition_variable m_wake; /**< of the acquisition thread */
    std::thread m_thread;
};

} // namespace GenTL::simulator

#endif
