// `gentlctl grab` as a user runs it, with the producer and the simulator.

#include "gentlctl_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

using namespace gentlctl_run;

const std::string small = " -s Width=64 -s Height=32 -s AcquisitionFrameRate=100 ";

TEST(GrabCommand, GrabsFromSeveralDevicesIntoFoldersOfTheirOwn)
{
    const Folder folder;
    const auto json =
        JsonOf("grab -d OVRA-M1 -d SIM-SIM0006 -n 2 -f raw" + small + "-o " + folder.Path().string());
    ASSERT_EQ(json["devices"].size(), 2U) << json.dump();
    EXPECT_EQ(json["devices"][0]["device"], "SIM-SIM0002");
    EXPECT_EQ(json["devices"][1]["device"], "SIM-SIM0006");
    EXPECT_TRUE(json["processorSeconds"].is_number());
    for (const auto *name : {"SIM-SIM0002", "SIM-SIM0006"})
    {
        EXPECT_EQ(fs::file_size(folder.Path() / name / "frame-00002.raw"), 64U * 32) << name;
    }
}

TEST(GrabCommand, TellsThatAFolderHoldsFrames)
{
    const Folder folder;
    const auto folderName = folder.Path().string();
    const auto command = "grab -d OVRA-M1 -n 1 -f raw" + small + "-o " + folderName;
    const auto told =
        "gentlctl: " + folderName + " holds frames already; those with the same number are overwritten\n";
    EXPECT_EQ(Gentlctl(command).output.find(told), std::string::npos);
    EXPECT_EQ(Gentlctl(command).output.find(told), 0U);
}

TEST(GrabCommand, GoesOnWithTheOtherDevicesWhenOneFails)
{
    const auto run = Gentlctl("grab -d OVRA-M1 -d SIM-SIM0006 -n 2 --trigger" + small);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("SIM-SIM0002: 2 frames, 0 incomplete, 0 lost"), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("gentlctl: SIM-SIM0006: The device has no TriggerSoftware"), std::string::npos)
        << run.output;
}

TEST(GrabCommand, NamesTheDeviceThatCannotBeSet)
{
    const auto ofSeveral = Gentlctl("grab -d OVRA-M1 -d OVRA-F1 -n 1 -s TriggerMode=Off");
    EXPECT_EQ(ofSeveral.status, 1);
    EXPECT_EQ(ofSeveral.output.find("gentlctl: SIM-SIM0006: There is no feature \"TriggerMode\""), 0U)
        << ofSeveral.output;
    const auto alone = Gentlctl("grab -d OVRA-F1 -n 1 -s TriggerMode=Off");
    EXPECT_EQ(alone.output.find("gentlctl: There is no feature \"TriggerMode\""), 0U) << alone.output;
}

TEST(GrabCommand, MeasuresForATime)
{
    const auto json = JsonOf("grab -d OVRA-M1 --duration 300ms -s ChunkModeActive=true "
                             "-s ChunkSelector=Timestamp -s ChunkEnable=true" +
                             small);
    EXPECT_GT(json["delivered"], 1);
    EXPECT_GT(json["intervalMs"]["mean"], 0);
    EXPECT_GT(json["latencyMs"]["minimum"], 0) << json.dump();
    EXPECT_GE(json["latencyUncertaintyMs"], 0);
    EXPECT_GT(json["framesPerSecond"], 0);
}

TEST(GrabCommand, WritesTheBytesOfTheFramesToStandardOutput)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto file = (folder.Path() / "frames").string();
    const auto run =
        Gentlctl("grab -d OVRA-M1 -n 2 -f raw -o - -s TestPattern=FrameCounter" + small, "2>&1 > " + file);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output.find("gentlctl: Each frame is 64 x 32 Mono8 in 2048 bytes\n"), 0U) << run.output;
    EXPECT_NE(run.output.find("SIM-SIM0002: 2 frames"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("\nCPU: "), std::string::npos) << run.output;
    std::ifstream stream(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}),
              std::string(2048, '\1') + std::string(2048, '\2'));
}

TEST(GrabCommand, LeavesNoPartOfAFrameOnAFullDisk)
{
    const Folder folder;
    // No file may be larger than 1024 bytes: the picture fits, and its infos do not.
    const auto run =
        Gentlctl("grab -d OVRA-M1 -n 3 -f raw -s Width=32 -s Height=32 -o " + folder.Path().string(), "2>&1",
                 "ulimit -f 2; ");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("frame-00001.json: File too large\n"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("Written to"), std::string::npos) << run.output;
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(GrabCommand, EndsInOrderWhenTheReaderLeaves)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto errors = folder.Path() / "errors";
    // The status is that of the grab: the shell writes it behind the grab's own output.
    const auto run =
        Gentlctl("grab -d OVRA-C5 -n 0 -f y4m -o -" + small,
                 "2> " + errors.string() + "; echo $? >> " + errors.string() + "; } | head -c 9", "{ ");
    EXPECT_EQ(run.output, "YUV4MPEG2");
    std::ifstream stream(errors);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    EXPECT_NE(text.find("gentlctl: The reader closed the pipe after "), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.size() - 3), "\n0\n") << text;
}

} // namespace
