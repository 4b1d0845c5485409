// Grabs from a lower producer that a test scripts.

#include "gentlctl/grab.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "gentlctl/clock_relation.h"
#include "gentlctl/failure_text.h"
#include "gentlctl/frame_pipe.h"
#include "gentlctl/grab_report.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/software_trigger.h"
#include "gentlctl/throughput.h"

#include "descriptions.h"
#include "support/failure.h"
#include "support/lower_library.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using namespace std::chrono_literals;
using internal::LowerLibrary;

constexpr uint64_t triggerRegister = 0x50;
constexpr uint64_t latchRegister = 0x54;
constexpr uint64_t modeRegister = 0x58;
constexpr uint64_t sourceRegister = 0x5C;
constexpr uint64_t latchedTime = 0x60;

std::string CommandNode(const std::string &name, uint64_t address)
{
    return fmt::format("<Command Name=\"{0}\"><pValue>{0}Reg</pValue><CommandValue>1</CommandValue></Command>"
                       "<IntReg Name=\"{0}Reg\"><Address>{1}</Address><Length>4</Length></IntReg>",
                       name, address);
}

std::string ChoiceNode(const std::string &name, const std::string &first, const std::string &second,
                       uint64_t address)
{
    return fmt::format("<Enumeration Name=\"{0}\"><EnumEntry Name=\"{1}\"><Value>0</Value></EnumEntry>"
                       "<EnumEntry Name=\"{2}\"><Value>1</Value></EnumEntry><pValue>{0}Reg</pValue>"
                       "</Enumeration><IntReg Name=\"{0}Reg\"><Address>{3}</Address><Length>4</Length>"
                       "<AccessMode>RW</AccessMode><Endianess>LittleEndian</Endianess></IntReg>",
                       name, first, second, address);
}

const std::string grabNodes = "<Integer Name=\"PayloadSize\"><pValue>PayloadSizeReg</pValue></Integer>"
                              "<IntReg Name=\"PayloadSizeReg\"><Address>0x70</Address><Length>4</Length>"
                              "<AccessMode>RO</AccessMode><Cachable>NoCache</Cachable></IntReg>" +
                              CommandNode("AcquisitionStart", 0x40) + CommandNode("AcquisitionStop", 0x44);

const std::string triggerNodes = CommandNode("TriggerSoftware", triggerRegister) +
                                 ChoiceNode("TriggerMode", "Off", "On", modeRegister) +
                                 ChoiceNode("TriggerSource", "Line0", "Software", sourceRegister);

const std::string latchNodes =
    CommandNode("TimestampLatch", latchRegister) +
    fmt::format("<Integer Name=\"TimestampLatchValue\"><pValue>LatchedReg</pValue></Integer>"
                "<IntReg Name=\"LatchedReg\"><Address>{}</Address><Length>8</Length>"
                "<AccessMode>RO</AccessMode><Endianess>LittleEndian</Endianess></IntReg>",
                latchedTime);

/// Makes the device of a lower producer a camera with these features, besides those that a grab needs.
void Describe(lower::Producer &producer, const std::string &nodes, std::vector<std::string> features)
{
    features.emplace_back("PayloadSize");
    producer.deviceXml = fmt::format("<RegisterDescription><Category Name=\"Root\">{}</Category>{}{}"
                                     "<Port Name=\"Device\"/></RegisterDescription>",
                                     FeatureList(features), grabNodes, nodes);
    producer.remembersRegisters = true;
}

/// Calls `act` at each wait for an event, with the number of the wait, from 1.
void OnEachWait(lower::Producer &producer, std::function<void(int)> act)
{
    producer.onCall = [act = std::move(act), waits = 0](std::string_view name) mutable
    {
        if (name == "EventGetData")
        {
            act(++waits);
        }
    };
}

/// A camera with these features, besides those that a grab needs.
class ScriptedCamera
{
public:
    ScriptedCamera(const std::string &nodes, const std::vector<std::string> &features)
    {
        Describe(*lower, nodes, features);
        producer = std::make_unique<Producer>(lower.Path());
        device = std::make_unique<OpenDevice>(*producer, "cam0");
        remote = std::make_unique<Features>(device->PortOf("remote"));
    }

    GrabReport Take(const GrabOptions &options, const FrameConsumer &consumer = {}) const
    {
        lower->FailNext("GCRegisterEvent", GC_ERR_NOT_IMPLEMENTED); // it has no EVENT_ERROR
        return Grab(*producer, *device, *remote, options, interrupt, consumer);
    }

