#include "event_fixture.h"
#include "support/log_capture.h"
#include "support/sleeping_call.h"

#include <array>
#include <chrono>
#include <future>
#include <limits>
#include <set>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

class EventData : public EventFixture
{
};

TEST_F(EventData, HandsOutHandleAndUserPointer)
{
    const auto buffer = PushBuffer(5);
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = 100;
    event.Data(&data, &size, 0);
    EXPECT_EQ(data.BufferHandle, buffer.get());
    EXPECT_EQ(data.pUserPointer, UserPointer(5));
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(buffer->GetState(), BufferState::Announced);
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(event.GetDeliveredCount(), 1U);
}

TEST_F(EventData, HandsOutTheOldestFirst)
{
    std::vector<void *> pushed;
    for (uintptr_t i = 0; i < 3; ++i)
    {
        pushed.push_back(PushBuffer(i).get());
    }
    std::vector<void *> fetched;
    for (int i = 0; i < 3; ++i)
    {
        fetched.push_back(Fetch().BufferHandle);
    }
    EXPECT_EQ(fetched, pushed);
}

TEST_F(EventData, RefusesANullSizeBeforeItWaits)
{
    EVENT_NEW_BUFFER_DATA data{};
    event.Kill();
    EXPECT_EQ(FailureOf([&] { event.Data(&data, nullptr, GENTL_INFINITE); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { Fetch(); }), aborted);
}

TEST_F(EventData, KeepsTheEventWhenTheBufferIsShort)
{
    const auto buffer = PushBuffer();
    std::array<char, 16> data{};
    size_t size = 15;
    EXPECT_EQ(FailureOf([&] { event.Data(data.data(), &size, GENTL_INFINITE); }),
              (Failure{"The supplied buffer is too small. Requires 16 bytes instead of the supplied 15.",
                       GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(buffer->GetState(), BufferState::Output);
    EXPECT_EQ(event.GetDeliveredCount(), 0U);
    EXPECT_EQ(Fetch().BufferHandle, buffer.get());
}

TEST_F(EventData, NoticesAShortBufferBeforeItWaits)
{
    std::array<char, 16> data{};
    size_t size = 0;
    event.Kill();
    EXPECT_EQ(FailureOf([&] { event.Data(data.data(), &size, GENTL_INFINITE); }).code,
              GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(FailureOf([&] { Fetch(); }), aborted);
}

TEST_F(EventData, DropsTheFirstEventForANullBuffer)
{
    const auto first = PushBuffer();
    const auto second = PushBuffer();
    size_t size = 0;
    event.Data(nullptr, &size, 0);
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(first->GetState(), BufferState::Announced);
    EXPECT_EQ(second->GetState(), BufferState::Output);
    EXPECT_EQ(event.GetDeliveredCount(), 0U);
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(Fetch().BufferHandle, second.get());
}

TEST_F(EventData, LeavesALargeSizeAloneForANullBuffer)
{
    PushBuffer();
    size_t size = 17;
    event.Data(nullptr, &size, 0);
    EXPECT_EQ(size, 17U);
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(EventData, WaitsAlsoForANullBuffer)
{
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { event.Data(nullptr, &size, 0); }), TimedOut(0));
    EXPECT_EQ(size, 16U);
}

TEST_F(EventData, TimesOutAtOnceWithoutAWait)
{
    EXPECT_EQ(FailureOf([&] { Fetch(0); }), TimedOut(0));
}

TEST_F(EventData, TimesOutAfterTheMillisecondsGiven)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(FailureOf([&] { Fetch(120); }), TimedOut(120));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(120));
}

TEST_F(EventData, KeepsTheQueueAfterATimeout)
{
    EXPECT_EQ(FailureOf([&] { Fetch(1); }), TimedOut(1));
    const auto buffer = PushBuffer();
    EXPECT_EQ(Fetch().BufferHandle, buffer.get());
}

TEST_F(EventData, IsWokenByAPushWithAndWithoutALimit)
{
    for (const uint64_t timeout :
         {uint64_t{GENTL_INFINITE}, std::numeric_limits<uint64_t>::max() - 1, uint64_t{600000}})
    {
        auto fetched = CallThatSleeps([&] { return Fetch(timeout).BufferHandle; });
        const auto buffer = PushBuffer();
        EXPECT_EQ(fetched.get(), buffer.get());
    }
}

// Without the signal a wait would still end, but only as it looks again.
TEST_F(EventData, SignalsItsQueueForAPush)
{
    std::future<void> pushed;
    {
        utils::MutexLock lock(queue->mutex);
        pushed = std::async(std::launch::async, [&] { PushBuffer(); });
        EXPECT_EQ(queue->changed.wait_for(lock.ForWait(), std::chrono::seconds(10)),
                  std::cv_status::no_timeout);
    }
    pushed.get();
}

TEST_F(EventData, GivesEachOfSeveralWaitersAnEntryOfItsOwn)
{
    constexpr size_t count = 4;
    std::vector<std::future<void *>> waiters;
    for (size_t i = 0; i < count; ++i)
    {
        waiters.push_back(CallThatSleeps([&] { return Fetch(GENTL_INFINITE).BufferHandle; }));
    }
    std::set<void *> pushed;
    for (size_t i = 0; i < count; ++i)
    {
        pushed.insert(PushBuffer(i).get());
    }
    std::set<void *> fetched;
    for (auto &waiter : waiters)
    {
        fetched.insert(waiter.get());
    }
    EXPECT_EQ(fetched, pushed);
    EXPECT_EQ(event.GetDeliveredCount(), count);
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(EventData, LosesTheEntryOfABufferThatWasRevoked)
{
    const auto revoked = PushBuffer();
    const auto next = PushBuffer();
    library.instances.buffers.Remove(revoked.get());
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { Fetch(); }),
              (Failure{"Failed to get buffer for new buffer event!", GC_ERR_ERROR}));
    EXPECT_EQ(log.Lines(),
              std::vector{fmt::format("error: Failed to get buffer for new buffer event! Handle: {}",
                                      static_cast<void *>(revoked.get()))});
    EXPECT_THAT(log.Origins(), testing::Each("EventHandler::Data"));
    EXPECT_EQ(event.GetDeliveredCount(), 0U);
    EXPECT_EQ(Fetch().BufferHandle, next.get());
}

TEST_F(EventData, LosesTheEntryOfARevokedBufferForANullBufferToo)
{
    const auto revoked = PushBuffer();
    library.instances.buffers.Remove(revoked.get());
    const LogCapture log;
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { event.Data(nullptr, &size, 0); }),
              (Failure{"Failed to get buffer for new buffer event!", GC_ERR_ERROR}));
    EXPECT_EQ(log.Lines().size(), 1U);
    EXPECT_THAT(log.Origins(), testing::Each("EventHandler::Data"));
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(EventData, KeepsAnEntryWithoutAHandle)
{
    event.Push({.id = uint64_t{7}, .value = UserPointer(0)});
    EXPECT_EQ(FailureOf([&] { Fetch(); }), (Failure{"Buffer holds no valid data", GC_ERR_INVALID_BUFFER}));
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(event.GetDeliveredCount(), 0U);
}

