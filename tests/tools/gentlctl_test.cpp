// The command-line consumer as a user runs it, over the producer and the simulator.

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct Run
{
    int status = -1;
    std::string output; ///< of both streams
};

Run Gentlctl(const std::string &arguments)
{
    // The library behind OpenCV's image files takes its own locks in both orders.
    const auto command = "TSAN_OPTIONS=\"$TSAN_OPTIONS suppressions=" QVR_SOURCE_DIR
                         "/tests/tools/tsan.supp\" " +
                         std::string(QVR_BIN_DIR "/gentlctl ") + arguments + " 2>&1";
    auto *const pipe = popen(command.c_str(), "r");
    Run run;
    std::array<char, 4096> part{};
    for (size_t count = 0; (count = fread(part.data(), 1, part.size(), pipe)) != 0;)
    {
        run.output.append(part.data(), count);
    }
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

Json JsonOf(const std::string &arguments)
{
    const auto run = Gentlctl("--json " + arguments);
    EXPECT_EQ(run.status, 0) << run.output;
    return Json::parse(run.output, nullptr, false);
}

class Folder
{
public:
    Folder() : m_path(fs::temp_directory_path() / ("gentlctl-" + std::to_string(getpid()))) {}
    ~Folder() { fs::remove_all(m_path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    const fs::path &Path() const { return m_path; }

private:
    fs::path m_path;
};

TEST(Gentlctl, ListsDevicesAndWhyOneCannotBeOpened)
{
    const auto run = Gentlctl("list");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("OVRA-M5"), std::string::npos) << run.output;
    EXPECT_NE(
        run.output.find("SIM-FOREIGN  serial SIM0003  NOACCESS: the producer does not admit this model"),
        std::string::npos)
        << run.output;
    EXPECT_TRUE(JsonOf("list").is_array() || JsonOf("list").is_object());
}

TEST(Gentlctl, ReadsAndWritesFeatures)
{
    EXPECT_EQ(JsonOf("get -d OVRA-M1 Width DeviceModelName"),
              (Json{{"Width", 1280}, {"DeviceModelName", "OVRA-M1"}}));
    EXPECT_EQ(Gentlctl("set -d OVRA-M1 Width=64").status, 0);
    const auto run = Gentlctl("set -d OVRA-M1 Width=99999");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: "), std::string::npos);
    EXPECT_EQ(Gentlctl("get -d OVRA-M1 NoSuchFeature").status, 1);
}

TEST(Gentlctl, GivesTheDescriptionOfEveryModule)
{
    for (const std::string module : {"system", "interface", "device", "remote", "stream"})
    {
        const auto run = Gentlctl("xml " + module + " -d OVRA-M1");
        EXPECT_EQ(run.status, 0) << module;
        EXPECT_NE(run.output.find("<RegisterDescription"), std::string::npos) << module;
    }
}

TEST(Gentlctl, ShowsEveryInfoOfEveryModule)
{
    const auto json = JsonOf("info -d OVRA-M5").dump();
    for (const auto *info : {"TL_INFO_ID", "INTERFACE_INFO_ID", "DEVICE_INFO_MODEL",
                             "STREAM_INFO_PAYLOAD_SIZE", "PORT_INFO_MODULE", "URL_INFO_URL"})
    {
        EXPECT_NE(json.find(info), std::string::npos) << info;
    }
}

TEST(Gentlctl, ExplainsPixelFormats)
{
    const auto json = JsonOf("formats -d OVRA-M5");
    EXPECT_EQ(json["device"], "SIM-SIM0001");
    EXPECT_FALSE(json["sends"].empty());
    EXPECT_GE(json["offers"].size(), json["sends"].size());
    const auto depth = JsonOf("formats -d OVRA-D1");
    EXPECT_EQ(depth["offers"][0]["task"], "calibrate") << depth.dump();
}

TEST(Gentlctl, WritesFramesAsPicturesWithTheirInfos)
{
    const Folder folder;
    const auto json = JsonOf("grab -d OVRA-M1 -n 2 -s Width=64 -s Height=32 -s AcquisitionFrameRate=100 -o " +
                             folder.Path().string());
    EXPECT_EQ(json["delivered"], 2);
    EXPECT_EQ(json["incomplete"], 0);
    const auto image = cv::imread((folder.Path() / "frame-00002.png").string(), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(image.cols, 64);
    EXPECT_EQ(image.rows, 32);
    std::ifstream file(folder.Path() / "frame-00002.json");
    EXPECT_EQ(Json::parse(file)["BUFFER_INFO_FRAMEID"], 2);
}

TEST(Gentlctl, KeepsTheBitsOfDeepPicturesInTiff)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-M1 -n 1 -f tiff -s PixelFormat=Mono12 -s Width=256 -s Height=32 "
                              "-s TestPattern=GreyHorizontalRamp -o " +
                              folder.Path().string());
    EXPECT_EQ(run.status, 0) << run.output;
    const auto image = cv::imread((folder.Path() / "frame-00001.tiff").string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(image.depth(), CV_16U);
    double maximum = 0;
    cv::minMaxLoc(image, nullptr, &maximum);
    EXPECT_LE(maximum, 4095);
    EXPECT_GT(maximum, 255);
}

TEST(Gentlctl, UnpacksOnTheWayToThePicture)
{
    const Folder folder;
    const auto run =
        Gentlctl("grab -d OVRA-F1 -n 1 -f tiff -s PixelFormat=Mono12 -o " + folder.Path().string());
    EXPECT_EQ(run.status, 0) << run.output;
    const auto image = cv::imread((folder.Path() / "frame-00001.tiff").string(), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(image.depth(), CV_16U);
    EXPECT_EQ(image.cols, 640);
    const auto raw =
        Gentlctl("grab -d OVRA-F1 -n 1 -f raw -s PixelFormat=Mono12 -o " + folder.Path().string());
    EXPECT_EQ(raw.status, 0) << raw.output;
    EXPECT_EQ(fs::file_size(folder.Path() / "frame-00001.raw"), 640U * 480 * 2);
}

TEST(Gentlctl, FetchesTheLensCalibration)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto file = folder.Path() / "calibration.bin";
    const auto calibration = JsonOf("calibration -d OVRA-D1 -o " + file.string());
    EXPECT_EQ(calibration["width"], 640);
    EXPECT_EQ(calibration["focalLengthX"], 525.5);
    EXPECT_EQ(fs::file_size(file), calibration["bytes"].get<size_t>());
    EXPECT_EQ(JsonOf("files -d OVRA-D1"), (Json{{"LensCalibrationData", calibration["bytes"]}}));
    EXPECT_EQ(Gentlctl("files -d OVRA-D1 LensCalibrationData -o " + folder.Path().string()).status, 0);
    EXPECT_EQ(fs::file_size(folder.Path() / "LensCalibrationData"), calibration["bytes"].get<size_t>());
    EXPECT_EQ(Gentlctl("calibration -d OVRA-M5").status, 1);
}

TEST(Gentlctl, WritesPointsOfTheDepthCamera)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-D1 -n 1 -s AcquisitionFrameRate=20 -o " + folder.Path().string());
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00001.png"));
    std::ifstream file(folder.Path() / "frame-00001.ply");
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "ply");
}

