#include "gentlctl/frame_statistics.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>

namespace gentlctl
{
namespace
{

using namespace std::chrono_literals;

FrameStatistics FramesAt(std::initializer_list<std::chrono::nanoseconds> times)
{
    FrameStatistics statistics;
    for (const auto &time : times)
    {
        statistics.Add({.at = time});
    }
    return statistics;
}

FrameStatistics FramesNumbered(std::initializer_list<uint64_t> numbers)
{
    FrameStatistics statistics;
    for (const auto number : numbers)
    {
        statistics.Add({.number = number});
    }
    return statistics;
}

TEST(Spread, IsZeroWithoutValues)
{
    const Spread none;
    EXPECT_EQ(none.Count(), 0U);
    EXPECT_EQ(none.Minimum(), 0);
    EXPECT_EQ(none.Mean(), 0);
    EXPECT_EQ(none.Maximum(), 0);
    EXPECT_EQ(none.Deviation(), 0);
}

TEST(Spread, KnowsHowMuchValuesVary)
{
    Spread spread;
    for (const double value : {2, 4, 4, 4, 5, 5, 7, 9})
    {
        spread.Add(value);
    }
    EXPECT_EQ(spread.Minimum(), 2);
    EXPECT_DOUBLE_EQ(spread.Mean(), 5);
    EXPECT_EQ(spread.Maximum(), 9);
    EXPECT_DOUBLE_EQ(spread.Deviation(), 2);
}

TEST(Spread, KeepsTheDigitsOfSmallDifferences)
{
    Spread spread;
    for (int i = 0; i < 1000; ++i)
    {
        spread.Add(1e9 + (i % 2 == 0 ? 1 : -1));
    }
    EXPECT_NEAR(spread.Deviation(), 1, 1e-6);
}

TEST(Spread, TakesNegativeValuesAlone)
{
    Spread spread;
    spread.Add(-3);
    EXPECT_EQ(spread.Minimum(), -3);
    EXPECT_EQ(spread.Maximum(), -3);
}

TEST(FrameStatistics, MeasuresIntervalsFromOneFrameToTheNext)
{
    const auto statistics = FramesAt({100ms, 200ms, 400ms});
    EXPECT_EQ(statistics.Delivered(), 3U);
    EXPECT_DOUBLE_EQ(statistics.Seconds(), 0.3);
    EXPECT_DOUBLE_EQ(statistics.Rate(), 2 / 0.3);
    EXPECT_DOUBLE_EQ(statistics.Intervals().Minimum(), 0.1);
    EXPECT_DOUBLE_EQ(statistics.Intervals().Mean(), 0.15);
    EXPECT_DOUBLE_EQ(statistics.Intervals().Maximum(), 0.2);
    EXPECT_DOUBLE_EQ(statistics.Intervals().Deviation(), 0.05);
}

TEST(FrameStatistics, HasNoRateOfOneFrame)
{
    EXPECT_EQ(FramesAt({}).Rate(), 0);
    EXPECT_EQ(FramesAt({5ms}).Rate(), 0);
    EXPECT_EQ(FramesAt({5ms}).Intervals().Count(), 0U);
    EXPECT_EQ(FramesAt({5ms, 5ms}).Rate(), 0) << "no time has passed";
}

TEST(FrameStatistics, HasNoRateOfAFewFramesThatWaited)
{
    EXPECT_EQ(FramesAt({1us, 2us, 3us}).Rate(), 0);
    EXPECT_EQ(ToJson(FramesAt({1us, 2us, 3us}))["framesPerSecond"], nullptr);
    EXPECT_GT(FramesAt({0us, 1us, 2us, 3us, 4us, 5us, 6us, 7us, 8us, 9us}).Rate(), 0);
}

TEST(FrameStatistics, CountsIncompleteFramesAmongTheDelivered)
{
    FrameStatistics statistics;
    statistics.Add({.isIncomplete = true});
    statistics.Add({});
    EXPECT_EQ(statistics.Delivered(), 2U);
    EXPECT_EQ(statistics.Incomplete(), 1U);
}

TEST(FrameStatistics, CountsNumbersThatAreMissing)
{
    EXPECT_EQ(FramesNumbered({1, 2, 3}).Lost(), 0U);
    EXPECT_EQ(FramesNumbered({7, 8}).Lost(), 0U) << "the first number is any";
    EXPECT_EQ(FramesNumbered({1, 4, 5, 7}).Lost(), 3U);
}

TEST(FrameStatistics, TakesASmallerNumberAsANewCount)
{
    EXPECT_EQ(FramesNumbered({65534, 65535, 1, 2}).Lost(), 0U);
    EXPECT_EQ(FramesNumbered({5, 5, 6}).Lost(), 0U);
}

TEST(FrameStatistics, TakesAFrameWithoutANumberAsTheNext)
{
    FrameStatistics statistics;
    statistics.Add({.number = 1});
    statistics.Add({});
    EXPECT_EQ(statistics.Lost(), 0U);
    statistics.Add({.number = 5});
    EXPECT_EQ(statistics.Lost(), 2U);
}

TEST(FrameStatistics, TakesTheLargerCountOfLostFrames)
{
    auto statistics = FramesNumbered({1, 4});
    statistics.SetUnderruns(1);
    EXPECT_EQ(statistics.Lost(), 2U);
    statistics.SetUnderruns(3);
    EXPECT_EQ(statistics.Lost(), 3U);
}

TEST(FrameStatistics, DoesNotCallSkippedFramesLost)
{
    auto statistics = FramesNumbered({1, 5});
    statistics.SetSkipped(2);
    EXPECT_EQ(statistics.Skipped(), 2U);
    EXPECT_EQ(statistics.Lost(), 1U);
    statistics.SetSkipped(4);
    EXPECT_EQ(statistics.Lost(), 0U) << "a skipped frame need not have a number";
}

TEST(FrameStatistics, MeasuresLatencyWhereItIsKnown)
{
    FrameStatistics statistics;
    statistics.Add({.latency = 4ms});
    statistics.Add({});
    statistics.Add({.latency = 8ms});
    EXPECT_EQ(statistics.Latency().Count(), 2U);
    EXPECT_DOUBLE_EQ(statistics.Latency().Mean(), 0.006);
}

TEST(FrameStatistics, IsWrittenInMilliseconds)
{
    FrameStatistics statistics;
    statistics.Add({.at = 0ms, .number = 1, .latency = 2ms});
    statistics.Add({.at = 500ms, .number = 3, .latency = 2ms, .isIncomplete = true});
    const auto json = ToJson(statistics);
    EXPECT_EQ(json["delivered"], 2);
    EXPECT_EQ(json["incomplete"], 1);
    EXPECT_EQ(json["lost"], 1);
    EXPECT_EQ(json["framesPerSecond"], 2.0);
    EXPECT_EQ(json["intervalMs"],
              (Json{{"minimum", 500.0}, {"mean", 500.0}, {"maximum", 500.0}, {"jitter", 0.0}}));
    EXPECT_EQ(json["latencyMs"]["maximum"], 2.0);
}

TEST(FrameStatistics, SaysWhatIsNotKnown)
{
    const auto json = ToJson(FrameStatistics());
    EXPECT_EQ(json["intervalMs"], nullptr);
    EXPECT_EQ(json["latencyMs"], nullptr);
}

} // namespace
} // namespace gentlctl
