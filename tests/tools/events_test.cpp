// Events of modules as gentlctl shows them, and a stream that lives through an unplugged camera.

#include "consumer/device.h"
#include "consumer/features.h"
#include "gentlctl/event_monitor.h"
#include "gentlctl/frame_drain.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/stream_run.h"

#include "gentlctl_run.h"
#include "running_program.h"
#include "support/failure.h"
#include "support/lower_library.h"
#include "unplug_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

using GenTL::internal::FailureOf;
using GenTL::internal::LowerLibrary;

const std::string anyFile = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
const std::string lowerFile = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";

std::chrono::steady_clock::time_point Soon()
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(30);
}

/// The camera with events, opened through a producer.
class CameraEvents : public testing::TestWithParam<std::string>
{
protected:
    void SwitchOn(const std::string &event)
    {
        remote.Set("EventSelector", event);
        remote.Set("EventNotification", "On");
    }

    /// The next event of a type; others are passed over.
    std::optional<ModuleEvent> NextOf(EventMonitor &monitor, GenTL::EVENT_TYPE type)
    {
        for (auto event = monitor.Next(Soon()); event; event = monitor.Next(Soon()))
        {
            if (event->type == type)
            {
                return event;
            }
        }
        return std::nullopt;
    }

    UnplugFile plugs;
    Producer producer{GetParam()};
    OpenDevice device{producer, "OVRA-M5"};
    const Features remote{device.PortOf("remote")};
};

TEST_P(CameraEvents, AreDecodedByTheDescription)
{
    EventMonitor monitor(producer, device, {"device"});
    SwitchOn("ExposureEnd");
    remote.Set("Width", "64");
    const FrameDrain drain(producer, device, remote);
    for (const int frame : {1, 2})
    {
        const auto event = monitor.Next(Soon());
        ASSERT_TRUE(event);
        EXPECT_EQ(event->module, "device");
        EXPECT_EQ(event->name, "EventExposureEnd");
        EXPECT_EQ(event->values["EventExposureEnd"], 0x9001);
        EXPECT_EQ(event->values["EventExposureEndFrameID"], frame);
        EXPECT_NE(
            InWords(*event).find(" device REMOTE_DEVICE 0x9001 EventExposureEnd EventExposureEnd=36865 "),
            std::string::npos)
            << InWords(*event);
        const auto json = ToJson(*event);
        EXPECT_EQ(json["type"], "REMOTE_DEVICE");
        EXPECT_EQ(json["id"], "0x9001");
        EXPECT_EQ(json["data"].get<std::string>().size(), 48U);
    }
}

TEST_P(CameraEvents, TellWhichFeatureChanged)
{
    EventMonitor monitor(producer, device, {"remote"});
    remote.Set("Height", "64");
    const auto event = NextOf(monitor, GenTL::EVENT_FEATURE_INVALIDATE);
    ASSERT_TRUE(event);
    EXPECT_TRUE(InWords(*event).ends_with(" remote FEATURE_INVALIDATE PayloadSize")) << InWords(*event);
}

TEST_P(CameraEvents, TellOfALoss)
{
    EventMonitor monitor(producer, device, {"device"});
    plugs.Unplug("OVRA-M5");
    const auto event = NextOf(monitor, GenTL::EVENT_ERROR);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->fired.text, "The camera was unplugged");
    EXPECT_TRUE(InWords(*event).ends_with(" device ERROR -1010: The camera was unplugged"))
        << InWords(*event);
}

TEST_P(CameraEvents, EndTheWaitWhenAsked)
{
    EventMonitor monitor(producer, device, {"system", "interface", "device", "remote", "stream"});
    EXPECT_EQ(monitor.Registered().size(), 5U);
    monitor.End();
    EXPECT_FALSE(monitor.Next(Soon()));
}

std::string NameOfProducer(const testing::TestParamInfo<std::string> &producer)
{
    return producer.param == anyFile ? "Any" : producer.param == lowerFile ? "Simulator" : "Proxy";
}

INSTANTIATE_TEST_SUITE_P(Over, CameraEvents,
                         testing::Values(QVR_LIB_DIR "/qvr_proxygentl.cti", anyFile, lowerFile),
                         NameOfProducer);

/// What a stream told.
struct Steps
{
    std::vector<std::string> lines;

    long CountOf(const std::string &line) const { return std::ranges::count(lines, line); }

    friend std::ostream &operator<<(std::ostream &stream, const Steps &steps)
    {
        std::ranges::copy(steps.lines, std::ostream_iterator<std::string>(stream, "\n"));
        return stream;
    }
};

class ReconnectingStream : public testing::TestWithParam<std::string>
{
protected:
    /// Unplugs the camera once it streams, and plugs it when it is missed.
    void React(const std::string &step)
    {
        steps.lines.push_back(step);
        if (steps.lines.size() == 1)
        {
            plugs.Unplug("OVRA-F1");
        }
        else if (step.find("There is no device") != std::string::npos)
        {
            plugs.PlugAll();
        }
    }

    void Prepare(OpenDevice &opened)
    {
        const Features remote(opened.PortOf("remote"));
        widths.push_back(remote.GetInteger("Width"));
        remote.Set("Width", "128");
        remote.Set("AcquisitionFrameRate", "100");
    }

    /// Ends the stream when the camera is back and has sent frames.
    void Report(const FrameStatistics &last)
    {
        reported += last.Delivered();
        if (steps.CountOf("SIM-SIM0006 streams") == 2 && last.Delivered() != 0 && interrupt.Signal() == 0)
        {
            kill(getpid(), SIGINT);
        }
    }

