#include "events/event_handler.h"

#include "utils/checks.h"
#include "utils/log.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace GenTL::internal
{

namespace
{

using utils::Info;
using Clock = std::chrono::steady_clock;

// A kill signals without the mutex, so that it never waits for a slow consumer. A waiter that is just about
// to sleep can miss the signal, so it looks again after this time.
constexpr std::chrono::milliseconds lookAgain{50};

// A timeout beyond the range of the clock ends at the last point in time that the clock can count to.
Clock::time_point DeadlineOf(uint64_t timeout)
{
    const auto now = Clock::now();
    const auto longest =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now);
    const auto limited = std::min(timeout, static_cast<uint64_t>(longest.count()));
    return now + std::chrono::milliseconds(limited);
}

/// The sizes that an event of another type than EVENT_NEW_BUFFER reports.
constexpr size_t otherEventSize = 128;

Info AnswerDataInfo(EVENT_DATA_INFO_CMD command, const EVENT_NEW_BUFFER_DATA &data)
{
    switch (command)
    {
    case EVENT_DATA_ID:
        return Info::Pointer(data.BufferHandle);
    case EVENT_DATA_VALUE:
        return Info::Pointer(data.pUserPointer);
    case EVENT_DATA_NUMID:
        throw GenTLException("Event has no numeric data", GC_ERR_NOT_AVAILABLE);
    default:
        throw GenTLException(fmt::format("Event data info command {} not implemented", command),
                             GC_ERR_NOT_IMPLEMENTED);
    }
}

} // namespace

EventHandler::EventHandler(ReleaseBuffer release, EVENT_TYPE eventType, std::shared_ptr<EventQueue> queue)
    : m_release(std::move(release)), m_eventType(eventType),
      m_maxEventSize(IsNewBuffer() ? sizeof(EVENT_NEW_BUFFER_DATA) : otherEventSize),
      m_maxDataSize(IsNewBuffer() ? sizeof(void *) : otherEventSize), m_queue(std::move(queue))
{
    const utils::MutexLock guard(m_queue->mutex);
    m_numFiredBefore = m_queue->numFired - m_queue->numQueued;
}

void EventHandler::Data(void *pBuffer, size_t *piSize, uint64_t iTimeout)
{
    utils::CheckNotNull("piSize", piSize);
    if (IsNewBuffer() && *piSize < sizeof(EVENT_NEW_BUFFER_DATA))
    {
        const size_t given = *piSize;
        *piSize = sizeof(EVENT_NEW_BUFFER_DATA);
        if (pBuffer != nullptr)
        {
            throw GenTLException(
                fmt::format("The supplied buffer is too small. Requires {} bytes instead of the supplied {}.",
                            sizeof(EVENT_NEW_BUFFER_DATA), given),
                GC_ERR_BUFFER_TOO_SMALL);
        }
    }
    utils::MutexLock lock(m_queue->mutex);
    Wait(lock, iTimeout);
    if (pBuffer != nullptr)
    {
        DeliverFront(pBuffer, piSize);
    }
    else
    {
        DropFront();
    }
}

void EventHandler::Wait(utils::MutexLock<std::mutex> &lock, uint64_t timeout)
{
    const bool isLimited = timeout != GENTL_INFINITE;
    const auto deadline = isLimited ? DeadlineOf(timeout) : Clock::time_point::max();
    while (!HasEntry() && m_killCount == 0 && (!isLimited || Clock::now() < deadline))
    {
        const auto wakeUp = Clock::now() + lookAgain;
        m_queue->changed.wait_until(lock.ForWait(), std::min(deadline, wakeUp));
    }
    if (m_killCount != 0)
    {
        --m_killCount;
        throw GenTLException("Wait aborted via kill.", GC_ERR_ABORT);
    }
    if (!HasEntry())
    {
        // C-19: the number is milliseconds.
        throw GenTLException(fmt::format("Time {}us exceeded", timeout), GC_ERR_TIMEOUT);
    }
}