TEST(Gentlctl, ReceivesAllFramesBeforeItWritesThem)
{
    // This camera sends as fast as it gets buffers, thousands of frames for each that is written.
    const Folder folder;
    const auto json = JsonOf("grab -d OVRA-M1 -n 12 -o " + folder.Path().string());
    EXPECT_EQ(json["files"].size(), 24U);
    for (int frame = 1; frame <= 12; ++frame)
    {
        const auto name = fmt::format("frame-{:05}.json", frame);
        EXPECT_EQ(Json::parse(std::ifstream(folder.Path() / name))["BUFFER_INFO_FRAMEID"], frame);
    }
}

TEST(Gentlctl, WritesMoreFramesThanThereAreBuffers)
{
    const Folder folder;
    const auto json =
        JsonOf("grab -d OVRA-M1 -n 7 -b 2 -s Width=64 -s Height=32 -s AcquisitionFrameRate=20 -o " +
               folder.Path().string());
    EXPECT_EQ(json["delivered"], 7);
    EXPECT_EQ(json["files"].size(), 14U);
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00007.png"));
}

TEST(Gentlctl, WritesWhatCameBeforeTheCameraFellSilent)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-M1 -n 5 -t 3000 -s AcquisitionMode=MultiFrame "
                              "-s AcquisitionFrameCount=3 -s Width=64 -s Height=32 -o " +
                              folder.Path().string());
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00003.png"));
    EXPECT_FALSE(fs::exists(folder.Path() / "frame-00004.png"));
}

