#include "gentlctl_run.h"

#include "gentlctl/lens_calibration.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

using namespace gentlctl_run;

namespace
{

constexpr auto small = " -s Width=64 -s Height=64 ";

} // namespace

TEST(RecordAndReplay, ShowTheSameCamera)
{
    const Folder folder;
    const auto depth = (folder.Path() / "depth").string();
    const auto recorded = JsonOf("record -d OVRA-D1 -n 3 -o " + depth + small);
    EXPECT_EQ(recorded["recorded"], 3);
    EXPECT_EQ(recorded["notRecorded"], 0);

    const auto info = JsonOf("replay --info --check " + depth);
    EXPECT_EQ(info[0]["model"], "OVRA-D1");
    EXPECT_EQ(info[0]["frames"], 3);
    EXPECT_EQ(info[0]["complete"], true);
    EXPECT_EQ(info[0]["files"], Json{"LensCalibrationData"});

    const auto grabbed = JsonOf("replay --rate 0 " + depth + " grab -n 5");
    EXPECT_EQ(grabbed["delivered"], 5);
    EXPECT_EQ(grabbed["incomplete"], 0);
    // The lens in the recording is the one that the replayed camera has.
    EXPECT_EQ(Gentlctl("replay " + depth + " calibration --yaml").output,
              ContentOf(depth + "/calibration.yaml"));
}

TEST(RecordAndReplay, PassByTheProducersOfThePathVariable)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto other = (folder.Path() / "other.cti").string();
    std::ofstream(other) << "no library";
    EXPECT_NE(Gentlctl("list", "2>&1", "GENICAM_GENTL64_PATH=" + other + " ").status, 0);
    const auto replayed = Gentlctl("replay " + mono, "2>&1", "GENICAM_GENTL64_PATH=" + other + " ");
    EXPECT_EQ(replayed.status, 0) << replayed.output;
    EXPECT_NE(replayed.output.find("    SIM-SIM0002  QVR OVRA-M1"), std::string::npos) << replayed.output;
}

TEST(RecordAndReplay, LetTheCommandNameAnotherProducerAndDevice)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto own = std::string("--producer=") + QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
    for (const auto *line : {" list -d OVRA-M1 ", " grab -n 1 -d SIM-SIM0002 ", " grab -n 1 -dOVRA-M1 ",
                             " grab -n 1 --device=OVRA-M1 "})
    {
        const auto behind = Gentlctl("--producer /no/file -d nobody replay " + mono + line + own);
        EXPECT_EQ(behind.status, 0) << line << behind.output;
    }
    const auto other = Gentlctl("-d OVRA-M1 replay " + mono + " get -d OVRA-M5 Width");
    EXPECT_NE(other.output.find("OVRA-M5"), std::string::npos) << other.output;
}

TEST(RecordAndReplay, TellWhatIsWrong)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto again = Gentlctl("record -d OVRA-M1 -n 1 -o " + mono);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.output, "gentlctl: " + mono + " holds a recording already; name another folder\n");

    const auto set = Gentlctl("replay " + mono + " set Width=32");
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.output.find("Width is as it was recorded and cannot change"), std::string::npos)
        << set.output;

    fs::remove(mono + "/frames.data");
    const auto torn = Gentlctl("replay " + mono);
    EXPECT_EQ(torn.status, 1);
    EXPECT_EQ(torn.output,
              "gentlctl: " + mono + "/frames.data cannot be opened: No such file or directory\n");
}

TEST(Record, TellsHowFastItReceivesAndWrites)
{
    const Folder folder;
    const auto both = (folder.Path() / "both").string();
    const auto json = JsonOf("record -d OVRA-M1 -n 50 -o " + both);
    EXPECT_EQ(json["recorded"], 50);
    const auto written = json["writtenFramesPerSecond"].get<double>();
    EXPECT_GT(written, 0);
    // The last frame is received before it is written. A rate of receiving counts the frames behind the
    // first.
    EXPECT_LE(written * 49 / 50, json["framesPerSecond"].get<double>());
    EXPECT_NEAR(json["writtenBytesPerSecond"].get<double>() / written, 1280 * 1024, 1);
    const auto text = Gentlctl("record -d OVRA-M1 -n 2 -o " + both + "-2" + small).output;
    EXPECT_NE(text.find("\nReceived at "), std::string::npos) << text;
    EXPECT_NE(text.find(" frames/s, written at "), std::string::npos) << text;
    const auto one = Gentlctl("record -d OVRA-M1 -n 1 -o " + both + "-1" + small).output;
    EXPECT_NE(one.find("\nWritten at "), std::string::npos) << one;
}

TEST(Record, EndsAfterATime)
{
    const Folder folder;
    const auto brief = (folder.Path() / "brief").string();
    const auto rate = std::string(small) + "-s AcquisitionFrameRate=20 ";
    const auto recorded =
        JsonOf("record -d OVRA-M1 --duration 500ms -o " + brief + rate)["recorded"].get<int>();
    EXPECT_GE(recorded, 2);
    EXPECT_LE(recorded, 11);
    const auto wrong = Gentlctl("record -d OVRA-M1 --duration 5x -o " + brief);
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.output.find("gentlctl: --duration: \"5x\" is not a time"), 0U) << wrong.output;
}

