// How commands end that a lost camera, a signal or a reader that leaves ends early.

#include "gentlctl/interrupt.h"
#include "gentlctl/throughput.h"

#include "gentlctl_run.h"
#include "running_program.h"
#include "unplug_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace gentlctl
{
namespace
{

using namespace gentlctl_run;

const std::string secondProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
const std::string unplugged = "SIM-SIM0001 is lost: it reports an error: The camera was unplugged (-1010)";
const std::string smallFrames = " -d OVRA-M5 -s Width=64 -s Height=32 -s AcquisitionFrameRate=100 ";
/// So long that its end is not what a test sees.
const std::string noTimeout = " -t 86400000 ";

/// Waits until a file has content.
void WaitForContent(const fs::path &file)
{
    std::error_code none;
    while (!fs::exists(file) || fs::file_size(file, none) == 0 || none)
    {
        std::this_thread::yield();
    }
}

class GrabFromAnUnpluggedCamera : public testing::TestWithParam<std::string>
{
};

TEST_P(GrabFromAnUnpluggedCamera, FailsAtOnceAndSumsUp)
{
    const UnplugFile plugs;
    RunningProgram program("grab -f raw -o -" + smallFrames + noTimeout + GetParam());
    ASSERT_TRUE(program.Says("Each frame is 64 x 32 Mono8")) << program.Said();
    plugs.Unplug("OVRA-M5");
    EXPECT_EQ(program.Status(), 1);
    EXPECT_NE(program.Said().find("gentlctl: " + unplugged), std::string::npos) << program.Said();
    EXPECT_NE(program.Said().find(", 0 incomplete, "), std::string::npos) << program.Said();
}

INSTANTIATE_TEST_SUITE_P(With, GrabFromAnUnpluggedCamera,
                         testing::Values("-n 1000000 --strict", "-n 0", "--duration 1h",
                                         "-n 0 --producer " + secondProducer));

TEST(GrabFromSeveralCameras, TellsAtOnceWhichIsLostAndGoesOn)
{
    const UnplugFile plugs;
    const Folder folder;
    RunningProgram program("grab -d OVRA-F1 -n 0 -f raw -o " + folder.Path().string() + smallFrames);
    WaitForContent(folder.Path() / "SIM-SIM0001" / "frame-00001.raw");
    WaitForContent(folder.Path() / "SIM-SIM0006" / "frame-00001.raw");
    plugs.Unplug("OVRA-M5");
    EXPECT_TRUE(program.Says("gentlctl: " + unplugged)) << program.Said();
    program.Signal(SIGINT);
    EXPECT_EQ(program.Status(), 1);
    EXPECT_NE(program.Said().find("gentlctl: SIM-SIM0006: Ended by SIGINT after "), std::string::npos)
        << program.Said();
}

TEST(RecordFromAnUnpluggedCamera, KeepsWhatCame)
{
    const UnplugFile plugs;
    const Folder folder;
    const auto recording = folder.Path().string();
    RunningProgram program("record -n 1000000 -o " + recording + smallFrames + noTimeout);
    WaitForContent(folder.Path() / "frames.data");
    plugs.Unplug("OVRA-M5");
    EXPECT_EQ(program.Status(), 1);
    EXPECT_NE(program.Said().find("gentlctl: " + unplugged), std::string::npos) << program.Said();
    const auto info = JsonOf("replay --info --check " + recording);
    EXPECT_EQ(info[0]["complete"], true);
    EXPECT_GE(info[0]["frames"], 1);
}

TEST(InterruptedBench, GivesWhatWasMeasured)
{
    const Interrupt interrupt;
    ThroughputOptions options;
    options.device = "OVRA-F1";
    options.frames = 2;
    options.rounds = 1;
    options.prepare = [&, rounds = 0](OpenDevice &) mutable
    {
        if (++rounds == 2)
        {
            kill(getpid(), SIGINT);
            while (interrupt.Signal() == 0)
            {
                std::this_thread::yield();
            }
        }
    };
    const auto results =
        MeasureThroughput({secondProducer, QVR_LIB_DIR "/qvr_proxygentl.cti"}, options, interrupt);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].producer, secondProducer);
    EXPECT_EQ(ToText(results).find("times the CPU"), std::string::npos);
}

