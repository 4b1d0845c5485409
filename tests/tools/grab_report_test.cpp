#include "gentlctl/grab_report.h"

#include "gentlctl/progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <exception>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

using namespace std::chrono_literals;

/// Three frames in 100 ms, the second incomplete, one lost before the third.
DeviceGrab ThreeFrames()
{
    DeviceGrab grab{.device = "CAM", .folder = "frames", .report = {}};
    auto &report = grab.report;
    report.statistics.Add({.at = 0ms, .number = 1, .latency = 2ms});
    report.statistics.Add({.at = 40ms, .number = 2, .latency = 4ms, .isIncomplete = true});
    report.statistics.Add({.at = 100ms, .number = 4, .latency = 6ms});
    report.taken = 3;
    report.written = 3;
    report.latencyUncertainty = 10us;
    return grab;
}

TEST(GrabReport, IsATableOfTheTimes)
{
    EXPECT_EQ(ToText(ThreeFrames()),
              "CAM: 3 frames, 1 incomplete, 1 lost, 20.0 frames/s\n"
              "              minimum       mean    maximum     jitter\n"
              "  interval     40.000     50.000     60.000     10.000 ms\n"
              "  latency       2.000      4.000      6.000      1.633 ms, give or take 0.010 ms\n"
              "Written to frames\n");
}

TEST(GrabReport, NamesNoFolderWithoutFiles)
{
    auto grab = ThreeFrames();
    grab.report.written = 0;
    EXPECT_EQ(ToText(grab).find("Written to"), std::string::npos);
}

TEST(GrabReport, IsOneLineOfOneFrame)
{
    DeviceGrab grab{.device = "CAM", .folder = "", .report = {}};
    grab.report.statistics.Add({});
    EXPECT_EQ(ToText(grab), "CAM: 1 frame, 0 incomplete, 0 lost\n");
}

TEST(GrabReport, SaysWhyTheLatencyIsNotKnown)
{
    DeviceGrab grab{.device = "CAM", .folder = "", .report = {}};
    grab.report.statistics.Add({});
    grab.report.statistics.Add({.at = 100ms});
    grab.report.statistics.SetSkipped(5);
    grab.report.noLatency = "the device has no TimestampLatch";
    const auto text = ToText(grab);
    EXPECT_NE(text.find("latency  not known: the device has no TimestampLatch\n"), std::string::npos) << text;
    EXPECT_NE(text.find(", 5 skipped for newer ones,"), std::string::npos) << text;
    const auto json = ToJson(grab);
    EXPECT_EQ(json["noLatency"], "the device has no TimestampLatch");
    EXPECT_EQ(json["latencyMs"], nullptr);
    EXPECT_FALSE(json.contains("latencyUncertaintyMs"));
}

TEST(GrabReport, HasAllFiguresInJson)
{
    auto grab = ThreeFrames();
    grab.report.unwritten = 2;
    grab.report.files = {"a", "b"};
    grab.report.chunks = {{"ChunkGain", 1}};
    const auto json = ToJson(grab);
    EXPECT_EQ(json["device"], "CAM");
    EXPECT_EQ(json["delivered"], 3);
    EXPECT_EQ(json["lost"], 1);
    EXPECT_EQ(json["latencyUncertaintyMs"], 0.01);
    EXPECT_EQ(json["written"], 3);
    EXPECT_EQ(json["notWritten"], 2);
    EXPECT_EQ(json["files"], (Json{"a", "b"}));
    EXPECT_EQ(json["chunks"]["ChunkGain"], 1);
}

TEST(GrabComplaints, AreNoneWhenAllCame)
{
    EXPECT_TRUE(Complaints(ThreeFrames().report, {}, 0).empty());
}

TEST(GrabComplaints, NameTheSignal)
{
    const auto report = ThreeFrames().report;
    EXPECT_EQ(Complaints(report, {.frames = 5}, SIGINT),
              (std::vector<std::string>{"Ended by SIGINT, 3 of 5 frames came"}));
    EXPECT_EQ(Complaints(report, {.frames = 2}, SIGTERM),
              (std::vector<std::string>{"Ended by SIGTERM, 2 of 2 frames came"}));
    EXPECT_EQ(Complaints(report, {.frames = 0}, SIGINT),
              (std::vector<std::string>{"Ended by SIGINT after 3 frames"}));
}

TEST(GrabComplaints, CountWhatWasNotWritten)
{
    auto report = ThreeFrames().report;
    report.unwritten = 1;
    EXPECT_EQ(Complaints(report, {}, 0),
              (std::vector<std::string>{"1 frame came and was not written: the writing did not keep up"}));
    report.isAbandoned = true;
    EXPECT_EQ(Complaints(report, {}, 0),
              (std::vector<std::string>{"1 frame came and was not written: a signal ended the writing"}));
    report.failure = std::make_exception_ptr(std::runtime_error("full"));
    report.unwritten = 2;
    EXPECT_EQ(Complaints(report, {}, 0), (std::vector<std::string>{"2 frames came and were not written"}));
    report.failure = nullptr;
    report.isPipeClosed = true;
    EXPECT_EQ(Complaints(report, {}, 0),
              (std::vector<std::string>{"The reader closed the pipe after 3 frames"}));
}

TEST(StrictGrab, LetsACompleteOnePass)
{
    DeviceGrab grab{.device = "CAM", .folder = "", .report = {}};
    grab.report.statistics.Add({.number = 1});
    grab.report.statistics.SetSkipped(3);
    EXPECT_EQ(StrictComplaint(grab), std::nullopt);
    grab.report.isPipeClosed = true;
    grab.report.unwritten = 1;
    EXPECT_EQ(StrictComplaint(grab), std::nullopt) << "the reader has all that it wanted";
}

TEST(StrictGrab, NamesEachKindOfLoss)
{
    EXPECT_EQ(StrictComplaint(ThreeFrames()),
              "CAM: 1 frame lost, 1 incomplete, 0 not written, which --strict does not let pass");
    DeviceGrab grab{.device = "CAM", .folder = "", .report = {}};
    grab.report.unwritten = 2;
    EXPECT_EQ(StrictComplaint(grab),
              "CAM: 0 frames lost, 0 incomplete, 2 not written, which --strict does not let pass");
}

TEST(GrabProgress, IsABarOfTheFramesToGrab)
{
    auto report = ThreeFrames().report;
    EXPECT_EQ(ProgressText(report, 6),
              "[###############               ] 3/6  20.0 frames/s  1 lost  1 incomplete");
    EXPECT_EQ(ProgressText(report, 6, false), "3/6  20.0 frames/s  1 lost  1 incomplete");
    report.unwritten = 4;
    EXPECT_NE(ProgressText(report, 6).find("  4 not written"), std::string::npos);
    report.hasEnded = true;
    report.waiting = 7;
    EXPECT_EQ(ProgressText(report, 6), "7 still to write; Ctrl-C leaves them out");
    report.waiting = 0;
    report.taken = 9;
    EXPECT_NE(ProgressText(report, 6).find("[##############################] 9/6"), std::string::npos);
}

TEST(GrabProgress, IsTheTimeAndTheIntervalsWithoutAnEnd)
{
    EXPECT_EQ(ProgressText(ThreeFrames().report, 0),
              "0 s  3 frames  20.0 frames/s  40.0 to 60.0 ms  1 lost  1 incomplete");
}

} // namespace
} // namespace gentlctl
