// Many openings, and what a process holds; a producer measured beside another.

#include "consumer/frame_cost.h"
#include "consumer/stop_orders.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/percentiles.h"
#include "gentlctl/soak.h"
#include "gentlctl/throughput.h"

#include "gentlctl_run.h"
#include "support/environment_variable.h"
#include "support/failure.h"
#include "support/lower_library.h"
#include "support/sanitizer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace gentlctl
{
namespace
{

using GenTL::internal::EnvironmentVariable;
using GenTL::internal::FailureOf;
using GenTL::internal::LowerLibrary;

const std::string producersUnderLoad[] = {QVR_LIB_DIR "/qvr_proxygentl.cti",
                                          QVR_LIB_DIR "/anygentl/qvr_anygentl.cti",
                                          QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti"};

TEST(UsageOfAProcess, CountsHandlesAndThreads)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    const auto wait = [&] { const std::lock_guard until(mutex); };
    // ThreadSanitizer starts a thread of its own beside a program's first one.
    std::thread first(wait);
    const auto before = ReadUsage();
    EXPECT_GT(before.memory, 1 << 20);
    const int handle = open("/dev/null", O_RDONLY | O_CLOEXEC);
    std::thread second(wait);
    const auto now = ReadUsage();
    lock.unlock();
    first.join();
    second.join();
    close(handle);
    EXPECT_EQ(now.handles - before.handles, 1);
    EXPECT_EQ(now.threads - before.threads, 1);
    EXPECT_NE(FailureOf([] { ReadUsage("/nowhere"); }).text.find("Cannot read /nowhere/statm"),
              std::string::npos);
}

TEST(SoakFaults, NameWhatGrewBeyondItsLimit)
{
    SoakOptions options;
    options.memoryLimit = 1 << 20;
    SoakReport report{.cycles = 40, .failures = 0, .first = {10 << 20, 5, 2}, .now = {11 << 20, 5, 2}};
    report.isMeasured = true;
    EXPECT_TRUE(FaultsIn(report, options).empty());
    report.now = {(11 << 20) + 1, 6, 3};
    report.failures = 2;
    const auto findings = FaultsIn(report, options);
    ASSERT_EQ(findings.size(), 4U);
    EXPECT_EQ(findings[0], "2 of 40 cycles failed");
    EXPECT_EQ(findings[1], "The memory grew by 1.0 MiB, more than the limit of 1.0 MiB");
    EXPECT_EQ(findings[2], "1 more file handles are open than after the first rounds");
    EXPECT_EQ(findings[3], "1 more threads run than after the first rounds");
    report.isMeasured = false;
    EXPECT_EQ(FaultsIn(report, options).size(), 1U);
    EXPECT_EQ(ToJson(report)["growth"]["handles"], 1);
}

TEST(SoakCycles, StopInAllOrdersWithoutGrowth)
{
    const Interrupt interrupt;
    for (const auto &file : producersUnderLoad)
    {
        SoakOptions options{.producer = file, .device = "OVRA-F1"};
        options.cycles = 4 * StopOrders().size();
        options.frames = 3;
        std::vector<std::string> told;
        const auto report =
            Soak(options,
                 {[&](const std::string &failure) { told.push_back(failure); }, [](const SoakReport &) {}},
                 interrupt);
        EXPECT_TRUE(told.empty()) << file << ": " << told.front();
        EXPECT_EQ(report.cycles, 16U);
        EXPECT_EQ(report.frames, 48U);
        EXPECT_TRUE(report.isMeasured);
        EXPECT_EQ(report.Growth().handles, 0) << file;
        EXPECT_EQ(report.Growth().threads, 0) << file;
    }
}

TEST(SoakCycles, AreCountedWhenTheyFail)
{
    LowerLibrary lower; // takes no memory of the consumer, and its device has no AcquisitionStart
    const Interrupt interrupt;
    std::vector<std::string> told;
    SoakOptions options{.producer = lower.Path(), .device = "cam0"};
    const auto report = Soak(
        options, {[&](const std::string &failure) { told.push_back(failure); }, [](const SoakReport &) {}},
        interrupt);
    EXPECT_EQ(report.failures, 12U) << "failures in a row end the soak";
    ASSERT_EQ(told.size(), 12U);
    EXPECT_TRUE(told[1].starts_with("Cycle 2 (end a waiting thread, flush, revoke): ")) << told[1];
    EXPECT_NE(told[3].find("AcquisitionStart"), std::string::npos) << told[3];
}

TEST(SoakCycles, CloseTheDeviceBeforeItsStreamInOneOrder)
{
    const EnvironmentVariable defect("BROKEN_DEFECT", "keeps device");
    const Interrupt interrupt;
    std::vector<std::string> told;
    SoakOptions options{.producer = QVR_LIB_DIR "/test/broken_producer.cti", .device = "OVRA-F1"};
    options.cycles = StopOrders().size();
    options.frames = 1;
    const auto report = Soak(
        options, {[&](const std::string &failure) { told.push_back(failure); }, [](const SoakReport &) {}},
        interrupt);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told[0].starts_with("Cycle 3 (unregister, flush, revoke by index): ")) << told[0];
    EXPECT_EQ(report.failures, 1U);
}

TEST(SoakMemory, DoesNotCountWhatTheAllocatorKeeps)
{
    if (hasSanitizer)
    {
        GTEST_SKIP() << "The sanitizer has an allocator of its own";
    }
    // The buffers for its frames of 5 MB were 35 MB of a process that has 14 MB without.
    const auto report = gentlctl_run::JsonOf("soak -d OVRA-M5 -c 8 -n 1");
    EXPECT_LT(report["now"]["memoryBytes"], 30 << 20) << report;
}

TEST(SoakMemory, ShowsALeakOfOneMebibyteACycle)
{
    const auto run = gentlctl_run::Gentlctl(
        "soak -d OVRA-F1 -c 32 -n 1 --producer " QVR_LIB_DIR "/test/broken_producer.cti", "2>&1",
        "ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0 BROKEN_DEFECT=leaks ");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: The memory grew by "), std::string::npos) << run.output;
}

TEST(SoakCycles, GoOnWhenAWaitCannotBeKilled)
{
    for (const auto *name : {"keeps waiting", "waits on"}) // a kill that fails, and one without effect
    {
        const EnvironmentVariable defect("BROKEN_DEFECT", name);
        const Interrupt interrupt;
        std::vector<std::string> told;
        SoakOptions options{.producer = QVR_LIB_DIR "/test/broken_producer.cti", .device = "OVRA-F1"};
        options.cycles = 3;
        options.frames = 1;
        const auto report =
            Soak(options,
                 {[&](const std::string &failure) { told.push_back(failure); }, [](const SoakReport &) {}},
                 interrupt);
        EXPECT_EQ(report.cycles, 3U);
        ASSERT_EQ(told.size(), 1U) << name;
        EXPECT_TRUE(told[0].starts_with("Cycle 2 (end a waiting thread, flush, revoke): ")) << told[0];
    }
}

TEST(SoakCommand, PrintsWhatTheProcessHolds)
{
    const auto run = gentlctl_run::Gentlctl("soak -c 4 -n 1 -d OVRA-F1");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_TRUE(run.output.starts_with("4 cycles, 4 frames, 0 failures, memory ")) << run.output;
    EXPECT_TRUE(run.output.ends_with("; too few cycles to tell growth\n")) << run.output;
}

TEST(SumOfAFrame, ChangesWithEachByte)
{
    std::vector<uint8_t> bytes(29); // no whole number of words
    const auto zero = SumOf(bytes.data(), bytes.size());
    for (auto &byte : bytes)
    {
        byte = 1;
        EXPECT_NE(SumOf(bytes.data(), bytes.size()), zero) << &byte - bytes.data();
        byte = 0;
    }
}

TEST(PercentilesOfValues, AreValuesOfTheList)
{
    EXPECT_EQ(PercentilesOf({}).count, 0U);
    const auto one = PercentilesOf({7});
    EXPECT_EQ(one.median, 7);
    EXPECT_EQ(one.p99, 7);
    std::vector<double> values;
    for (int i = 200; i > 0; --i)
    {
        values.push_back(i);
    }
    const auto many = PercentilesOf(values);
    EXPECT_EQ(many.median, 100);
    EXPECT_EQ(many.p99, 198);
    EXPECT_EQ(many.maximum, 200);
    EXPECT_EQ(MedianOf({3, 1, 2}), 2);
}

TEST(BenchCommand, ComparesWithTheLowerProducer)
{
    for (const auto *file : {"qvr_proxygentl.cti", "anygentl/qvr_anygentl.cti"})
    {
        const auto json = gentlctl_run::JsonOf(std::string("bench --producer " QVR_LIB_DIR "/") + file +
                                               " -n 20 -r 1 -d OVRA-F1");
        ASSERT_EQ(json.size(), 2U) << json;
        EXPECT_TRUE(json[0]["producer"].get<std::string>().ends_with(file)) << json;
        EXPECT_TRUE(json[1]["producer"].get<std::string>().ends_with("qvr_gevgentl.pr_cti")) << json;
        for (const auto &result : json)
        {
            EXPECT_EQ(result["device"], "SIM-SIM0006");
            EXPECT_GT(result["framesPerSecond"], 0);
            EXPECT_GT(result["cpuPerFrameUs"], 0);
            EXPECT_GE(result["intervalUs"]["p99"], result["intervalUs"]["p50"]);
            const double bytesPerFrame =
                result["bytesPerSecond"].get<double>() / result["framesPerSecond"].get<double>();
            EXPECT_NEAR(bytesPerFrame, 640 * 480, 1);
        }
        EXPECT_TRUE(json[1]["latencyUs"]["p50"].is_number()) << json;
    }
}

} // namespace
} // namespace gentlctl
