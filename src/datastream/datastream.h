#pragma once

#include "datastream/i_acquisition_worker.h"
#include "nodemap/node_map.h"
#include "port/i_event_source.h"
#include "utils/mutex.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace GenTL::internal
{

class Buffer;
class EventHandler;
class ILibrary;
enum class BufferState : int32_t;

/// What a DS_HANDLE stands for: the consumer's buffers, the output queue, the counters and the stream's own
/// node map. The lower stream is reached through the acquisition worker only.
///
/// Made by DevOpenDataStream; its device and the Datastream registry own it until DSClose. Stopped after
/// construction; running from DSStartAcquisition until DSStopAcquisition, or until the worker has done the
/// frames that were asked for; can be started again after either.
///
/// The input pool is the list of announced buffers: the first one in state Input is taken, in the order of
/// announcement. The output queue is that of the registered event; without one a pushed buffer stays in
/// Output and no queue holds it.
///
/// Consumer threads may call anything at any time, but start and stop must not run beside each other. The
/// acquisition thread calls PopFreeInputBuffer and PushBuffer. Lock order: this object's mutex, the event's,
/// a registry's.
class Datastream final : public IEventSource
{
public:
    /// @param parentHandle the consumer's handle of the device
    Datastream(ILibrary &library, std::unique_ptr<IAcquisitionWorker> worker, DEV_HANDLE parentHandle);
    ~Datastream() override;

    DEV_HANDLE GetParentHandle() const { return m_parentHandle; }
    const std::shared_ptr<nodemap::NodeMap> &GetNodeMap() const { return m_nodeMap; }

    void DSAllocAndAnnounceBuffer(size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer);
    /// @throws GenTLException "Buffer is already in use!" for memory that starts where another buffer's does
    void DSAnnounceBuffer(void *pBuffer, size_t iBufferSize, void *pPrivate, BUFFER_HANDLE *phBuffer);
    void DSFlushQueue(ACQ_QUEUE_TYPE iOperation);
    void DSGetBufferID(uint32_t iIndex, BUFFER_HANDLE *phBuffer);
    void DSGetInfo(STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);
    /// @throws GenTLException GC_ERR_INVALID_HANDLE; GC_ERR_RESOURCE_IN_USE for a buffer that is queued
    void QueueBuffer(BUFFER_HANDLE hBuffer);
    /// @throws GenTLException GC_ERR_INVALID_HANDLE; GC_ERR_BUSY for a buffer that is queued;
    /// GC_ERR_INVALID_BUFFER when acquisition would be left without its minimum of buffers
    void DSRevokeBuffer(BUFFER_HANDLE hBuffer, void **ppBuffer, void **ppPrivate);
    /// @throws GenTLException GC_ERR_INVALID_BUFFER with fewer buffers than the minimum;
    /// GC_ERR_RESOURCE_IN_USE while running
    void DSStartAcquisition(ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire);
    /// @throws GenTLException GC_ERR_RESOURCE_IN_USE while stopped, also after the last frame asked for
    void DSStopAcquisition(ACQ_STOP_FLAGS iStopFlags);

    /// Moves a buffer to the output side.
    /// @throws std::runtime_error for a buffer that is neither queued nor being filled
    void PushBuffer(const std::shared_ptr<Buffer> &buffer);
    /// The next buffer to fill, null when none is free; the frame counts as lost then.
    /// @throws std::runtime_error while stopped
    std::shared_ptr<Buffer> PopFreeInputBuffer();

    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    void UnregisterEvent(EVENT_TYPE iEventID) override;
    virtual uint64_t GetIncompleteFrameCount() const { return m_numIncomplete; }
    /// @throws GenTLException "StreamDroppedFrameCount is not implemented!", GC_ERR_ACCESS_DENIED
    uint64_t GetDroppedFrameCount();

private:
    using Buffers = std::vector<std::shared_ptr<Buffer>>;

    void Announce(const std::shared_ptr<Buffer> &buffer, BUFFER_HANDLE *phBuffer) QVR_REQUIRES(m_mutex);
    BUFFER_HANDLE HandleOf(const Buffer &buffer);
    Buffers CopyOfBuffers() QVR_EXCLUDES(m_mutex);
    size_t CountBuffers(BufferState first, BufferState second) QVR_EXCLUDES(m_mutex);
    void MoveBuffers(BufferState from, BufferState to) QVR_REQUIRES(m_mutex);
    void FlushEvent();
    std::shared_ptr<EventHandler> Event();
    uint64_t DeliveredCount();
    bool IsGrabbing() const;
    void SetGrabbing(bool isGrabbing);
    void ReleaseBuffersAndEvent();

    ILibrary &m_library;
    std::shared_ptr<nodemap::NodeMap> m_nodeMap;
    DEV_HANDLE m_parentHandle;
    utils::Mutex m_mutex;
    Buffers m_buffers QVR_GUARDED_BY(m_mutex); ///< in order of announcement
    utils::Mutex m_eventMutex;                 ///< events come and go while the acquisition thread pushes
    std::shared_ptr<EventHandler> m_newBufferEvent QVR_GUARDED_BY(m_eventMutex);
    std::unique_ptr<IAcquisitionWorker> m_worker;
    mutable bool m_isGrabbing = false; ///< through std::atomic_ref only
    std::atomic<uint64_t> m_numStarted = 0;
    std::atomic<uint64_t> m_numLost = 0;
    std::atomic<uint64_t> m_numPushed = 0;
    std::atomic<uint64_t> m_numIncomplete = 0;
    std::atomic<uint64_t> m_numToAcquire = 0;
    std::atomic<size_t> m_numAnnounced = 0; ///< length of m_buffers, for reading without the lock
};

} // namespace GenTL::internal