TEST_F(EventData, KeepsAnEntryWithoutAUserPointer)
{
    const auto buffer = MakeBuffer();
    event.Push({.id = buffer.get(), .value = uint64_t{7}});
    EXPECT_EQ(FailureOf([&] { Fetch(); }), (Failure{"Buffer holds no valid data", GC_ERR_INVALID_BUFFER}));
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(buffer->GetState(), BufferState::Output);
}

TEST_F(EventData, ServesOnlyTheNewBufferEvent)
{
    EventHandler other(ReleaseTo(library), EVENT_FEATURE_INVALIDATE);
    const auto buffer = MakeBuffer();
    other.Push({.id = buffer.get(), .value = UserPointer(0)});
    EXPECT_EQ(FailureOf([&] { FetchFrom(other, 0); }),
              (Failure{fmt::format("Event type {} not implemented", int(EVENT_FEATURE_INVALIDATE)),
                       GC_ERR_NOT_IMPLEMENTED}));
    // A null buffer drops the entry and leaves the buffer alone.
    size_t size = 3;
    EXPECT_NO_THROW(other.Data(nullptr, &size, 0));
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(buffer->GetState(), BufferState::Output);
    EXPECT_EQ(FailureOf([&] { FetchFrom(other, 0); }), TimedOut(0));
}

TEST_F(EventData, CountsDeliveriesSinceTheLastReset)
{
    PushBuffer();
    PushBuffer();
    Fetch();
    Fetch();
    EXPECT_EQ(event.GetDeliveredCount(), 2U);
    event.ResetDeliveredCount();
    EXPECT_EQ(event.GetDeliveredCount(), 0U);
    PushBuffer();
    Fetch();
    EXPECT_EQ(event.GetDeliveredCount(), 1U);
    EXPECT_EQ(NumFired(), 3U);
}

TEST_F(EventData, KeepsUpWithManyPushersAndWaiters)
{
    constexpr int count = 200;
    std::vector<std::shared_ptr<Buffer>> buffers;
    for (uintptr_t i = 0; i < count; ++i)
    {
        buffers.push_back(MakeBuffer(i));
    }
    const auto fetchUntilKilled = [&]
    {
        int fetched = 0;
        while (FailureOf([&] { Fetch(GENTL_INFINITE); }) != aborted)
        {
            ++fetched;
        }
        return fetched;
    };
    auto waiter = std::async(std::launch::async, fetchUntilKilled);
    auto otherWaiter = std::async(std::launch::async, fetchUntilKilled);
    {
        std::vector<std::jthread> pushers;
        for (int pusher = 0; pusher < 2; ++pusher)
        {
            pushers.emplace_back(
                [&, pusher]
                {
                    for (int i = pusher; i < count; i += 2)
                    {
                        Push(*buffers[static_cast<size_t>(i)]);
                    }
                });
        }
    }
    while (NumInQueue() != 0)
    {
        std::this_thread::yield();
    }
    event.Kill();
    event.Kill();
    EXPECT_EQ(waiter.get() + otherWaiter.get(), count);
    EXPECT_EQ(event.GetDeliveredCount(), uint64_t{count});
    EXPECT_EQ(NumFired(), uint64_t{count});
}

} // namespace
} // namespace GenTL::internal