TEST(Record, LeavesNothingWhenNoFrameComes)
{
    const Folder folder;
    const auto none = (folder.Path() / "none").string();
    const auto run = Gentlctl("record -d OVRA-M1 --duration 200ms -s TriggerMode=On -o " + none + small);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output.find("gentlctl: No frame came within --duration, so nothing is recorded\n"), 0U)
        << run.output;
    EXPECT_EQ(run.output.find("Recorded in"), std::string::npos) << run.output;
    EXPECT_FALSE(fs::exists(none));
}

namespace
{

/// Runs the program where no file may be larger than so many times 512 bytes.
Run WithLargestFile(int blocks, const std::string &arguments)
{
    return Gentlctl(arguments, "2>&1", "ulimit -f " + std::to_string(blocks) + "; ");
}

} // namespace

TEST(RecordOnAFullDisk, KeepsTheFramesThatItTook)
{
    const Folder folder;
    const auto full = (folder.Path() / "full").string();
    const auto run = WithLargestFile(40, "record -d OVRA-M1 -n 20 -o " + full + small);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: " + full + "/frames.data cannot be written: File too large\n"),
              std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("SIM-SIM0002: 5 frames recorded, 0.0 MB, "), std::string::npos) << run.output;
    EXPECT_EQ(fs::file_size(full + "/frames.data"), 5U * 64 * 64) << "no torn frame";
    const auto info = JsonOf("replay --info --check " + full)[0];
    EXPECT_EQ(info["frames"], 5);
    EXPECT_EQ(info["complete"], true);
    EXPECT_GE(info["notRecorded"], 1);
    EXPECT_EQ(JsonOf("replay --rate 0 " + full + " grab -n 5")["delivered"], 5);
}

TEST(RecordOnAFullDisk, LeavesNothingWithoutAFrame)
{
    const Folder folder;
    const auto full = (folder.Path() / "full").string();
    // The description, the file of the camera's registers, the first frame.
    for (const auto &[blocks, file] :
         {std::pair{4, "description.zip"}, {16, "recording.json"}, {22, "frames.data"}})
    {
        const auto run = WithLargestFile(blocks, "record -d OVRA-M1 -n 2 -s Width=640 -o " + full);
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.output.find(full + "/" + file + " cannot be written: File too large\n"),
                  std::string::npos)
            << run.output;
        EXPECT_EQ(run.output.find("Recorded in"), std::string::npos) << run.output;
        EXPECT_FALSE(fs::exists(full)) << file;
    }
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + full + small)["recorded"], 1)
        << "the folder is free again";
}

TEST(RecordOnAFullDisk, LeavesTheFilesOfTheUser)
{
    const Folder folder;
    const auto mine = folder.Path() / "mine";
    fs::create_directories(mine);
    std::ofstream(mine / "description.zip") << "mine";
    std::ofstream(mine / "notes") << "mine";
    const auto run = Gentlctl("record -d OVRA-M1 -n 2 -o " + mine.string() + small);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("description.zip cannot be made: File exists"), std::string::npos)
        << run.output;
    EXPECT_EQ(ContentOf(mine / "description.zip"), "mine");
    EXPECT_EQ(std::distance(fs::directory_iterator(mine), {}), 2);
}

/// With a disk of its own, which only some machines let a test have.
TEST(RecordOnAFullDisk, SaysSoInItsOwnWords)
{
    const Folder folder;
    const auto disk = (folder.Path() / "disk").string();
    fs::create_directories(disk);
    const auto mount = "mount -t tmpfs -o size=300k none " + disk;
    if (std::system(("unshare -rm " + mount + " 2> /dev/null").c_str()) != 0)
    {
        GTEST_SKIP() << "no disk can be mounted here";
    }
    const auto there = [&](const std::string &command)
    {
        const auto run =
            Gentlctl(command, "2>&1 && echo done || echo failed; find " + disk + " -name \"*.part\"'",
                     "unshare -rm sh -c '" + mount + " && ");
        EXPECT_EQ(run.output.substr(run.output.size() - 7), "failed\n") << run.output;
        return run.output;
    };
    const auto recorded = there("record -d OVRA-M1 -n 100 -o " + disk + "/recording" + small);
    EXPECT_NE(recorded.find("/frames.data cannot be written: the disk is full\n"), std::string::npos)
        << recorded;
    EXPECT_NE(recorded.find("\nRecorded in "), std::string::npos) << recorded;
    const auto grabbed = there("grab -d OVRA-M1 -n 100 -f raw -o " + disk + "/frames" + small);
    EXPECT_NE(grabbed.find(": the disk is full\n"), std::string::npos) << grabbed;
    EXPECT_NE(grabbed.find("\nWritten to "), std::string::npos) << grabbed;
}

