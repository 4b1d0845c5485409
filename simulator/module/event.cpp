#include "simulator/module/event.h"

#include "simulator/module/notice.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace GenTL::simulator
{

Event::Event(EVENT_TYPE type, size_t dataSize, Mutex mutex)
    : m_type(type), m_dataSize(dataSize), m_mutex(std::move(mutex))
{
}

void Event::Push(EventItem item)
{
    m_queue.push_back(std::move(item));
    ++m_fired;
    m_changed.notify_all();
}

void Event::Fire(std::vector<uint8_t> data)
{
    constexpr size_t longest = 1024; // a consumer may register an event and never take it
    const std::lock_guard lock(*m_mutex);
    if (m_queue.size() == longest)
    {
        m_queue.pop_front();
    }
    Push({std::move(data), [](bool) {}});
}

std::deque<EventItem> Event::TakeAll()
{
    return std::exchange(m_queue, {});
}

bool Event::WaitForItem(std::unique_lock<std::mutex> &lock, uint64_t timeout)
{
    const auto ready = [this] { return m_closed || m_kills > 0 || !m_queue.empty(); };
    // A longer timeout would overflow the clock. A year counts as no limit.
    constexpr uint64_t endless = uint64_t{1000} * 3600 * 24 * 365;
    ++m_waiting;
    bool isReady = true;
    if (timeout >= endless)
    {
        m_changed.wait(lock, ready);
    }
    else
    {
        isReady = m_changed.wait_for(lock, std::chrono::milliseconds(timeout), ready);
    }
    --m_waiting;
    return isReady;
}

void Event::GetData(void *buffer, size_t *size, uint64_t timeout)
{
    RequireNotNull(size, "piSize");
    if (buffer != nullptr && *size < m_dataSize)
    {
        throw Error(GC_ERR_BUFFER_TOO_SMALL, "Buffer is too small for the event's data");
    }
    std::unique_lock lock(*m_mutex);
    if (!WaitForItem(lock, timeout))
    {
        throw Error(GC_ERR_TIMEOUT, "No event in time");
    }
    if (m_closed || m_kills > 0)
    {
        m_kills -= m_closed ? 0 : 1;
        throw Error(GC_ERR_ABORT, "Wait was aborted");
    }
    const EventItem item = std::move(m_queue.front());
    m_queue.pop_front();
    item.leaves(buffer != nullptr);
    if (buffer != nullptr)
    {
        std::memcpy(buffer, item.data.data(), item.data.size());
    }
    *size = item.data.size();
}

Info Event::GetInfo(EVENT_INFO_CMD command) const
{
    const std::lock_guard lock(*m_mutex);
    switch (command)
    {
    case EVENT_EVENT_TYPE:
        return Info::Int32(m_type);
    case EVENT_NUM_IN_QUEUE:
        return Info::Size(m_queue.size());
    case EVENT_NUM_FIRED:
        return Info::UInt64(m_fired);
    case EVENT_SIZE_MAX:
    case EVENT_INFO_DATA_SIZE_MAX:
        return Info::Size(m_dataSize);
    default:
        UnknownCommand(command);
    }
}

Info Event::GetDataInfo(const void *data, size_t size, EVENT_DATA_INFO_CMD command) const
{
    RequireNotNull(data, "pInBuffer");
    if (m_type != EVENT_NEW_BUFFER)
    {
        return NoticeInfo(m_type, {static_cast<const uint8_t *>(data), size}, command);
    }
    EVENT_NEW_BUFFER_DATA newBuffer;
    if (size < sizeof newBuffer)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iInSize is less than the event's data");
    }
    std::memcpy(&newBuffer, data, sizeof newBuffer);
    switch (command)
    {
    case EVENT_DATA_ID:
        return Info::Pointer(newBuffer.BufferHandle);
    case EVENT_DATA_VALUE:
        return Info::Pointer(newBuffer.pUserPointer);
    case EVENT_DATA_NUMID:
        return Info::UInt64(reinterpret_cast<uintptr_t>(newBuffer.BufferHandle));
    default:
        UnknownCommand(command);
    }
}

void Event::Flush()
{
    const std::lock_guard lock(*m_mutex);
    for (const auto &item : TakeAll())
    {
        item.leaves(false);
    }
}

void Event::Kill()
{
    const std::lock_guard lock(*m_mutex);
    m_kills = std::min(m_kills + 1, std::max<size_t>(m_waiting, 1));
    m_changed.notify_all();
}

void Event::Close()
{
    const std::lock_guard lock(*m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

} // namespace GenTL::simulator