TEST(Gentlctl, PicturesPointsFromTheSide)
{
    const Folder folder;
    const auto grab = "grab -d OVRA-D1 -n 1 -s AcquisitionFrameRate=20 -o " + folder.Path().string();
    const auto json = JsonOf(grab + " --view -s ComponentSelector=Intensity -s ComponentEnable=1");
    const auto view = (folder.Path() / "frame-00001-view.png").string();
    EXPECT_NE(json["files"].dump().find(view), std::string::npos) << json.dump();
    const auto picture = cv::imread(view, cv::IMREAD_UNCHANGED);
    ASSERT_EQ(picture.type(), CV_8UC3);
    EXPECT_EQ(Gentlctl(grab + " --view=-40,10").status, 0);
    const auto turned = cv::imread(view, cv::IMREAD_UNCHANGED);
    ASSERT_EQ(turned.size(), picture.size());
    EXPECT_GT(cv::norm(picture, turned, cv::NORM_L1) / static_cast<double>(picture.total()), 3);
}

TEST(Gentlctl, PicturesNothingWithoutPoints)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-M1 -n 1 --view -o " + folder.Path().string());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: A view needs a grid of points"), std::string::npos) << run.output;
    EXPECT_EQ(Gentlctl("grab -d OVRA-D1 -n 1 --view").status, 2) << "nowhere to write it to";
    for (const std::string angles : {"5", "5,", ",5", "5,95", "-90,5", "5;5", "5,5,5", "x,5", "nan,5"})
    {
        const auto refused =
            Gentlctl("grab -d OVRA-D1 -n 1 -o " + folder.Path().string() + " '--view=" + angles + "'");
        EXPECT_EQ(refused.status, 2) << angles;
        EXPECT_NE(refused.output.find("\"" + angles + "\" is not two angles from -89 to 89"),
                  std::string::npos)
            << refused.output;
    }
}

TEST(Gentlctl, ShowsThatChunksHaveValuesOnlyWithAFrame)
{
    const auto all = JsonOf("get -d OVRA-D1");
    for (const auto *chunk :
         {"ChunkFrameID", "ChunkTimestamp", "ChunkExposureTime", "ChunkGain", "ChunkImageChecksum"})
    {
        EXPECT_EQ(all[chunk], (Json{{"text", "only with a frame"}})) << chunk;
    }
    EXPECT_EQ(all["ChunkModeActive"], false);
    EXPECT_EQ(all["Width"], 640);
    const auto text = Gentlctl("get -d OVRA-D1");
    EXPECT_NE(text.output.find("ChunkGain                  - (only with a frame)\n"), std::string::npos)
        << text.output;
    const auto named = Gentlctl("get -d OVRA-D1 ChunkGain");
    EXPECT_EQ(named.status, 1);
    EXPECT_EQ(named.output, "gentlctl: ChunkGain: only with a frame\n");
    EXPECT_EQ(Gentlctl("set -d OVRA-D1 ChunkFrameID=5").output,
              "gentlctl: Cannot set ChunkFrameID: only with a frame\n");
}