void EventHandler::DeliverFront(void *pBuffer, size_t *piSize)
{
    if (!IsNewBuffer())
    {
        throw GenTLException(fmt::format("Event type {} not implemented", m_eventType),
                             GC_ERR_NOT_IMPLEMENTED);
    }
    const auto &entry = m_queue->entries.front();
    if (entry.id.index() != 0 || entry.value.index() != 0)
    {
        throw GenTLException("Buffer holds no valid data", GC_ERR_INVALID_BUFFER);
    }
    const EVENT_NEW_BUFFER_DATA data{std::get<0>(entry.id), std::get<0>(entry.value)};
    GiveBack(data.BufferHandle);
    std::memcpy(pBuffer, &data, sizeof data);
    *piSize = sizeof data;
    m_queue->DropFirst();
    ++m_queue->numDelivered;
}

void EventHandler::DropFront()
{
    if (IsNewBuffer())
    {
        const auto *handle = std::get_if<0>(&m_queue->entries.front().id);
        GiveBack(handle != nullptr ? *handle : nullptr);
    }
    m_queue->DropFirst();
}

// The entry of a revoked buffer leaves the queue as well, or the queue would be stuck.
void EventHandler::GiveBack(BUFFER_HANDLE handle)
{
    if (!m_release(handle))
    {
        constexpr auto text = "Failed to get buffer for new buffer event!";
        QVR_LOG_ERROR_FOR("EventHandler::Data", "{} Handle: {}", text, handle);
        m_queue->DropFirst();
        throw GenTLException(text, GC_ERR_ERROR);
    }
}

void EventHandler::DataInfo(const void *pInBuffer, size_t iInSize, EVENT_DATA_INFO_CMD iInfoCmd,
                            INFO_DATATYPE *piType, void *pOutBuffer, size_t *piOutSize) const
{
    utils::CheckNotNull("pInBuffer", pInBuffer);
    utils::CheckNotZero("iInSize", iInSize);
    if (!IsNewBuffer())
    {
        throw GenTLException("event type not implemented", GC_ERR_NOT_IMPLEMENTED);
    }
    EVENT_NEW_BUFFER_DATA data{};
    if (iInSize < sizeof data)
    {
        throw GenTLException("inBuffer or inSize are invalid", GC_ERR_INVALID_PARAMETER);
    }
    std::memcpy(&data, pInBuffer, sizeof data);
    utils::WriteInfo(AnswerDataInfo(iInfoCmd, data), piType, pOutBuffer, piOutSize);
}

void EventHandler::Info(EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) const
{
    utils::WriteInfo(Answer(iInfoCmd), piType, pBuffer, piSize);
}

utils::Info EventHandler::Answer(EVENT_INFO_CMD command) const
{
    using utils::Info;
    switch (command)
    {
    case EVENT_EVENT_TYPE:
        return Info::Int32(m_eventType);
    case EVENT_NUM_IN_QUEUE:
        return Info::Size(m_isDetached ? size_t{0} : m_queue->numQueued.load());
    case EVENT_NUM_FIRED:
        return Info::Uint64(m_queue->numFired - m_numFiredBefore);
    case EVENT_SIZE_MAX:
        return Info::Size(m_maxEventSize);
    case EVENT_INFO_DATA_SIZE_MAX:
        return Info::Size(m_maxDataSize);
    default:
        throw GenTLException(fmt::format("Event info command {} not implemented", command),
                             GC_ERR_NOT_IMPLEMENTED);
    }
}

void EventHandler::Flush()
{
    const utils::MutexLock guard(m_queue->mutex);
    if (m_isDetached)
    {
        return;
    }
    if (IsNewBuffer())
    {
        for (const auto &entry : m_queue->entries)
        {
            m_release(std::get<0>(entry.id));
        }
    }
    m_queue->DropAll();
}

void EventHandler::Kill()
{
    ++m_killCount;
    // All, because events of one queue wait together.
    m_queue->changed.notify_all();
}

void EventHandler::Push(const NewBufferEvent &entry)
{
    {
        const utils::MutexLock guard(m_queue->mutex);
        m_queue->Append(entry);
    }
    m_queue->changed.notify_all();
}

} // namespace GenTL::internal
