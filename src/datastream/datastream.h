#pragma once

#include "datastream/announced_buffers.h"
#include "datastream/i_acquisition_worker.h"
#include "datastream/i_output_queue.h"
#include "nodemap/node_map.h"
#include "port/i_event_source.h"
#include "profile/profile.h"
#include "utils/info.h"
#include "utils/mutex.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The id of the one stream of a device.
inline constexpr std::string_view streamId = "Stream1";

/// What a stream passes on unchanged from the lower stream.
struct LowerStreamAnswers
{
    IEventSource *events = nullptr; ///< lives as long as the stream's worker; null: no events are passed on
    std::function<std::optional<size_t>()> maxChunks; ///< empty: the answer is 0
};

/// How the streams of the producers differ.
struct StreamSetup
{
    StreamRules rules{};
    BufferAnswers buffers{};
    std::unique_ptr<IOutputQueue> output{}; ///< null: an EventOutput
    LowerStreamAnswers lower{};
    std::string tlType{}; ///< of the device; empty: that of the library
};

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
/// The input pool is the list of announced buffers: the first one in state Input is taken. The output side is
/// an IOutputQueue.
///
/// Consumer threads may call anything at any time, except that a start must not run beside a stop or another
/// start. The acquisition thread calls PopFreeInputBuffer and PushBuffer. Lock order: the list of buffers,
/// the event, a registry.
class Datastream final : public IEventSource
{
public:
    /// @param parentHandle the consumer's handle of the device
    Datastream(ILibrary &library, std::unique_ptr<IAcquisitionWorker> worker, DEV_HANDLE parentHandle,
               StreamSetup setup = {});
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
    /// @throws GenTLException GC_ERR_RESOURCE_IN_USE while stopped, also after the last frame asked for;
    /// neither this nor a failure of the lower producer with StreamRules::stopAlwaysSucceeds
    void DSStopAcquisition(ACQ_STOP_FLAGS iStopFlags);

    /// Gives a filled buffer to the output side.
    /// @throws as IOutputQueue::Complete
    void PushBuffer(const std::shared_ptr<Buffer> &buffer);
    /// The next buffer to fill. When none is free the result is null and the frame counts as lost.
    /// @throws std::runtime_error while stopped
    std::shared_ptr<Buffer> PopFreeInputBuffer();

    /// Other types than EVENT_NEW_BUFFER are the lower stream's.
    /// @throws GenTLException as IOutputQueue; GC_ERR_NOT_IMPLEMENTED for a type that the lower stream lacks
    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    void UnregisterEvent(EVENT_TYPE iEventID) override;
    uint64_t GetIncompleteFrameCount() const { return m_output->IncompleteCount(); }
    /// @throws GenTLException "StreamDroppedFrameCount is not implemented!", GC_ERR_ACCESS_DENIED
    uint64_t GetDroppedFrameCount();

private:
    utils::Info Answer(STREAM_INFO_CMD command);
    std::string TypeText() const;
    size_t MaxChunks() const;
    void Stop(ACQ_STOP_FLAGS flags);

    ILibrary &m_library;
    std::string m_tlType; ///< of the device; empty: that of the library
    std::shared_ptr<nodemap::NodeMap> m_nodeMap;
    DEV_HANDLE m_parentHandle;
    AnnouncedBuffers m_buffers;
    StreamRules m_rules;
    BufferAnswers m_bufferAnswers;
    LowerStreamAnswers m_lower;
    std::unique_ptr<IOutputQueue> m_output;
    std::unique_ptr<IAcquisitionWorker> m_worker;
    std::atomic<bool> m_isGrabbing = false;
    std::atomic<uint64_t> m_numStarted = 0;
    std::atomic<uint64_t> m_numLost = 0;
    std::atomic<uint64_t> m_numToAcquire = 0;
    /// Held by a stop that always succeeds, so that a second one returns after the first. Held over calls
    /// into the lower producer and the join of the acquisition thread, which never takes it.
    utils::Mutex m_stopMutex;
};

} // namespace GenTL::internal
