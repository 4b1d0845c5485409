#pragma once

#include "simulator/handle_table.h"
#include "simulator/info.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <span>
#include <vector>

namespace GenTL::simulator
{

/// An event that fired and was not taken yet.
struct EventItem
{
    std::vector<uint8_t> data;
    /// Runs under the event's lock when the item leaves the queue: taken by a consumer, or flushed.
    std::function<void(bool taken)> leaves;
};

/// A registered event and its queue. Made by the module that fires it. Module and event share a lock, so that
/// the module can change its own state and the queue in one step. Any thread may call.
class Event : public Object
{
public:
    using Mutex = std::shared_ptr<std::mutex>;

    Event(EVENT_TYPE type, size_t dataSize, Mutex mutex);

    EVENT_TYPE Type() const { return m_type; }

    /// With the lock held.
    void Push(EventItem item);
    /// Queues an item that no buffer belongs to. A full queue loses its oldest item. Without the lock held.
    void Fire(std::vector<uint8_t> data);
    /// Takes all items out, without calling `leaves`. With the lock held.
    std::deque<EventItem> TakeAll();
    /// With the lock held.
    size_t Pending() const { return m_queue.size(); }

    /// Waits for an item for `timeout` ms, GENTL_INFINITE for no limit, and copies its data. A null buffer
    /// drops the item.
    ///
    /// @throws Error GC_ERR_TIMEOUT: no event fired in time.
    /// @throws Error GC_ERR_ABORT: the wait was killed, or the event is closed.
    /// @throws Error GC_ERR_BUFFER_TOO_SMALL: the item stays in the queue.
    void GetData(void *buffer, size_t *size, uint64_t timeout);

    Info GetInfo(EVENT_INFO_CMD command) const;

    Info GetDataInfo(const void *data, size_t size, EVENT_DATA_INFO_CMD command) const;

    /// Empties the queue.
    void Flush();

    /// Ends one wait with GC_ERR_ABORT: a present wait, or else the next one.
    void Kill();

    /// Ends all waits with GC_ERR_ABORT, now and later.
    void Close();

private:
    bool WaitForItem(std::unique_lock<std::mutex> &lock, uint64_t timeout);

    const EVENT_TYPE m_type;
    const size_t m_dataSize;
    const Mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<EventItem> m_queue;
    uint64_t m_fired = 0;
    size_t m_waiting = 0;
    size_t m_kills = 0; ///< calls of Kill that have not ended a wait yet
    bool m_closed = false;
};

} // namespace GenTL::simulator
