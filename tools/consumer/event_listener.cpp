#include "consumer/event_listener.h"

#include "consumer/info_answers.h"
#include "port/proxy_module.h"
#include "utils/gentl_exception.h"

#include <chrono>
#include <utility>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::CloseQuietly;
using GenTL::internal::GenTLException;

namespace
{

/// Of a buffer for the data of an event. What a producer tells beyond it is wrong.
constexpr size_t largestCapacity = size_t{1} << 20;

/// The bytes of an info function's answer; none when it fails.
std::vector<uint8_t> TryBytes(const InfoQuery &query)
{
    try
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        query(&type, nullptr, &size);
        std::vector<uint8_t> bytes(size);
        query(&type, bytes.data(), &size);
        bytes.resize(std::min(size, bytes.size()));
        return bytes;
    }
    catch (const GenTLException &)
    {
        return {};
    }
}

} // namespace

EventListener::EventListener(internal::IGenTLProxy &calls, EVENTSRC_HANDLE source, EVENT_TYPE type, Take take,
                             Fail fail)
    : m_calls(calls), m_source(source), m_type(type), m_take(std::move(take)), m_fail(std::move(fail))
{
    m_calls.GCRegisterEvent(m_source, m_type, &m_event);
    m_thread = std::thread([this] { Run(); });
}

EventListener::~EventListener()
{
    constexpr std::chrono::milliseconds again(20);
    std::unique_lock lock(m_mutex);
    m_ends = true;
    do
    {
        // A kill just before the wait begins may have no effect, so one is not enough.
        lock.unlock();
        CloseQuietly([this] { m_calls.EventKill(m_event); });
        lock.lock();
    } while (!m_changed.wait_for(lock, again, [this] { return m_ended; }));
    lock.unlock();
    m_thread.join();
    CloseQuietly([this] { m_calls.GCUnregisterEvent(m_source, m_type); });
}

bool EventListener::IsEnding()
{
    const std::lock_guard lock(m_mutex);
    return m_ends;
}

void EventListener::Run()
{
    try
    {
        TakeEvents();
    }
    catch (const std::exception &exception)
    {
        if (!IsEnding())
        {
            m_fail(exception.what());
        }
    }
    const std::lock_guard lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

void EventListener::TakeEvents()
{
    auto capacity = LongestData();
    while (!IsEnding())
    {
        std::vector<uint8_t> bytes(capacity);
        size_t size = bytes.size();
        // Some producers wake a wait without limit neither by a kill nor by the end of the module.
        constexpr uint64_t longestWait = 500;
        const auto code = m_calls.TryEventGetData(m_event, bytes.data(), &size, longestWait);
        if (code == GC_ERR_SUCCESS)
        {
            bytes.resize(std::min(size, bytes.size()));
            m_take(Describe(bytes));
        }
        else if (code == GC_ERR_BUFFER_TOO_SMALL && capacity < largestCapacity)
        {
            capacity = std::min(2 * capacity, largestCapacity);
        }
        else if (code != GC_ERR_TIMEOUT && code != GC_ERR_ABORT)
        {
            throw GenTLException("The wait for the event failed", code);
        }
    }
}

/// How many bytes an event has at most, as the producer tells it. Not by EventGetData without a buffer, which
/// drops an event.
size_t EventListener::LongestData() const
{
    constexpr size_t usual = 1024;
    const auto told = TryNumber([this](INFO_DATATYPE *type, void *buffer, size_t *size)
                                { m_calls.EventGetInfo(m_event, EVENT_SIZE_MAX, type, buffer, size); });
    return std::min<size_t>(told.value_or(0) == 0 ? usual : *told, largestCapacity);
}

FiredEvent EventListener::Describe(const std::vector<uint8_t> &bytes) const
{
    const auto query = [&](EVENT_DATA_INFO_CMD command) -> InfoQuery
    {
        return [this, &bytes, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { m_calls.EventGetDataInfo(m_event, bytes.data(), bytes.size(), command, type, buffer, size); };
    };
    FiredEvent event;
    event.number = TryNumber(query(EVENT_DATA_NUMID));
    if (!event.number)
    {
        event.number = TryNumber(query(EVENT_DATA_ID));
    }
    event.id = TextAnswer(query(EVENT_DATA_ID));
    event.text = TextAnswer(query(EVENT_DATA_VALUE));
    if (event.text.empty())
    {
        event.data = TryBytes(query(EVENT_DATA_VALUE));
    }
    return event;
}

std::string EventTypeName(EVENT_TYPE type)
{
    switch (type)
    {
    case EVENT_ERROR:
        return "ERROR";
    case EVENT_NEW_BUFFER:
        return "NEW_BUFFER";
    case EVENT_FEATURE_INVALIDATE:
        return "FEATURE_INVALIDATE";
    case EVENT_FEATURE_CHANGE:
        return "FEATURE_CHANGE";
    case EVENT_REMOTE_DEVICE:
        return "REMOTE_DEVICE";
    case EVENT_MODULE:
        return "MODULE";
    default:
        return std::to_string(type);
    }
}

} // namespace gentlctl
