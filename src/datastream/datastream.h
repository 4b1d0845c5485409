#pragma once

#include "datastream/announced_buffers.h"
#include "datastream/i_acquisition_worker.h"
#include "datastream/output_queue.h"
#include "nodemap/node_map.h"
#include "port/i_event_source.h"
#include "utils/info.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>

namespace GenTL::internal
{

/// The id of the one stream of a device.
inline constexpr std::string_view streamId = "Stream1";

/// The object behind a DS_HANDLE: the consumer's buffers, the output queue, the counters and the stream's own
/// node map. It reaches the lower stream only through the acquisition worker.
///
/// Made by DevOpenDataStream; its device and the Datastream registry own it until DSClose. Its state is the
/// worker's AcquisitionState, which is Idle after construction. A stream can be started again after a stop
/// and after the last frame.
///
/// isGrabbing is the consumer's view of that state, and PopFreeInputBuffer fails without it. So it lasts
/// longer than Running at both ends: it is set before the lower stream starts, and cleared once the stop has
/// returned or the thread has ended.
///
/// The input pool is the list of announced buffers: the first one in state Input is taken. The output queue
/// is the queue of the registered event; without an event a pushed buffer stays in Output and no queue holds
/// it.
///
/// Consumer threads may call anything at any time, except that a start must not run beside a stop or another
/// start. The acquisition thread calls PopFreeInputBuffer and PushBuffer. Lock order: the list of buffers,
/// the event, a registry.
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

    /// Moves a buffer to Output and pushes it to the output queue.
    /// @throws std::runtime_error for a buffer that is neither queued nor being filled
    void PushBuffer(const std::shared_ptr<Buffer> &buffer);
    /// The next buffer to fill. When none is free the result is null and the frame counts as lost.
    /// @throws std::runtime_error while stopped
    std::shared_ptr<Buffer> PopFreeInputBuffer();

    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override
    {
        m_output.RegisterEvent(iEventID, phEvent);
    }
    void UnregisterEvent(EVENT_TYPE iEventID) override { m_output.UnregisterEvent(iEventID); }
    virtual uint64_t GetIncompleteFrameCount() const { return m_numIncomplete; }
    /// @throws GenTLException "StreamDroppedFrameCount is not implemented!", GC_ERR_ACCESS_DENIED
    uint64_t GetDroppedFrameCount();

private:
    utils::Info Answer(STREAM_INFO_CMD command);

    ILibrary &m_library;
    std::shared_ptr<nodemap::NodeMap> m_nodeMap;
    DEV_HANDLE m_parentHandle;
    AnnouncedBuffers m_buffers;
    OutputQueue m_output;
    std::unique_ptr<IAcquisitionWorker> m_worker;
    std::atomic<bool> m_isGrabbing = false;
    std::atomic<uint64_t> m_numStarted = 0;
    std::atomic<uint64_t> m_numLost = 0;
    std::atomic<uint64_t> m_numPushed = 0;
    std::atomic<uint64_t> m_numIncomplete = 0;
    std::atomic<uint64_t> m_numToAcquire = 0;
};

} // namespace GenTL::internal