TEST(Gentlctl, ShowsAFeatureThatAModuleDoesNotHaveAsSuch)
{
    EXPECT_EQ(JsonOf("get -d OVRA-M1 -m stream")["StreamDiscardedFrameCount"],
              (Json{{"text", "not available now"}}));
}

TEST(Gentlctl, ShowsAddressesOfTheNetworkAsTheyAreWritten)
{
    const auto device = JsonOf("get -d OVRA-M5 -m device");
    EXPECT_EQ(device["GevDeviceIPAddress"], "192.168.10.21");
    EXPECT_EQ(device["GevDeviceMACAddress"], "02:00:00:00:01:01");
    EXPECT_EQ(JsonOf("get -d OVRA-M5 -m system")["GevInterfaceDefaultSubnetMask"], "255.255.255.0");
}

TEST(Gentlctl, ShowsBytesAsHexadecimal)
{
    const auto bytes = JsonOf("get -d OVRA-D1 FileAccessBuffer")["FileAccessBuffer"];
    ASSERT_TRUE(bytes.is_string()) << bytes;
    EXPECT_EQ(bytes.get<std::string>().size(), 2 + 2 * 32U);
    EXPECT_EQ(bytes.get<std::string>().substr(0, 2), "0x");
}

TEST(Gentlctl, NamesTheModesThatTheFormatsOfDepthHangOn)
{
    const auto json = JsonOf("formats -d OVRA-D1");
    EXPECT_EQ(json["Scan3dOutputMode"]["is"], "CalibratedABC_Grid");
    EXPECT_EQ(json["Scan3dOutputMode"]["canBe"],
              (Json{"UncalibratedC", "CalibratedABC_Grid", "CalibratedC"}));
    EXPECT_EQ(json["ComponentSelector"]["canBe"], (Json{"Range", "Intensity", "Confidence"}));
    EXPECT_FALSE(JsonOf("formats -d OVRA-M5").contains("Scan3dOutputMode"));
    EXPECT_NE(Gentlctl("formats -d OVRA-D1")
                  .output.find("This is for Scan3dOutputMode=CalibratedABC_Grid; it can be UncalibratedC, "
                               "CalibratedABC_Grid, CalibratedC\n"),
              std::string::npos);
}

TEST(Gentlctl, TellsThatADeviceHasNoFiles)
{
    EXPECT_EQ(Gentlctl("files -d OVRA-M1").output, "The device has no files.\n");
    EXPECT_EQ(JsonOf("files -d OVRA-M1"), Json::object());
}

struct Wrong
{
    std::string arguments;
    int status;
    std::string output; ///< the beginning of the only line
};

void PrintTo(const Wrong &wrong, std::ostream *stream)
{
    *stream << wrong.arguments;
}

class GentlctlWithWrongInput : public testing::TestWithParam<Wrong>
{
};

TEST_P(GentlctlWithWrongInput, SaysInOneLineWhatToDo)
{
    const auto &wrong = GetParam();
    const auto run = Gentlctl(wrong.arguments);
    EXPECT_EQ(run.status, wrong.status);
    EXPECT_EQ(run.output.substr(0, wrong.output.size()), wrong.output);
    EXPECT_EQ(run.output.find('\n'), run.output.size() - 1) << run.output;
}

const std::string noDevice = "gentlctl: There is no device \"NOPE\". Known: SIM-SIM0001 (OVRA-M5), ";

INSTANTIATE_TEST_SUITE_P(
    Device, GentlctlWithWrongInput,
    testing::Values(Wrong{"info -d NOPE", 1, noDevice}, Wrong{"xml -d NOPE", 1, noDevice},
                    Wrong{"get -d NOPE Width", 1, noDevice}, Wrong{"set -d NOPE Width=64", 1, noDevice},
                    Wrong{"formats -d NOPE", 1, noDevice}, Wrong{"files -d NOPE", 1, noDevice},
                    Wrong{"calibration -d NOPE", 1, noDevice}, Wrong{"grab -d NOPE", 1, noDevice}));

