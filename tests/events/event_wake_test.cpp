#include "events/event_fixture.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A wait ends when it is told to, not when it looks again by itself, every 50 ms. Half of the waits decide:
/// a busy machine may delay some, and some end before they have begun.
class EventWake : public EventFixture
{
protected:
    static constexpr auto soon = 30ms;

    template <typename Measure>
    static Clock::duration MedianOf(Measure measure)
    {
        std::vector<Clock::duration> durations(21);
        std::ranges::generate(durations, measure);
        std::ranges::sort(durations);
        return durations[durations.size() / 2];
    }

    /// From the wake-up to the end of the wait.
    template <typename Wake>
    Clock::duration TimeToWake(Wake wake)
    {
        std::promise<void> started;
        auto waiter = std::async(std::launch::async,
                                 [&]
                                 {
                                     started.set_value();
                                     FailureOf([&] { Fetch(GENTL_INFINITE); });
                                     return Clock::now();
                                 });
        started.get_future().wait();
        const auto begin = Clock::now();
        // So that the wait has begun in most cases.
        while (Clock::now() - begin < 2ms)
        {
            std::this_thread::yield();
        }
        const auto woken = Clock::now();
        wake();
        return waiter.get() - woken;
    }
};

TEST_F(EventWake, ComesWithAPush)
{
    EXPECT_LT(MedianOf([&] { return TimeToWake([&] { PushBuffer(); }); }), soon);
}

TEST_F(EventWake, ComesWithAKill)
{
    EXPECT_LT(MedianOf([&] { return TimeToWake([&] { event.Kill(); }); }), soon);
}

TEST_F(EventWake, ComesWithTheDeadline)
{
    EXPECT_LT(MedianOf(
                  [&]
                  {
                      const auto begin = Clock::now();
                      EXPECT_EQ(FailureOf([&] { Fetch(1); }), TimedOut(1));
                      return Clock::now() - begin;
                  }),
              soon);
}

} // namespace
} // namespace GenTL::internal
