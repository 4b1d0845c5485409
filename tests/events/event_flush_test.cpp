#include "event_fixture.h"
#include "support/sleeping_call.h"

namespace GenTL::internal
{
namespace
{

class EventFlush : public EventFixture
{
};

TEST_F(EventFlush, GivesEachWaitingBufferBackUnqueued)
{
    const auto first = PushBuffer();
    const auto second = PushBuffer();
    const auto other = MakeBuffer();
    event.Flush();
    EXPECT_EQ(first->GetState(), BufferState::Announced);
    EXPECT_EQ(second->GetState(), BufferState::Announced);
    EXPECT_EQ(other->GetState(), BufferState::Output);
    EXPECT_EQ(NumInQueue(), 0U);
    EXPECT_EQ(FailureOf([&] { Fetch(0); }), TimedOut(0));
}

TEST_F(EventFlush, KeepsTheCounters)
{
    PushBuffer();
    PushBuffer();
    Fetch();
    event.Flush();
    EXPECT_EQ(NumFired(), 2U);
    EXPECT_EQ(event.GetDeliveredCount(), 1U);
}

TEST_F(EventFlush, OfAnEmptyQueueDoesNothing)
{
    EXPECT_NO_THROW(event.Flush());
    EXPECT_EQ(NumInQueue(), 0U);
}

TEST_F(EventFlush, LeavesAKillForTheNextWait)
{
    event.Kill();
    event.Flush();
    EXPECT_EQ(FailureOf([&] { Fetch(0); }), aborted);
}

TEST_F(EventFlush, DoesNotEndAWait)
{
    auto waiter = CallThatSleeps([&] { return Fetch(GENTL_INFINITE).BufferHandle; });
    event.Flush();
    const auto buffer = PushBuffer();
    EXPECT_EQ(waiter.get(), buffer.get());
}

TEST_F(EventFlush, LeavesTheBuffersOfAnotherEventTypeAlone)
{
    EventHandler other(ReleaseTo(library), EVENT_FEATURE_INVALIDATE);
    const auto buffer = MakeBuffer();
    other.Push({.id = buffer.get(), .value = UserPointer(0)});
    other.Flush();
    EXPECT_EQ(buffer->GetState(), BufferState::Output);
    EXPECT_EQ(FailureOf([&] { FetchFrom(other, 0); }), TimedOut(0));
}

} // namespace
} // namespace GenTL::internal