INSTANTIATE_TEST_SUITE_P(
    File, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"xml -o /proc/x", 1, "gentlctl: Cannot write /proc/x: No such file or directory\n"},
        Wrong{"calibration -d OVRA-D1 -o /proc/x", 1,
              "gentlctl: Cannot write /proc/x: No such file or directory\n"},
        Wrong{"files -d OVRA-D1 LensCalibrationData -o /dev/null", 1,
              "gentlctl: Cannot make the folder /dev/null: Not a directory. Choose another one with "
              "--output\n"},
        Wrong{"grab -d OVRA-D1 -n 1 -o /proc/x", 1,
              "gentlctl: Cannot make the folder /proc/x: No such file or directory. Choose another one with "
              "--output\n"},
        Wrong{"files -d OVRA-D1 Nope", 1,
              "gentlctl: The device has no file \"Nope\"; it has LensCalibrationData\n"},
        Wrong{"files -d OVRA-M1 Nope", 1, "gentlctl: The device has no files, and so no Nope\n"},
        Wrong{"calibration -d OVRA-M1", 1,
              "gentlctl: The device has no files, and so no LensCalibrationData\n"},
        Wrong{"list --producer /proc/x", 1, "gentlctl: Loading CTI /proc/x failed!"}));

INSTANTIATE_TEST_SUITE_P(
    Value, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"get -d OVRA-M1 Nope", 1,
              "gentlctl: There is no feature \"Nope\"; `gentlctl get` without a name lists all\n"},
        Wrong{"get -d OVRA-M1 width", 1, "gentlctl: There is no feature \"width\"; there is Width\n"},
        Wrong{"get -d OVRA-M1 Binning", 1,
              "gentlctl: There is no feature \"Binning\"; there is BinningSelector, BinningHorizontal, "
              "BinningVertical\n"},
        Wrong{"set -d OVRA-M1 Width=abc", 1,
              "gentlctl: Cannot set Width to \"abc\": not a number; it takes 16 to 1280\n"},
        Wrong{"set -d OVRA-M5 OffsetX=3", 1, "gentlctl: Cannot set OffsetX to \"3\": "},
        Wrong{"set -d OVRA-M1 SensorWidth=5", 1, "gentlctl: Cannot set SensorWidth: it is read only\n"},
        Wrong{"set -d OVRA-M1 ChunkModeActive=maybe", 1,
              "gentlctl: Cannot set ChunkModeActive to \"maybe\": not a number; it takes true or false\n"},
        Wrong{"set -d OVRA-M1 ExposureTime=fast", 1,
              "gentlctl: Cannot set ExposureTime to \"fast\": not a number; it takes 10 to 1000000\n"},
        Wrong{
            "set -d OVRA-M1 DeviceUserID=012345678901234567890123456789012", 1,
            "gentlctl: Cannot set DeviceUserID to \"012345678901234567890123456789012\": it takes at most 32 "
            "characters\n"},
        Wrong{"grab -d OVRA-D1 -n 1 -s Scan3dOutputMode=RectifiedC", 1,
              "gentlctl: Cannot set Scan3dOutputMode to \"RectifiedC\": Enumeration entry not available; it "
              "takes "
              "UncalibratedC, CalibratedABC_Grid, CalibratedC\n"},
        Wrong{"grab -d OVRA-M1 -n 2 -s AcquisitionFrameRate=0.1 -t 50", 1,
              "gentlctl: No frame within 50 ms. "}));