    /// Delivers frames with the bytes 1, 2, ... as soon as the stream runs: that many at the first wait.
    void DeliverAtFirstWait(int frames)
    {
        OnEachWait(*lower,
                   [this, frames](int wait)
                   {
                       for (int content = 1; wait == 1 && content <= frames; ++content)
                       {
                           Deliver(content);
                       }
                   });
    }

    void Deliver(int content) { lower->Deliver({std::vector<uint8_t>(64, static_cast<uint8_t>(content))}); }

    LowerLibrary lower;
    const Interrupt interrupt; // before threads start
    std::unique_ptr<Producer> producer;
    std::unique_ptr<OpenDevice> device;
    std::unique_ptr<Features> remote;
};

/// Why a grab failed.
std::string FailureOf(const GrabReport &report)
{
    return report.failure ? FailureText(report.failure) : "";
}

TEST(GrabFromALostDevice, EndsAsSoonAsTheWaitFails)
{
    ScriptedCamera camera("", {});
    OnEachWait(*camera.lower, [&](int) { camera.lower->gone = GC_ERR_IO; });
    EXPECT_EQ(FailureOf(camera.Take({.frames = 0, .timeoutMs = GENTL_INFINITE})).find("cam0 is lost: "), 0U);
}

TEST(GrabFromALostDevice, EndsWhenASilentDeviceDoesNotAnswer)
{
    ScriptedCamera camera("", {});
    OnEachWait(*camera.lower, [&](int) { camera.lower->FailNext("GCReadPort", GC_ERR_IO); });
    const auto report = camera.Take({.frames = 0, .duration = 1h, .timeoutMs = GENTL_INFINITE});
    EXPECT_EQ(FailureOf(report).find("cam0 is lost: "), 0U) << FailureOf(report);
}

TEST(GrabFromALostDevice, StillWritesWhatCame)
{
    ScriptedCamera camera("", {});
    OnEachWait(*camera.lower,
               [&](int wait)
               {
                   if (wait == 1)
                   {
                       camera.Deliver(1);
                       camera.Deliver(2);
                   }
                   else if (wait == 3)
                   {
                       camera.lower->gone = GC_ERR_IO;
                   }
               });
    const auto write = [](const FrameInfo &, uint64_t) { return std::vector<std::string>{"file"}; };
    const auto report = camera.Take({.frames = 5}, {write, nullptr});
    EXPECT_EQ(FailureOf(report).find("cam0 is lost: "), 0U) << FailureOf(report);
    EXPECT_EQ(report.written, 2U);
}

TEST(BenchOfALostDevice, EndsAsSoonAsTheWaitFails)
{
    LowerLibrary lower;
    Describe(*lower, "", {});
    lower->FailNext("GCRegisterEvent", GC_ERR_NOT_IMPLEMENTED); // it has no EVENT_ERROR
    OnEachWait(*lower, [&](int) { lower->gone = GC_ERR_IO; });
    const Interrupt interrupt;
    ThroughputOptions options;
    options.device = "cam0";
    options.prepare = [](OpenDevice &) {};
    const auto failure = internal::FailureOf([&] { MeasureThroughput({lower.Path()}, options, interrupt); });
    EXPECT_EQ(failure.text.find("cam0 is lost: "), 0U) << failure;
}

TEST(GrabForATime, EndsWithoutAFrame)
{
    ScriptedCamera camera("", {});
    const auto report = camera.Take({.frames = 0, .duration = 20ms, .timeoutMs = GENTL_INFINITE});
    EXPECT_EQ(report.statistics.Delivered(), 0U);
    EXPECT_FALSE(report.failure);
}

TEST(GrabForATime, TakesEveryFrameUntilThen)
{
    ScriptedCamera camera("", {});
    camera.DeliverAtFirstWait(3);
    const auto report = camera.Take({.frames = 0, .duration = 100ms});
    EXPECT_EQ(report.taken, 3U);
    EXPECT_FALSE(report.failure);
}

TEST(GrabForATime, StillFailsWhenAFrameIsLate)
{
    ScriptedCamera camera("", {});
    const auto report = camera.Take({.frames = 0, .duration = 1h, .timeoutMs = 10});
    EXPECT_TRUE(report.failure);
}

/// A consumer that keeps the first byte of each frame.
FrameConsumer Keep(std::vector<int> &contents)
{
    return {[&contents](const FrameInfo &frame, uint64_t)
            {
                contents.push_back(frame.base[0]);
                return std::vector<std::string>();
            },
            nullptr};
}