TEST(BenchTable, HasItsHeadsAboveItsFigures)
{
    Throughput result;
    result.producer = "any.cti";
    result.intervals = result.latency = {.count = 1};
    const auto text = ToText({result});
    const auto first = text.find('\n');
    const auto second = text.find('\n', first + 1);
    EXPECT_EQ(second - first - 1, first) << text;
    EXPECT_EQ(text.size() - second - 2, first) << text;
}

TEST(BenchTable, TellsTwoBuildsOfAProducerApart)
{
    std::vector<Throughput> results(2, Throughput{.cpuPerFrame = 1});
    results[0].producer = "/opt/before/any.cti";
    results[1].producer = "/opt/after-the-change/any.cti";
    const auto text = ToText(results);
    EXPECT_NE(text.find("\n/opt/before/any.cti           "), std::string::npos) << text;
    EXPECT_NE(text.find("\n/opt/after-the-change/any.cti "), std::string::npos) << text;
    EXPECT_NE(text.find("\n/opt/before/any.cti takes "), std::string::npos) << text;
    results[1].producer = "/opt/after/lower.cti";
    EXPECT_NE(ToText(results).find("\nany.cti takes "), std::string::npos);
}

TEST(BenchCommand, SaysThatBothAreTheSameFile)
{
    const auto run = Gentlctl("bench -n 2 -r 1 -d OVRA-F1 --beside " QVR_LIB_DIR "/./qvr_proxygentl.cti");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.find("gentlctl: Measures this producer alone: --beside names the same file\n"), 0U)
        << run.output;
}

class InterruptedRecord : public testing::TestWithParam<int>
{
};

TEST_P(InterruptedRecord, HasTheStatusOfTheSignal)
{
    const Folder folder;
    const auto recording = folder.Path().string();
    RunningProgram program("record -o " + recording + smallFrames);
    WaitForContent(folder.Path() / "frames.data");
    program.Signal(GetParam());
    EXPECT_EQ(program.Status(), 128 + GetParam()) << program.Said();
    EXPECT_EQ(JsonOf("replay --info --check " + recording)[0]["complete"], true);
}

TEST_P(InterruptedRecord, SaysThatNothingWasRecorded)
{
    const Folder folder;
    RunningProgram program("record -o " + folder.Path().string() + smallFrames + "-s TriggerMode=On");
    WaitForContent(folder.Path() / "settings.json");
    program.Signal(GetParam());
    EXPECT_EQ(program.Status(), 128 + GetParam());
    EXPECT_NE(program.Said().find("gentlctl: Nothing was recorded: no frame came."), std::string::npos)
        << program.Said();
}

INSTANTIATE_TEST_SUITE_P(Signal, InterruptedRecord, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(StreamWhoseTerminalIsClosed, EndsInOrder)
{
    RunningProgram program("stream -d OVRA-M5");
    EXPECT_TRUE(program.Says("SIM-SIM0001 streams"));
    program.Signal(SIGHUP);
    EXPECT_EQ(program.Status(), 128 + SIGHUP);
}

TEST(StreamWhoseTerminalIsClosed, GoesOnUnderNohup)
{
    RunningProgram program("stream -d OVRA-M5", "trap '' HUP; ");
    EXPECT_TRUE(program.Says("SIM-SIM0001 streams"));
    program.Signal(SIGHUP);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Status(), 128 + SIGTERM);
}

class ReaderThatLeaves : public testing::TestWithParam<std::string>
{
};

TEST_P(ReaderThatLeaves, EndsTheCommandInOrder)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto status = folder.Path() / "status";
    // The shell writes the status that the command itself has.
    const auto run = Gentlctl(GetParam() + smallFrames,
                              "2> /dev/null; echo $? > " + status.string() + "; } | head -1", "{ ");
    EXPECT_EQ(std::ranges::count(run.output, '\n'), 1) << run.output;
    std::ifstream stream(status);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "0\n");
}

INSTANTIATE_TEST_SUITE_P(
    Of, ReaderThatLeaves,
    testing::Values("stream", "events --grab -s EventSelector=ExposureEnd -s EventNotification=On"));

TEST(GrabIntoClosedOutput, SaysThatItIsClosed)
{
    const auto run = Gentlctl("grab -n 1 -o - -f raw", "2>&1 >&-");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "gentlctl: Frames cannot go to standard output, which is closed\n");
}

} // namespace
} // namespace gentlctl
