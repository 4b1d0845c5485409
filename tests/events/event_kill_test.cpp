#include "event_fixture.h"
#include "support/sleeping_call.h"

#include <chrono>
#include <condition_variable>
#include <future>

namespace GenTL::internal
{
namespace
{

class EventKill : public EventFixture
{
};

TEST_F(EventKill, BeatsAQueueThatHasData)
{
    const auto buffer = PushBuffer();
    event.Kill();
    EXPECT_EQ(FailureOf([&] { Fetch(GENTL_INFINITE); }), aborted);
    EXPECT_EQ(NumInQueue(), 1U);
    EXPECT_EQ(Fetch().BufferHandle, buffer.get());
}

TEST_F(EventKill, EndsExactlyOneWaitWithAbort)
{
    event.Kill();
    EXPECT_EQ(FailureOf([&] { Fetch(0); }), aborted);
    EXPECT_EQ(FailureOf([&] { Fetch(0); }), TimedOut(0));
}

TEST_F(EventKill, IsCountedWithoutAWaiter)
{
    event.Kill();
    event.Kill();
    EXPECT_EQ(FailureOf([&] { Fetch(GENTL_INFINITE); }), aborted);
    EXPECT_EQ(FailureOf([&] { Fetch(60000); }), aborted);
    EXPECT_EQ(FailureOf([&] { Fetch(1); }), TimedOut(1));
}

TEST_F(EventKill, AbortsADropToo)
{
    const auto buffer = PushBuffer();
    event.Kill();
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { event.Data(nullptr, &size, GENTL_INFINITE); }), aborted);
    EXPECT_EQ(buffer->GetState(), BufferState::Output);
}

TEST_F(EventKill, WakesAWaiter)
{
    for (const uint64_t timeout : {uint64_t{GENTL_INFINITE}, uint64_t{600000}})
    {
        auto waiter = CallThatSleeps([&] { return FailureOf([&] { Fetch(timeout); }); });
        event.Kill();
        EXPECT_EQ(waiter.get(), aborted);
    }
}

// Without the signal a wait would still end, but only as it looks again.
TEST_F(EventKill, SignalsItsQueue)
{
    auto signalled = CallThatSleeps(
        [&]
        {
            utils::MutexLock lock(queue->mutex);
            return queue->changed.wait_for(lock.ForWait(), std::chrono::seconds(10));
        });
    event.Kill();
    EXPECT_EQ(signalled.get(), std::cv_status::no_timeout);
}

TEST_F(EventKill, WakesOneOfTwoWaiters)
{
    std::promise<Failure> first;
    auto ended = first.get_future();
    std::atomic<int> number = 0;
    const auto wait = [&]
    {
        const auto failure = FailureOf([&] { Fetch(GENTL_INFINITE); });
        if (++number == 1)
        {
            first.set_value(failure);
        }
        return failure;
    };
    auto waiters = {CallThatSleeps(wait).share(), CallThatSleeps(wait).share()};
    event.Kill();
    EXPECT_EQ(ended.get(), aborted);
    const auto buffer = PushBuffer();
    int numAborted = 0;
    for (const auto &waiter : waiters)
    {
        numAborted += waiter.get() == aborted ? 1 : 0;
    }
    EXPECT_EQ(numAborted, 1);
    EXPECT_EQ(buffer->GetState(), BufferState::Announced);
}

} // namespace
} // namespace GenTL::internal
