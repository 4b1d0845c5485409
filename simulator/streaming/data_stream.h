#pragma once

#include "simulator/streaming/acquisition_thread.h"

namespace GenTL::simulator
{

/// The stream of a camera: the buffers that the consumer announces, and while it grabs the thread that fills
/// them. Made and owned by the device.
///
/// Any thread may call. Locks, in the order in which they are taken: `m_control`, which serialises announce,
/// start and stop; the locks of the module and of the camera; the lock of the new-buffer event, which the
/// stream owns and which guards the buffers.
class DataStream : public Module
{
public:
    static constexpr size_t minimumBuffers = 4;
    static constexpr const char *id = "Stream0";

    DataStream(HandleTable &handles, std::shared_ptr<StreamedCamera> camera);
    ~DataStream() override;

    Info GetInfo(STREAM_INFO_CMD command) const;

    /// With null memory the stream allocates it.
    /// @throws Error GC_ERR_INVALID_PARAMETER: `size` is 0.
    /// @throws Error GC_ERR_OUT_OF_MEMORY: the stream cannot allocate that much.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: the memory is announced already.
    void *Announce(void *memory, size_t size, void *userPointer);
    // These four throw as BufferPool and FindBuffer do.
    void Revoke(const void *buffer, void **memory, void **userPointer);
    void Queue(const void *buffer);
    void Flush(ACQ_QUEUE_TYPE operation);
    void *BufferAt(uint32_t index) const;

    /// Calls `query` with the buffer while nothing can change it.
    template <typename Query>
    auto WithBuffer(const void *handle, Query &&query)
    {
        const auto buffer = FindBuffer(handle);
        const std::lock_guard lock(*m_mutex);
        return query(*buffer);
    }

    /// @throws Error GC_ERR_INVALID_PARAMETER: the flags are unknown, or `frames` is 0.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is grabbing.
    /// @throws Error GC_ERR_INVALID_BUFFER: fewer than `minimumBuffers` are announced.
    void Start(ACQ_START_FLAGS flags, uint64_t frames);
    /// The frame under way is delivered first, or discarded with ACQ_STOP_FLAGS_KILL.
    /// @throws Error GC_ERR_INVALID_PARAMETER: the flags are unknown.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it was not started.
    void Stop(ACQ_STOP_FLAGS flags);

private:
    void OnClose() override;
    std::shared_ptr<Event> MakeEvent(EVENT_TYPE type) override;
    void ConnectFeatures();
    /// @throws Error GC_ERR_INVALID_HANDLE: no buffer of this stream.
    std::shared_ptr<Buffer> FindBuffer(const void *handle);

    const std::shared_ptr<StreamedCamera> m_camera;
    std::mutex m_control;
    const Event::Mutex m_mutex; ///< guards what follows
    BufferPool m_pool;
    AcquisitionThread m_thread;
    bool m_closed = false;
};

} // namespace GenTL::simulator