    StreamHooks Hooks()
    {
        return {[this](OpenDevice &device) { Prepare(device); },
                [this](const std::string &step) { React(step); },
                [this](const std::string &, const FrameStatistics &last) { Report(last); }};
    }

    UnplugFile plugs;
    Steps steps;
    std::vector<int64_t> widths; ///< of the camera when it was opened
    uint64_t reported = 0;
    const Interrupt interrupt;
    Producer producer{GetParam()};
};

TEST_P(ReconnectingStream, GoesOnWhenTheCameraIsBack)
{
    StreamOptions options{.device = "OVRA-F1"};
    options.reconnects = true;
    const auto totals = StreamRun(producer, options, Hooks()).Run(interrupt);
    EXPECT_EQ(totals.reconnects, 1U);
    EXPECT_GT(totals.delivered, 0U);
    EXPECT_EQ(totals.delivered, reported);
    EXPECT_EQ(steps.CountOf("SIM-SIM0006 streams"), 2) << steps;
    EXPECT_EQ(steps.CountOf("SIM-SIM0006 is lost: it reports an error: The camera was unplugged (-1010)"), 1)
        << steps;
    EXPECT_EQ(steps.CountOf("Waits until SIM-SIM0006 is back"), 1) << steps;
    EXPECT_EQ(widths, (std::vector<int64_t>{640, 640})) << "the camera forgets its settings";
}

TEST_P(ReconnectingStream, FailsWithoutTheOption)
{
    const auto failure =
        FailureOf([&] { StreamRun(producer, {.device = "OVRA-F1"}, Hooks()).Run(interrupt); });
    EXPECT_NE(failure.text.find("SIM-SIM0006 is lost: "), std::string::npos) << failure;
    EXPECT_NE(failure.text.find("With --reconnect the stream goes on"), std::string::npos) << failure;
}

INSTANTIATE_TEST_SUITE_P(Over, ReconnectingStream,
                         testing::Values(QVR_LIB_DIR "/qvr_proxygentl.cti", anyFile, lowerFile),
                         NameOfProducer);

TEST(StreamWithoutLoss, EndsAfterItsFrames)
{
    const Interrupt interrupt;
    Producer producer(anyFile);
    uint64_t reports = 0;
    const StreamHooks hooks{[](OpenDevice &) {}, [](const std::string &) {},
                            [&](const std::string &, const FrameStatistics &) { ++reports; }};
    StreamOptions options{.device = "OVRA-F1"};
    options.frames = 20;
    EXPECT_EQ(StreamRun(producer, options, hooks).Run(interrupt).delivered, 20U);
    EXPECT_GE(reports, 1U);
    options.frames = 0;
    options.duration = std::chrono::milliseconds(1);
    StreamRun(producer, options, hooks).Run(interrupt);
    EXPECT_THROW(StreamRun(producer, {.device = "none"}, hooks).Run(interrupt), std::runtime_error);
}

TEST(SilentDevice, CountsAsLost)
{
    const Interrupt interrupt;
    Producer producer(anyFile);
    const StreamHooks hooks{[](OpenDevice &device)
                            { Features(device.PortOf("remote")).Set("AcquisitionMode", "SingleFrame"); },
                            [](const std::string &) {}, [](const std::string &, const FrameStatistics &) {}};
    StreamOptions options{.device = "OVRA-F1"};
    options.timeoutMs = 10;
    const auto failure = FailureOf([&] { StreamRun(producer, options, hooks).Run(interrupt); });
    EXPECT_NE(failure.text.find("SIM-SIM0006 is lost: no frame came within 10 ms"), std::string::npos)
        << failure;
}

TEST(EventsCommand, PrintsALineForEachEvent)
{
    const auto run =
        gentlctl_run::Gentlctl("events -n 2 -d OVRA-M5 -s EventSelector=Test -s EventNotification=On "
                               "-s TestEventGenerate=1 -s TestEventGenerate=1 --json");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(
        run.output.find("gentlctl: Waits for events of system: ERROR, MODULE; interface: ERROR, MODULE; "),
        std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("\"id\":\"0x9002\",\"name\":\"EventTest\""), std::string::npos) << run.output;
    EXPECT_EQ(std::ranges::count(run.output, '\n'), 3) << run.output;
    const auto late = gentlctl_run::Gentlctl("events -n 1 --duration 10ms -d OVRA-M1");
    EXPECT_EQ(late.status, 1);
    EXPECT_NE(late.output.find("gentlctl: 0 of 1 events came within 10ms"), std::string::npos) << late.output;
}

TEST(StreamCommand, LivesThroughAnUnpluggedCamera)
{
    const UnplugFile plugs;
    gentlctl_run::RunningProgram program("stream --reconnect -d OVRA-F1 -s AcquisitionFrameRate=100");
    EXPECT_TRUE(program.Says("SIM-SIM0006 streams"));
    plugs.Unplug("OVRA-F1");
    EXPECT_TRUE(program.Says("SIM-SIM0006 is lost"));
    EXPECT_TRUE(program.Says("There is no device"));
    plugs.PlugAll();
    EXPECT_TRUE(program.Says("SIM-SIM0006 streams"));
    program.Signal(SIGINT);
    EXPECT_EQ(program.Status(), 128 + SIGINT);
}

} // namespace
} // namespace gentlctl