INSTANTIATE_TEST_SUITE_P(
    Usage, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"", 2, "gentlctl: A command is missing; there is list, info, "},
        Wrong{"nonsense", 2, "gentlctl: There is no command \"nonsense\"; there is list, info, "},
        Wrong{"list extra", 2,
              "gentlctl: The following argument was not expected: extra (see gentlctl list --help)\n"},
        Wrong{"xml nonsense", 2,
              "gentlctl: module: nonsense not in {system,interface,device,remote,stream} (see "},
        Wrong{"get -m nonsense", 2, "gentlctl: --module: nonsense not in "},
        Wrong{"set", 2, "gentlctl: assignments is required (see gentlctl set --help)\n"},
        Wrong{"set Width", 2, "gentlctl: assignments: \"Width\" is not of the form NAME=VALUE (see "},
        Wrong{"set =5", 2, "gentlctl: assignments: \"=5\" is not of the form NAME=VALUE (see "},
        Wrong{"grab -s Width", 2, "gentlctl: --set: \"Width\" is not of the form NAME=VALUE (see "},
        Wrong{"grab -n 0", 2,
              "gentlctl: --frames: Value 0 not in range 1 to 1000000000 (see gentlctl grab --help)\n"},
        Wrong{"grab -n -3", 2, "gentlctl: --frames: Value -3 not in range 1 to 1000000000 (see "},
        Wrong{"grab -n many", 2, "gentlctl: --frames: Value many not in range 1 to 1000000000 (see "},
        Wrong{"grab -n 1.5", 2, "gentlctl: --frames: Value 1.5 not in range 1 to 1000000000 (see "},
        Wrong{"grab -b 1", 2, "gentlctl: --buffers: Value 1 not in range 2 to 1024 (see "},
        Wrong{"grab -t 0", 2, "gentlctl: --timeout: Value 0 not in range 1 to 86400000 (see "},
        Wrong{"grab -f jpg", 2, "gentlctl: --format: jpg not in {png,tiff,raw} (see "},
        Wrong{"grab --view", 2, "gentlctl: --view requires --output (see gentlctl grab --help)\n"}));

TEST(Gentlctl, FailsWhenNoFrameIsComplete)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-D1 -n 1 -s ChunkModeActive=true -o " + folder.Path().string());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: No frame is complete"), std::string::npos) << run.output;
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00001.json"));
    EXPECT_FALSE(fs::exists(folder.Path() / "frame-00001.png"));
}

TEST(Gentlctl, FailsWhenAPictureCannotBeWritten)
{
    const Folder folder;
    fs::create_directories(folder.Path() / "frame-00001.png");
    const auto run = Gentlctl("grab -d OVRA-D1 -n 1 -o " + folder.Path().string());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: Cannot write " + (folder.Path() / "frame-00001.png").string()),
              std::string::npos)
        << run.output;
}

TEST(Gentlctl, TellsFailureAndWrongUsageApart)
{
    EXPECT_EQ(Gentlctl("").status, 2);
    EXPECT_EQ(Gentlctl("nonsense").status, 2);
    EXPECT_EQ(Gentlctl("--help").status, 0);
    const auto run = Gentlctl("list --producer /nowhere/x.cti");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("Loading CTI /nowhere/x.cti failed!"), std::string::npos) << run.output;
    EXPECT_EQ(Gentlctl("get -d OVRA-UNKNOWN Width").status, 1);
    const auto foreign = Gentlctl("get -d SIM-FOREIGN Width");
    EXPECT_EQ(foreign.status, 1);
    EXPECT_NE(foreign.output.find("Access denied!"), std::string::npos) << foreign.output;
}

TEST(Gentlctl, TellsHowToFindOutWhyAProducerDoesNotStart)
{
    setenv("PROXY_TL_CTI_PATH", "/nowhere/lower.cti", 1);
    const auto run = Gentlctl("list");
    unsetenv("PROXY_TL_CTI_PATH");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("PROXY_TL_LOG_LEVEL=error"), std::string::npos) << run.output;
}

TEST(Gentlctl, WorksWithTheLowerProducerAlone)
{
    const auto run = Gentlctl("--producer " QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti list");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("SIM-FOREIGN  serial SIM0003  READWRITE"), std::string::npos) << run.output;
}

} // namespace