TEST(RecordAndReplay, TellWhatIsDamaged)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto original = ContentOf(mono + "/description.zip");
    for (const auto size : {size_t{0}, original.size() / 2})
    {
        fs::resize_file(mono + "/description.zip", size);
        const auto run = Gentlctl("replay --check " + mono);
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(run.output.starts_with("gentlctl: The description in " + mono + " is damaged: "))
            << run.output;
    }
    fs::remove(mono + "/description.zip");
    std::ofstream(mono + "/description.xml") << "<RegisterDescription><Group>";
    EXPECT_EQ(Gentlctl("replay --check " + mono).output.rfind("gentlctl: The description in ", 0), 0);

    std::ofstream(mono + "/description.xml") << "<RegisterDescription/>";
    EXPECT_EQ(Gentlctl("replay --check " + mono).status, 0);
    fs::resize_file(mono + "/frames.index", 30);
    EXPECT_EQ(Gentlctl("replay --info " + mono, "2>&1 >/dev/null").output,
              "gentlctl: " + mono +
                  " ends early: 0 frames can be replayed. Copy it again, or record again\n");
}

TEST(CalibrationYaml, HasFiveTermsOrEight)
{
    gentlctl::LensCalibration lens{640, 480, 525.5F, 524.25F, 322.75F, 238.5F, {-0.21F, 0.5F, 1, 2, 3}};
    EXPECT_EQ(ToYaml(lens, 0.5), "%YAML:1.0\n"
                                 "---\n"
                                 "image_width: 640\n"
                                 "image_height: 480\n"
                                 "camera_matrix: !!opencv-matrix\n"
                                 "   rows: 3\n"
                                 "   cols: 3\n"
                                 "   dt: d\n"
                                 "   data: [ 525.5, 0, 322.75, 0, 524.25, 238.5, 0, 0, 1 ]\n"
                                 "distortion_coefficients: !!opencv-matrix\n"
                                 "   rows: 5\n"
                                 "   cols: 1\n"
                                 "   dt: d\n"
                                 "   data: [ -0.21, 0.5, 1, 2, 3 ]\n"
                                 "depth_scale: 0.5\n");
    lens.distortion[6] = 0.25F;
    const auto wide = ToYaml(lens, std::nullopt);
    EXPECT_NE(wide.find("rows: 8\n   cols: 1\n   dt: d\n   data: [ -0.21, 0.5, 1, 2, 3, 0, 0.25, 0 ]\n"),
              std::string::npos)
        << wide;
    EXPECT_EQ(wide.find("depth_scale"), std::string::npos);
}

TEST(RecordAndReplay, GiveTheDepthPicturesOfACamera)
{
    const Folder folder;
    const auto path = [&](const char *name) { return (folder.Path() / name).string(); };
    const std::string raw = " -s Scan3dOutputMode=UncalibratedC -f tiff -o ";
    const auto recorded = JsonOf("record -d OVRA-D1 -n 2 -s ComponentSelector=Intensity "
                                 "-s ComponentEnable=true -s ComponentSelector=Range "
                                 "-s DepthNoise=3 -o " +
                                 path("recording"));
    EXPECT_EQ(recorded["recorded"], 2);
    EXPECT_EQ(Gentlctl("replay --rate 0 " + path("recording") + " grab -n 2" + raw + path("pictures")).status,
              0);
    fs::copy_file(path("recording") + "/calibration.yaml", path("pictures") + "/calibration.yaml");
    const auto again = Gentlctl("grab -d OVRA-D1 -n 2" + raw + path("again"), "2>&1",
                                "QVR_SIM_DEPTH=" + path("pictures") + " ");
    EXPECT_EQ(again.status, 0) << again.output;
    for (const auto *name : {"/frame-00001", "/frame-00002"})
    {
        const auto depth = ContentOf(path("again") + name + ".tiff");
        EXPECT_FALSE(depth.empty());
        EXPECT_TRUE(depth == ContentOf(path("pictures") + name + "-range.tiff")) << name;
    }
    EXPECT_FALSE(ContentOf(path("again") + "/frame-00001.tiff") ==
                 ContentOf(path("again") + "/frame-00002.tiff"));
}

TEST(Record, NamesTheEventsThatItDoesNotRecord)
{
    const Folder folder;
    const auto record = [&](const char *name, const std::string &settings)
    { return Gentlctl("record -d OVRA-M5 -n 1 -o " + (folder.Path() / name).string() + small + settings); };
    const std::string warning = "gentlctl: The events of the camera are not recorded: ";
    const auto quiet = record("quiet", "");
    EXPECT_EQ(quiet.output.find(warning), std::string::npos) << quiet.output;
    const auto noisy = record("noisy", "-s EventSelector=ExposureEnd -s EventNotification=On "
                                       "-s EventSelector=Test");
    EXPECT_EQ(noisy.status, 0);
    EXPECT_NE(noisy.output.find(warning + "ExposureEnd. A replay sends none\n"), std::string::npos)
        << noisy.output;
    EXPECT_EQ(JsonOf("replay " + (folder.Path() / "noisy").string() + " get EventSelector EventNotification"),
              (Json{{"EventSelector", "Test"}, {"EventNotification", "Off"}}));
}
