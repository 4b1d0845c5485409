#pragma once

#include "events/event_queue.h"
#include "utils/info.h"
#include "utils/mutex.h"

#include <gentl/gentl.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace GenTL::internal
{

/// The local event of a stream, EVENT_NEW_BUFFER; its queue is the stream's output queue.
///
/// Made by GCRegisterEvent; the stream and the Event registry own it. After GCUnregisterEvent it gets no more
/// entries and lives on in the registry until the library closes. If the queue is its own, it still hands out
/// the entries that wait there. If it shares the queue, it sees an empty one from then on. The acquisition
/// thread pushes; any number of consumer threads may wait, each taking one entry. Only Kill ends a wait
/// early.
class EventHandler
{
public:
    /// Hands a buffer to the consumer, in state Announced. False for a buffer that was revoked.
    using ReleaseBuffer = std::function<bool(BUFFER_HANDLE)>;

    /// @param release called with the event's lock held; must be usable as long as the event
    /// @param queue entries that wait in it already count as fired
    EventHandler(ReleaseBuffer release, EVENT_TYPE eventType,
                 std::shared_ptr<EventQueue> queue = std::make_shared<EventQueue>());

    /// Waits for an entry and hands it out; a null `pBuffer` drops it. Either way the buffer goes to the
    /// consumer.
    /// @param iTimeout ms, GENTL_INFINITE = no limit
    /// @throws GenTLException GC_ERR_BUFFER_TOO_SMALL before any wait; GC_ERR_TIMEOUT; GC_ERR_ABORT for a
    /// kill, even with data in the queue; GC_ERR_ERROR for a buffer that was revoked
    void Data(void *pBuffer, size_t *piSize, uint64_t iTimeout);
    void DataInfo(const void *pInBuffer, size_t iInSize, EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                  void *pOutBuffer, size_t *piOutSize) const;
    void Info(EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) const;
    /// Gives all queued buffers back to the consumer.
    void Flush();
    /// Ends exactly one wait: the current one, else the next.
    void Kill();
    void Push(const NewBufferEvent &entry);
    /// Leaves the queue to others. A wait goes on until its time or a kill.
    void Detach() { m_isDetached = true; }

    /// Entries handed out with data since the last reset.
    uint64_t GetDeliveredCount() const { return m_queue->numDelivered; }
    void ResetDeliveredCount() { m_queue->numDelivered = 0; }

private:
    utils::Info Answer(EVENT_INFO_CMD command) const;
    void Wait(utils::MutexLock<std::mutex> &lock, uint64_t timeout) QVR_REQUIRES(m_queue->mutex);
    void DeliverFront(void *pBuffer, size_t *piSize) QVR_REQUIRES(m_queue->mutex);
    void DropFront() QVR_REQUIRES(m_queue->mutex);
    void GiveBack(BUFFER_HANDLE handle) QVR_REQUIRES(m_queue->mutex);
    bool HasEntry() const QVR_REQUIRES(m_queue->mutex) { return !m_isDetached && !m_queue->entries.empty(); }

    ReleaseBuffer m_release;
    EVENT_TYPE m_eventType;
    size_t m_maxEventSize;
    size_t m_maxDataSize;
    std::shared_ptr<EventQueue> m_queue;
    uint64_t m_numFiredBefore = 0;
    std::atomic<bool> m_isDetached = false;
    std::atomic<uint64_t> m_killCount = 0;
};

} // namespace GenTL::internal