TEST(GrabOfTheNewest, DropsTheFramesBeforeIt)
{
    ScriptedCamera camera("", {});
    camera.DeliverAtFirstWait(3);
    std::vector<int> contents;
    const auto report = camera.Take({.frames = 1, .newest = true}, Keep(contents));
    EXPECT_EQ(contents, std::vector<int>{3});
    EXPECT_EQ(report.statistics.Skipped(), 2U);
    EXPECT_EQ(report.statistics.Delivered(), 1U);
    EXPECT_EQ(report.statistics.Lost(), 0U);
}

TEST(GrabOfTheNewest, DropsWhatComesWhileAFrameIsBeingWritten)
{
    ScriptedCamera camera("", {});
    camera.DeliverAtFirstWait(1);
    std::promise<void> skipped;
    std::vector<int> contents;
    const auto write = [&](const FrameInfo &frame, uint64_t number)
    {
        contents.push_back(frame.base[0]);
        if (number == 1)
        {
            camera.Deliver(2);
            skipped.get_future().wait();
        }
        return std::vector<std::string>();
    };
    uint64_t known = 0;
    const auto onFrame = [&](const GrabReport &report)
    {
        // The writer may need a moment until it takes another: so a frame follows each that was dropped.
        if (report.statistics.Skipped() > known)
        {
            known = report.statistics.Skipped();
            camera.Deliver(3);
            if (known == 1)
            {
                skipped.set_value();
            }
        }
    };
    const auto report = camera.Take({.frames = 2, .newest = true}, {write, onFrame});
    EXPECT_EQ(contents, (std::vector<int>{1, 3}));
    EXPECT_GE(report.statistics.Skipped(), 1U);
    EXPECT_EQ(report.statistics.Delivered(), 2U);
    EXPECT_EQ(report.unwritten, 0U);
}

TEST(GrabOfEach, KeepsTheOrder)
{
    ScriptedCamera camera("", {});
    camera.DeliverAtFirstWait(4);
    std::vector<int> contents;
    const auto report = camera.Take({.frames = 4}, Keep(contents));
    EXPECT_EQ(contents, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(report.written, 4U);
    EXPECT_EQ(report.statistics.Intervals().Count(), 3U);
}

TEST(GrabByTrigger, TriggersEachFrame)
{
    ScriptedCamera camera(triggerNodes, {"TriggerSoftware", "TriggerMode", "TriggerSource"});
    int triggered = 0;
    OnEachWait(*camera.lower,
               [&](int)
               {
                   if (camera.lower->registers.erase(triggerRegister) == 1)
                   {
                       camera.Deliver(++triggered);
                   }
               });
    const auto report = camera.Take({.frames = 3, .timeoutMs = 5000, .trigger = true});
    EXPECT_FALSE(report.failure);
    EXPECT_EQ(report.taken, 3U);
    EXPECT_EQ(triggered, 3);
    EXPECT_EQ(camera.remote->Get("TriggerMode"), "Off") << "set back";
    EXPECT_EQ(camera.remote->Get("TriggerSource"), "Line0");
}

TEST(GrabByTrigger, NeedsOne)
{
    ScriptedCamera camera("", {});
    EXPECT_THROW(camera.Take({.trigger = true}), std::runtime_error);
    EXPECT_EQ(camera.lower->CountOf("DSStartAcquisition"), 0U);
}

TEST(SoftwareTriggers, SetWhatTheDeviceHas)
{
    ScriptedCamera camera(triggerNodes, {"TriggerSoftware", "TriggerMode", "TriggerSource"});
    camera.remote->Set("TriggerSource", "Software");
    {
        const SoftwareTrigger trigger(*camera.remote);
        EXPECT_EQ(camera.remote->Get("TriggerMode"), "On");
    }
    EXPECT_EQ(camera.remote->Get("TriggerMode"), "Off");
    EXPECT_EQ(camera.remote->Get("TriggerSource"), "Software") << "it was so before";
}

TEST(SoftwareTriggers, SayWhichFeatureCannotBeSet)
{
    const auto fixed = CommandNode("TriggerSoftware", triggerRegister) +
                       "<Enumeration Name=\"TriggerMode\"><EnumEntry Name=\"Off\"><Value>0</Value>"
                       "</EnumEntry><Value>0</Value></Enumeration>" +
                       ChoiceNode("TriggerSource", "Line0", "Software", sourceRegister);
    ScriptedCamera camera(fixed, {"TriggerSoftware", "TriggerMode", "TriggerSource"});
    try
    {
        const SoftwareTrigger trigger(*camera.remote);
        ADD_FAILURE() << "the mode On does not exist";
    }
    catch (const std::runtime_error &error)
    {
        EXPECT_STREQ(error.what(), "--trigger cannot set TriggerMode to On: Enumeration entry not found");
    }
    EXPECT_EQ(camera.remote->Get("TriggerSource"), "Line0") << "set back";
}

TEST(ClocksOfADevice, AreRelatedThroughItsLatch)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    camera.lower->memory[latchedTime + 1] = 4; // 1024 ticks
    const auto before = ClockRelation::Clock::now();
    ClockRelation clocks(*camera.remote, 1'000'000);
    const auto after = ClockRelation::Clock::now();
    EXPECT_EQ(clocks.Obstacle(), "");
    EXPECT_LE(clocks.Uncertainty(), after - before);
    // The device's clock showed 1024 between the two readings.
    const auto age = clocks.Age(1024, after);
    ASSERT_TRUE(age);
    EXPECT_GE(*age, 0ns);
    EXPECT_LE(*age, after - before);
    // 24 ticks earlier, 24 us more.
    EXPECT_EQ(clocks.Age(1000, after), *age + 24us);
    EXPECT_EQ(clocks.Age(1034, after), *age - 10us);
    EXPECT_EQ(camera.lower->registers.count(latchRegister), 1U);
}

