#include "consumer/event_listener.h"

#include "support/fake_gentl_proxy.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using GenTL::internal::FakeGenTLProxy;
using GenTL::internal::LowerFailure;

/// A module with one event, whose queue is as GenTL 1.6 has it: a null buffer drops the next item.
class EventSource : public FakeGenTLProxy
{
public:
    EventSource()
    {
        onEventGetData = [this](EVENT_HANDLE, void *buffer, size_t *size, uint64_t timeout)
        { return Take(static_cast<uint8_t *>(buffer), size, timeout); };
        onEventGetInfo = [this](EVENT_HANDLE, EVENT_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                                size_t *size) { return Tell(command, type, buffer, size); };
        onEventGetDataInfo = [](EVENT_HANDLE, const void *data, size_t dataSize, EVENT_DATA_INFO_CMD command,
                                INFO_DATATYPE *type, void *buffer, size_t *size) {
            return Describe({static_cast<const char *>(data), dataSize}, command, type, buffer, size);
        };
        onEventKill = [this](EVENT_HANDLE)
        {
            const std::lock_guard lock(m_mutex);
            m_killed = true;
            m_changed.notify_all();
            return GC_ERR_SUCCESS;
        };
    }

    void Fire(const std::string &text)
    {
        const std::lock_guard lock(m_mutex);
        m_queue.emplace_back(text);
        m_changed.notify_all();
    }

    std::optional<size_t> largest; ///< answer to EVENT_SIZE_MAX; without it the question fails

private:
    GC_ERROR Take(uint8_t *buffer, size_t *size, uint64_t timeout)
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, std::chrono::milliseconds(timeout),
                                [this] { return m_killed || !m_queue.empty(); }))
        {
            LowerFailure(GC_ERR_TIMEOUT);
        }
        if (m_killed)
        {
            m_killed = false;
            LowerFailure(GC_ERR_ABORT);
        }
        const auto &text = m_queue.front();
        if (buffer != nullptr && *size < text.size())
        {
            LowerFailure(GC_ERR_BUFFER_TOO_SMALL);
        }
        if (buffer != nullptr)
        {
            std::memcpy(buffer, text.data(), text.size());
        }
        *size = text.size();
        m_queue.pop_front();
        return GC_ERR_SUCCESS;
    }

    GC_ERROR Tell(EVENT_INFO_CMD command, INFO_DATATYPE *type, void *buffer, size_t *size) const
    {
        if (command != EVENT_SIZE_MAX || !largest)
        {
            LowerFailure(GC_ERR_NOT_AVAILABLE);
        }
        *type = INFO_DATATYPE_SIZET;
        *size = sizeof *largest;
        if (buffer != nullptr)
        {
            std::memcpy(buffer, &*largest, sizeof *largest);
        }
        return GC_ERR_SUCCESS;
    }

    /// The data are the text of the event.
    static GC_ERROR Describe(const std::string &text, EVENT_DATA_INFO_CMD command, INFO_DATATYPE *type,
                             void *buffer, size_t *size)
    {
        if (command != EVENT_DATA_VALUE)
        {
            LowerFailure(GC_ERR_NOT_AVAILABLE);
        }
        *type = INFO_DATATYPE_STRING;
        *size = text.size() + 1;
        if (buffer != nullptr)
        {
            std::memcpy(buffer, text.c_str(), *size);
        }
        return GC_ERR_SUCCESS;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_queue;
    bool m_killed = false;
};

/// Listens until one event was taken or the listener failed; gives the text of the event, or the reason.
std::string FirstOf(EventSource &source)
{
    std::promise<std::string> first;
    bool isFirst = true; // used on the listener's thread alone
    const auto tell = [&](const std::string &text)
    {
        if (std::exchange(isFirst, false))
        {
            first.set_value(text);
        }
    };
    const EventListener listener(
        source, nullptr, EVENT_ERROR, [&](const FiredEvent &event) { tell(event.text); },
        [&](const std::string &reason) { tell("failed: " + reason); });
    return first.get_future().get();
}

TEST(EventListener, TakesWhatFiredBeforeItListened)
{
    EventSource source;
    source.largest = 16;
    source.Fire("lost link");
    EXPECT_EQ(FirstOf(source), "lost link");
}

TEST(EventListener, WaitsWhereTheProducerDoesNotTellTheSizeOfAnEvent)
{
    for (const auto &told : {std::optional<size_t>(), std::optional<size_t>(0)})
    {
        EventSource source;
        source.largest = told;
        source.Fire("lost link");
        EXPECT_EQ(FirstOf(source), "lost link");
    }
}

TEST(EventListener, TakesAnEventThatIsLargerThanTold)
{
    EventSource source;
    source.largest = 4;
    source.Fire(std::string(70000, 'x'));
    EXPECT_EQ(FirstOf(source), std::string(70000, 'x'));
}

TEST(EventListener, FailsWhereNoSizeIsEnough)
{
    EventSource source;
    source.onEventGetData = [](EVENT_HANDLE, void *, size_t *, uint64_t) -> GC_ERROR
    { LowerFailure(GC_ERR_BUFFER_TOO_SMALL); };
    EXPECT_EQ(FirstOf(source), "failed: The wait for the event failed");
}

TEST(EventListener, TakesNoMemoryForASizeThatCannotBe)
{
    EventSource source;
    source.largest = SIZE_MAX;
    source.Fire("lost link");
    EXPECT_EQ(FirstOf(source), "lost link");
}

} // namespace
} // namespace gentlctl