TEST(ClocksOfADevice, AreRelatedAnewAfterAWhile)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    ClockRelation clocks(*camera.remote, 1'000'000'000);
    camera.lower->registers.clear();
    EXPECT_TRUE(clocks.Age(0, ClockRelation::Clock::now()));
    EXPECT_EQ(camera.lower->registers.count(latchRegister), 0U);
    EXPECT_TRUE(clocks.Age(0, ClockRelation::Clock::now() + 6s));
    EXPECT_EQ(camera.lower->registers.count(latchRegister), 1U);
}

TEST(ClocksOfADevice, AreNotRelatedWithoutALatch)
{
    ScriptedCamera camera("", {});
    ClockRelation clocks(*camera.remote, 1'000'000'000);
    EXPECT_EQ(clocks.Obstacle(), "the device has no TimestampLatch");
    EXPECT_FALSE(clocks.Age(0, ClockRelation::Clock::now()));
}

TEST(ClocksOfADevice, AreNotRelatedWhenTheyCountDifferently)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    ClockRelation clocks(*camera.remote, 1'000'000'000);
    EXPECT_FALSE(clocks.Age(600'000'000'000, ClockRelation::Clock::now())) << "ten minutes ahead";
    EXPECT_EQ(clocks.Obstacle(), "TimestampLatchValue and the time stamps of frames do not count alike");
    EXPECT_FALSE(clocks.Age(0, ClockRelation::Clock::now())) << "it was told so before";
}

TEST(ClocksOfADevice, AreNotRelatedWhenTheLatchFails)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    camera.lower->FailNext("GCWritePort", GC_ERR_IO);
    const ClockRelation clocks(*camera.remote, 1'000'000'000);
    EXPECT_EQ(clocks.Obstacle().find("TimestampLatch fails: "), 0U) << clocks.Obstacle();
}

TEST(GrabWithTimeStamps, MeasuresTheLatency)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    camera.lower->bufferInfos[BUFFER_INFO_TIMESTAMP] = 0;
    camera.DeliverAtFirstWait(2);
    const auto report = camera.Take({.frames = 2});
    EXPECT_EQ(report.statistics.Latency().Count(), 2U);
    EXPECT_GT(report.statistics.Latency().Minimum(), 0) << "the latch is older than the stream";
    EXPECT_EQ(report.noLatency, "");
}

TEST(GrabWithoutTimeStamps, SaysSo)
{
    ScriptedCamera camera(latchNodes, {"TimestampLatch", "TimestampLatchValue"});
    camera.DeliverAtFirstWait(1);
    const auto report = camera.Take({.frames = 1});
    EXPECT_EQ(report.statistics.Latency().Count(), 0U);
    EXPECT_EQ(report.noLatency, "the frames have no time stamp");
}

TEST(GrabIntoAPipe, EndsInOrderWhenTheReaderLeaves)
{
    ScriptedCamera camera("", {});
    camera.DeliverAtFirstWait(3);
    const auto write = [](const FrameInfo &, uint64_t number) -> std::vector<std::string>
    {
        if (number == 2)
        {
            throw PipeClosed();
        }
        return {};
    };
    const auto report = camera.Take({.frames = 0}, {write, nullptr});
    EXPECT_TRUE(report.isPipeClosed);
    EXPECT_FALSE(report.failure);
    EXPECT_EQ(report.written, 1U);
    EXPECT_EQ(camera.lower->CountOf("DSStopAcquisition"), 1U);
}

} // namespace
} // namespace gentlctl
