// The command-line consumer as a user runs it, with the producer and the simulator.

#include "gentlctl_run.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

namespace
{

using namespace gentlctl_run;

/// Arguments as the name of a test.
std::string TestName(const std::string &arguments)
{
    auto name = arguments.empty() ? "nothing" : arguments;
    std::ranges::replace_if(
        name, [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

TEST(Gentlctl, ListsDevicesAndWhyOneCannotBeOpened)
{
    const auto run = Gentlctl("list");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("OVRA-M5"), std::string::npos) << run.output;
    EXPECT_NE(
        run.output.find("SIM-FOREIGN  serial SIM0003  NOACCESS: the producer does not admit this model"),
        std::string::npos)
        << run.output;
    const auto foreign = JsonOf("list")[1]["devices"][1];
    EXPECT_EQ(foreign["id"], "SIM-SIM0003");
    EXPECT_EQ(foreign["accessStatus"], "NOACCESS");
    EXPECT_THAT(foreign["reason"].get<std::string>(),
                testing::StartsWith("the producer does not admit this model"));
}

TEST(Gentlctl, ListsWhereADeviceIsInTheNetwork)
{
    const auto device = JsonOf("list")[0]["devices"][0];
    EXPECT_EQ(device["id"], "SIM-SIM0001");
    EXPECT_EQ(device["ipAddress"], "192.168.10.21");
    EXPECT_EQ(device["macAddress"], "02:00:00:00:01:01");
}

TEST(Gentlctl, ListsTheDevicesOfEachProducer)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto broken = (folder.Path() / "broken.cti").string();
    std::ofstream(broken) << "no library";
    const auto run = Gentlctl("--json list --all", "2> /dev/null",
                              "GENICAM_GENTL64_PATH=" + broken + ":" QVR_LIB_DIR "/anygentl ");
    EXPECT_EQ(run.status, 1);
    const auto json = Json::parse(run.output, nullptr, false);
    ASSERT_EQ(json.size(), 3U) << run.output;
    EXPECT_EQ(json[0]["producer"], broken);
    EXPECT_NE(json[0]["error"].get<std::string>().find("Cannot load " + broken + ": "), std::string::npos)
        << json[0];
    EXPECT_EQ(json[1]["interfaces"][0]["devices"][0]["id"], "SIM-SIM0001");
    EXPECT_EQ(json[2]["producer"], QVR_LIB_DIR "/qvr_proxygentl.cti");
    EXPECT_EQ(json[2]["interfaces"].size(), 2U);
}

TEST(Gentlctl, ListsTheNamedDeviceAlone)
{
    const auto listed = JsonOf("list -d ovra-m1");
    ASSERT_EQ(listed.size(), 1U) << listed;
    ASSERT_EQ(listed[0]["devices"].size(), 1U) << listed;
    EXPECT_EQ(listed[0]["devices"][0]["id"], "SIM-SIM0002");
    const auto run = Gentlctl("list -d OVRA-X9");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output.find("gentlctl: There is no device \"OVRA-X9\". Known: SIM-SIM0001 (OVRA-M5), "), 0U)
        << run.output;
}

TEST(Gentlctl, ListsTheNamedDeviceOfEachProducer)
{
    const auto *const both = "GENICAM_GENTL64_PATH=" QVR_LIB_DIR "/anygentl ";
    const auto run = Gentlctl("list --all -d SIM0002", "2>&1", both);
    EXPECT_EQ(run.status, 0);
    const std::string device = "    SIM-SIM0002  QVR OVRA-M1";
    EXPECT_EQ(run.output.find(QVR_LIB_DIR "/anygentl/qvr_anygentl.cti\nSIM-GIGE-1  "), 0U) << run.output;
    EXPECT_NE(run.output.find(device), run.output.rfind(device)) << run.output;
    EXPECT_EQ(run.output.find("SIM-SIM0001"), std::string::npos) << run.output;
    const auto none = Gentlctl("list --all -d OVRA-X9", "2>&1", both);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.output,
              "gentlctl: No producer lists a device \"OVRA-X9\"; `gentlctl list --all` shows all\n");
}

TEST(Gentlctl, TellsAllAboutAFeature)
{
    const auto run = Gentlctl("get -l 'Expo*' -d ovra-m5");
    EXPECT_EQ(run.output,
              "ExposureTime  10000.0 us\n"
              "    type         Float\n"
              "    access       read and write\n"
              "    range        10.0 to 1000000.0\n"
              "    visibility   Beginner\n"
              "    description  How long the sensor collects light; 10000 shows the scene as it is.\n");
    const auto depth = JsonOf("get --long -d OVRA-D1 Scan3dOutputMode 'Component*'");
    EXPECT_EQ(depth["Scan3dOutputMode"]["entries"][0]["name"], "UncalibratedC");
    EXPECT_TRUE(depth["ComponentEnable"].contains("description")) << depth;
}

TEST(Gentlctl, TellsWhatLocksAFeatureAndWhatSelectsIt)
{
    const auto open = Gentlctl("get -l Width -d OVRA-M1").output;
    EXPECT_NE(open.find("    access       read and write\n"), std::string::npos) << open;
    EXPECT_NE(open.find("    locked by    ParametersLocked, not now\n"), std::string::npos) << open;
    const auto locked = Gentlctl("get -l Width -d OVRA-M1 -s TLParamsLocked=1").output;
    EXPECT_NE(locked.find("    access       read only\n"), std::string::npos) << locked;
    EXPECT_NE(locked.find("    locked by    ParametersLocked, now\n"), std::string::npos) << locked;
    const auto chunks = Gentlctl("get -l ChunkSelector ChunkEnable -d OVRA-M1").output;
    EXPECT_NE(chunks.find("    selects      ChunkEnable\n"), std::string::npos) << chunks;
    EXPECT_NE(chunks.find("    selected by  ChunkSelector\n"), std::string::npos) << chunks;
}

TEST(Gentlctl, ExecutesACommandByItsName)
{
    const auto run = Gentlctl("get -d OVRA-M1 -s TimestampLatch TimestampLatchValue");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output, "TimestampLatchValue  0\n");
    EXPECT_EQ(Gentlctl("set -d OVRA-M1 TimestampLatch").status, 0);
}

TEST(Gentlctl, ReplacesAFileOnTheDevice)
{
    const Folder folder;
    fs::create_directories(folder.Path());
    const auto file = (folder.Path() / "UserFile").string();
    std::ofstream(file) << std::string(100, 'x');
    EXPECT_EQ(JsonOf("files -d OVRA-C5 --upload " + file), (Json{{"UserFile", 100}}));
    // Shorter than what is there.
    std::ofstream(file) << "x";
    EXPECT_EQ(JsonOf("files -d OVRA-C5 --upload " + file), (Json{{"UserFile", 1}}));
    std::ofstream(file) << std::string(5000, 'x');
    EXPECT_EQ(
        Gentlctl("files -d OVRA-C5 UserFile --upload " + file).output,
        "gentlctl: The device refuses the bytes from 4096 on of the 5000 for UserFile: it took 0 of 32\n");
}

TEST(Gentlctl, TellsItsVersion)
{
    EXPECT_EQ(Gentlctl("--version").output, "gentlctl " QVR_VERSION "\n");
}

/// The producer that is taken when these variables are set, as `info` tells it.
std::string TakenWith(const std::string &variables, const std::string &arguments = "")
{
    const auto run = Gentlctl(arguments + " info", "2> /dev/null", variables + " ");
    const auto begin = run.output.find("/", run.output.find("TL_INFO_PATHNAME"));
    return run.output.substr(begin, run.output.find('\n', begin) - begin);
}

TEST(Gentlctl, TakesTheProducerOfThePathVariable)
{
    const std::string any = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
    const std::string proxy = QVR_LIB_DIR "/qvr_proxygentl.cti";
    EXPECT_EQ(TakenWith(""), proxy);
    EXPECT_EQ(TakenWith("GENICAM_GENTL64_PATH=" QVR_LIB_DIR "/anygentl"), any);
    EXPECT_EQ(TakenWith("GENICAM_GENTL64_PATH=" + any), any);
    EXPECT_EQ(TakenWith("GENICAM_GENTL64_PATH=" QVR_LIB_DIR ":" + any), proxy);
    EXPECT_EQ(TakenWith("GENICAM_GENTL64_PATH=" + any, "--producer " + proxy), proxy);
    EXPECT_EQ(TakenWith("ANYGENTL_CTI_PATH=" QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti"), any);
}

TEST(Gentlctl, TellsWhichProducerItTakesOfSeveral)
{
    const auto told = [](const std::string &path)
    { return Gentlctl("--json list", "2>&1 > /dev/null", "GENICAM_GENTL64_PATH=" + path + " ").output; };
    EXPECT_EQ(told(QVR_LIB_DIR ":" QVR_LIB_DIR "/anygentl"),
              "gentlctl: Takes " QVR_LIB_DIR "/qvr_proxygentl.cti, the first of 2 producers in "
              "GENICAM_GENTL64_PATH (see gentlctl list --all)\n");
    EXPECT_EQ(told("/nowhere"), "gentlctl: Takes " QVR_LIB_DIR
                                "/qvr_proxygentl.cti, because GENICAM_GENTL64_PATH leads to no producer\n");
    EXPECT_EQ(told(QVR_LIB_DIR "/anygentl"), "");
}

TEST(Gentlctl, PrintsWhatItSetAsJson)
{
    const auto set = JsonOf("set -d OVRA-M1 Width=64 ExposureTime=10.4 TimestampLatch");
    EXPECT_EQ(set, (Json{{"Width", 64}, {"ExposureTime", double{10.4F}}, {"TimestampLatch", "(command)"}}))
        << set;
}

/// A byte of Latin-1, and what stands for it in JSON.
const std::string latin1 = "M\xfc"
                           "ller";
const std::string anyProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
const std::string replaced = "M\xef\xbf\xbd"
                             "ller";

TEST(Gentlctl, PrintsAnyBytesAsJson)
{
    const std::string named = " -d OVRA-M1 -s DeviceUserID=" + latin1 + " -s Width=64 -s Height=64 ";
    const auto json = JsonOf("get --producer " + anyProducer + named + "DeviceUserID Width");
    EXPECT_EQ(json, (Json{{"DeviceUserID", replaced}, {"Width", 64}}));
    const Folder folder;
    const auto path = folder.Path().string() + "/" + latin1;
    const auto shown = folder.Path().string() + "/" + replaced;
    EXPECT_EQ(JsonOf("grab -n 1 -o " + path + named)["files"][0], shown + "/frame-00001.png");
    EXPECT_EQ(JsonOf("record --producer " + anyProducer + " -n 1 -o " + path + "-record" + named)["folder"],
              shown + "-record");
    EXPECT_EQ(JsonOf("replay --check " + path + "-record")[0]["frames"], 1);
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

class GentlctlXml : public testing::TestWithParam<std::string>
{
};

TEST_P(GentlctlXml, GivesTheDescriptionOfAModule)
{
    const auto run = Gentlctl("xml " + GetParam() + " -d OVRA-M1");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("<RegisterDescription"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(EachModule, GentlctlXml,
                         testing::Values("system", "interface", "device", "remote", "stream"),
                         [](const auto &row) { return row.param; });

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
    // This camera sends as fast as it gets buffers: thousands of frames while one is written.
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
    EXPECT_EQ(json["written"], 7);
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
    const auto grab = "grab -d OVRA-D1 -n 1 -s AcquisitionFrameRate=20 -s Width=320 -s Height=240 -o " +
                      folder.Path().string();
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

TEST(Gentlctl, ShowsAnUnimplementedFeatureAsNotAvailable)
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

TEST(Gentlctl, TakesHexadecimalNumbers)
{
    EXPECT_EQ(JsonOf("get -d OVRA-M5 -s ExposureTime=0x1F ExposureTime")["ExposureTime"], 31.0);
    EXPECT_EQ(JsonOf("get -d OVRA-M5 -s Width=0x40 Width")["Width"], 64);
}

TEST(Gentlctl, ShowsBytesAsHexadecimal)
{
    const auto bytes = JsonOf("get -d OVRA-D1 FileAccessBuffer")["FileAccessBuffer"];
    ASSERT_TRUE(bytes.is_string()) << bytes;
    EXPECT_EQ(bytes.get<std::string>().size(), 2 + 2 * 32U);
    EXPECT_EQ(bytes.get<std::string>().substr(0, 2), "0x");
}

TEST(Gentlctl, NamesTheModesThatDecideTheFormatsOfDepth)
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

TEST(Gentlctl, SaysWhichFileDoesNotFitAndLeavesNoPartOfIt)
{
    const Folder folder;
    // The limit, in units of 512 bytes, is less than an image and more than its infos.
    const auto run =
        Gentlctl("grab -d OVRA-M1 -n 3 -f raw -s AcquisitionFrameRate=20 -o " + folder.Path().string(),
                 "2>&1", "ulimit -f 100; ");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("gentlctl: Cannot write " + (folder.Path() / "frame-00001.raw").string() +
                              ": File too large\n"),
              std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find(" not written"), std::string::npos) << run.output;
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(Gentlctl, ChecksTheFolderBeforeTheCamera)
{
    const auto run = Gentlctl("grab --producer /nowhere/x.cti -o /proc");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output.find("gentlctl: Cannot write into the folder /proc: "), 0U) << run.output;
}

class GentlctlOnAFullDisk : public testing::TestWithParam<std::string>
{
};

TEST_P(GentlctlOnAFullDisk, FailsWhenItsOutputIsNotTaken)
{
    const auto run = Gentlctl(GetParam(), "2>&1 > /dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "gentlctl: Cannot write to standard output: No space left on device\n");
}

INSTANTIATE_TEST_SUITE_P(Each, GentlctlOnAFullDisk,
                         testing::Values("list", "info -d OVRA-M1", "xml", "get Width", "formats",
                                         "calibration -d OVRA-D1", "grab -n 1", "--help", "--json list"),
                         [](const auto &row) { return TestName(row.param); });

TEST(Gentlctl, KeepsTheLogOutOfItsOutput)
{
    setenv("PROXY_TL_LOG_LEVEL", "trace", 1);
    const auto grab = Gentlctl("--json grab -d OVRA-M1 -n 1 -s Width=64", "2> /dev/null");
    const auto log = Gentlctl("--json grab -d OVRA-M1 -n 1 -s Width=64", "2>&1 > /dev/null");
    const auto xml = Gentlctl("xml remote -d OVRA-M1", "2> /dev/null");
    unsetenv("PROXY_TL_LOG_LEVEL");
    EXPECT_TRUE(Json::parse(grab.output, nullptr, false).is_object()) << grab.output.substr(0, 200);
    EXPECT_NE(log.output.find("Did not find node FileSelector!"), std::string::npos)
        << log.output.substr(0, 200);
    EXPECT_EQ(xml.output.substr(0, 5), "<?xml");
}

TEST(Gentlctl, WritesAFeatureWhoseEntriesDependOnConstants)
{
    EXPECT_EQ(Gentlctl("set -m stream StreamBufferHandlingMode=OldestFirst").status, 0);
    EXPECT_EQ(Gentlctl("set -m stream StreamBufferHandlingMode=NewestOnly").output,
              "gentlctl: Cannot set StreamBufferHandlingMode to \"NewestOnly\": Enumeration entry not "
              "available; it takes OldestFirst\n");
    EXPECT_EQ(JsonOf("get -m stream StreamAnnounceBufferMinimum"),
              (Json{{"StreamAnnounceBufferMinimum", 2}}));
}

TEST(Gentlctl, PrintsReadableFeaturesAndNamesTheOthers)
{
    const std::string command = "get -d OVRA-M1 Width NoSuch Height";
    const auto run = Gentlctl(command);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("Width   1280\nHeight  1024\n"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("gentlctl: There is no feature \"NoSuch\""), std::string::npos) << run.output;
    const auto json = Json::parse(Gentlctl("--json " + command, "2> /dev/null").output, nullptr, false);
    ASSERT_TRUE(json.is_object());
    EXPECT_EQ(json["Width"], 1280);
    EXPECT_EQ(json["Height"], 1024);
    EXPECT_EQ(json["NoSuch"].count("error"), 1U) << json;
}

TEST(Gentlctl, ShowsModulesAboveADeviceThatCannotBeOpened)
{
    const auto info = Gentlctl("info -d SIM-FOREIGN");
    EXPECT_NE(info.output.find("INTERFACE_INFO_ID"), std::string::npos) << info.output;
    EXPECT_NE(info.output.find("gentlctl: Cannot open SIM-SIM0003"), std::string::npos) << info.output;
    EXPECT_EQ(info.status, 1);
}

TEST(Gentlctl, WritesEachOfSeveralImagesInOne)
{
    const Folder folder;
    const auto run =
        Gentlctl("grab -d OVRA-S2 -n 1 -f tiff -s PixelFormat=Mono10_AB -s Width=256 -s Height=256 -o " +
                 folder.Path().string());
    EXPECT_EQ(run.status, 0) << run.output;
    const auto picture = [&](const char *name)
    { return cv::imread((folder.Path() / name).string(), cv::IMREAD_UNCHANGED); };
    const auto a = picture("frame-00001-A.tiff");
    const auto b = picture("frame-00001-B.tiff");
    ASSERT_EQ(a.type(), CV_16UC1);
    ASSERT_EQ(b.size(), a.size());
    // B gets half of the light.
    EXPECT_NEAR(cv::mean(b)[0], cv::mean(a)[0] / 2, cv::mean(a)[0] / 20);
    EXPECT_EQ(Gentlctl("grab -d OVRA-S2 -n 1 -s PixelFormat=Mono12_ABCD -s Width=256 -s Height=256 -o " +
                       folder.Path().string())
                  .status,
              0);
    EXPECT_EQ(folder.Count(".png"), 4);
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00001-D.png"));
}

TEST(Gentlctl, WritesThePointsExactly)
{
    const Folder folder;
    const auto run = Gentlctl("grab -d OVRA-D1 -n 1 -f tiff -o " + folder.Path().string());
    EXPECT_EQ(run.status, 0) << run.output;
    // OpenCV reverses the channels to z, y, x.
    const auto grid = cv::imread((folder.Path() / "frame-00001.tiff").string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(grid.type(), CV_32FC3);
    std::string points;
    int negative = 0;
    for (const auto &pixel : cv::Mat_<cv::Vec3f>(grid))
    {
        if (pixel[0] != 0)
        {
            const cv::Vec3f point(pixel[2], pixel[1], pixel[0]);
            points.append(reinterpret_cast<const char *>(point.val), sizeof point.val);
            negative += point[0] < 0 ? 1 : 0;
        }
    }
    EXPECT_GT(negative, 1000);
    auto *const reader =
        popen((QVR_BIN_DIR "/read_points " + (folder.Path() / "frame-00001.ply").string()).c_str(), "r");
    std::string read(points.size() + 1, '\0');
    read.resize(fread(read.data(), 1, read.size(), reader));
    EXPECT_EQ(pclose(reader), 0);
    EXPECT_TRUE(read == points) << read.size() << " bytes for " << points.size();
}

TEST(Gentlctl, WritesTheBufferAsItIsWhenRaw)
{
    const Folder folder;
    for (const std::string format : {"raw", "tiff"})
    {
        const auto run =
            Gentlctl("grab -d OVRA-M1 -n 1 -s PixelFormat=Mono12 -s TestPattern=GreyHorizontalRamp "
                     "-s Width=256 -s Height=32 -f " +
                     format + " -o " + folder.Path().string());
        EXPECT_EQ(run.status, 0) << run.output;
    }
    const auto picture = cv::imread((folder.Path() / "frame-00001.tiff").string(), cv::IMREAD_UNCHANGED);
    const std::string samples(reinterpret_cast<const char *>(picture.data),
                              picture.total() * picture.elemSize());
    EXPECT_TRUE(ContentOf(folder.Path() / "frame-00001.raw") == samples);
}

const std::string withChunks = " -s ChunkModeActive=true -s ChunkSelector=FrameID -s ChunkEnable=true "
                               "-s ChunkSelector=ExposureTime -s ChunkEnable=true -s ExposureTime=5000 "
                               "-s Width=64 -s Height=32 ";

TEST(Gentlctl, ShowsTheChunksOfAFrame)
{
    const Json chunks{{"ChunkFrameID", 1}, {"ChunkExposureTime", 5000.0}};
    EXPECT_EQ(JsonOf("get -m frame -d OVRA-M5" + withChunks), chunks);
    EXPECT_EQ(Gentlctl("get -m frame -d OVRA-M5 ChunkExposureTime" + withChunks).output,
              "ChunkExposureTime  5000.0\n");
    const auto missing = Gentlctl("get -m frame -d OVRA-M5 ChunkGain" + withChunks);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.output, "gentlctl: The frame has no \"ChunkGain\"\n");
    EXPECT_EQ(Gentlctl("get -m frame -d OVRA-M5").status, 1);
    const Folder folder;
    const auto grab = JsonOf("grab -n 2 -d OVRA-M5 -o " + folder.Path().string() + withChunks);
    EXPECT_EQ(grab["chunks"]["ChunkFrameID"], 2);
    EXPECT_EQ(Json::parse(ContentOf(folder.Path() / "frame-00001.json"))["chunks"], chunks);
}

TEST(Gentlctl, TellsWhyAFrameHasNoChunks)
{
    const std::string depth = "get -m frame -d OVRA-D1 -s ChunkModeActive=true";
    const std::string switchedOn = depth + " -s ChunkSelector=FrameID -s ChunkEnable=true";
    const auto *const advice = "gentlctl: The frame has no chunks: switch them on with ";
    EXPECT_EQ(Gentlctl("get -m frame -d OVRA-D1").output.find(advice), 0U);
    EXPECT_EQ(Gentlctl(depth).output.find(advice), 0U) << "the image alone is a chunk";
    const auto *const cause = "gentlctl: The frame has no chunks, although they are switched on: ";
    EXPECT_EQ(Gentlctl(switchedOn).output.find(cause), 0U);
    EXPECT_EQ(Gentlctl(switchedOn + " ChunkFrameID").output.find(cause), 0U);
    const auto passed = Gentlctl(switchedOn + " --producer " QVR_LIB_DIR "/anygentl/qvr_anygentl.cti");
    EXPECT_EQ(passed.output, "ChunkFrameID  1\n");
}

TEST(Gentlctl, NamesTheNumbersOfAFrame)
{
    const Folder folder;
    JsonOf("grab -d OVRA-D1 -n 1 -s ComponentSelector=Intensity -s ComponentEnable=true -o " +
           folder.Path().string());
    const auto frame = Json::parse(ContentOf(folder.Path() / "frame-00001.json"), nullptr, false);
    ASSERT_TRUE(frame.is_object());
    EXPECT_EQ(frame["payloadType"], "PAYLOAD_TYPE_MULTI_PART");
    EXPECT_EQ(frame["parts"][0]["dataType"], "PART_DATATYPE_3D_IMAGE");
    EXPECT_EQ(frame["parts"][0]["dataFormat"], "Coord3D_ABC32f");
    EXPECT_EQ(frame["parts"][1]["dataFormat"], "Mono8");
    JsonOf("grab -d OVRA-M1 -n 1 -o " + folder.Path().string());
    EXPECT_EQ(Json::parse(ContentOf(folder.Path() / "frame-00001.json"))["pixelFormat"], "Mono8");
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

TEST(Gentlctl, SaysThatNoFrameCame)
{
    const auto run = Gentlctl("grab -d OVRA-M1 -n 2 -s AcquisitionFrameRate=0.1 -t 50", "2>&1 >/dev/null");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output.find("gentlctl: No frame within 50 ms. Does the device wait for a trigger"), 0)
        << run.output;
    EXPECT_EQ(run.output.find('\n'), run.output.size() - 1) << run.output;
}

const std::string noDevice = "gentlctl: There is no device \"NOPE\". Known: SIM-SIM0001 (OVRA-M5), ";

INSTANTIATE_TEST_SUITE_P(
    Device, GentlctlWithWrongInput,
    testing::Values(Wrong{"info -d NOPE", 1, noDevice}, Wrong{"xml -d NOPE", 1, noDevice},
                    Wrong{"get -d NOPE Width", 1, noDevice}, Wrong{"set -d NOPE Width=64", 1, noDevice},
                    Wrong{"formats -d NOPE", 1, noDevice}, Wrong{"files -d NOPE", 1, noDevice},
                    Wrong{"calibration -d NOPE", 1, noDevice}, Wrong{"grab -d NOPE", 1, noDevice},
                    Wrong{"check -d NOPE", 1, noDevice}),
    [](const auto &row) { return TestName(row.param.arguments); });

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
        Wrong{"files -d OVRA-M1 --upload /proc/x", 1,
              "gentlctl: Cannot read /proc/x: No such file or directory\n"},
        Wrong{"files -d OVRA-M1 --upload /proc", 1, "gentlctl: Cannot read /proc: Is a directory\n"},
        Wrong{"files -d OVRA-M1 --upload /dev/zero", 1,
              "gentlctl: Cannot read /dev/zero: it is a device or a socket, and no file\n"},
        Wrong{"settings load /dev/zero", 1,
              "gentlctl: Cannot read /dev/zero: it is a device or a socket, and no file\n"},
        Wrong{"check /nowhere.cti", 1, "gentlctl: There is no file /nowhere.cti\n"},
        Wrong{"list --producer " QVR_BIN_DIR, 1,
              "gentlctl: The folder " QVR_BIN_DIR " holds no producer, which is a file *.cti\n"},
        Wrong{"files -d OVRA-D1 --upload " QVR_SOURCE_DIR "/LICENSE LensCalibrationData", 1,
              "gentlctl: The device does not write the file LensCalibrationData: it only lets it be read\n"},
        Wrong{"list --producer /proc/x", 1, "gentlctl: Cannot load /proc/x: "},
        Wrong{"list --producer here.cti", 1, "gentlctl: Cannot load ./here.cti: "},
        Wrong{"bench --beside here.cti -n 2 -r 1", 1, "gentlctl: Cannot load ./here.cti: "}),
    [](const auto &row) { return TestName(row.param.arguments); });

INSTANTIATE_TEST_SUITE_P(
    Value, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"get -d OVRA-M1 Nope", 1,
              "gentlctl: There is no feature \"Nope\"; `gentlctl get` without a name lists all\n"},
        Wrong{"get -d OVRA-M1 width", 1, "gentlctl: There is no feature \"width\"; there is Width\n"},
        Wrong{"get -d OVRA-M1 Binning", 1,
              "gentlctl: There is no feature \"Binning\"; there is BinningSelector, BinningHorizontal, "
              "BinningVertical\n"},
        Wrong{"get -d OVRA-M1 'Nope*'", 1, "gentlctl: No feature matches \"Nope*\"\n"},
        Wrong{"get -d OVRA-M1 Widht", 1, "gentlctl: There is no feature \"Widht\"; there is Width\n"},
        Wrong{"set -d OVRA-M1 Width", 1,
              "gentlctl: Width is no command, so it needs a value, as in Width=VALUE\n"},
        Wrong{
            "set -d OVRA-M1 Width=64 Nope=1 Height=64 TimestampLatch", 1,
            "gentlctl: There is no feature \"Nope\"; `gentlctl get` without a name lists all. Set before it: "
            "Width=64. Not set: Height=64, TimestampLatch\n"},
        Wrong{"grab -d OVRA-M1 -s Width", 1, "gentlctl: Width is no command, so it needs a value"},
        Wrong{"set -d OVRA-M1 Width=abc", 1,
              "gentlctl: Cannot set Width to \"abc\": not a whole number; it takes 16 to 1280\n"},
        Wrong{"set -d OVRA-M1 Width=3.5", 1,
              "gentlctl: Cannot set Width to \"3.5\": not a whole number; it takes 16 to 1280\n"},
        Wrong{"set -d OVRA-M5 OffsetX=3", 1, "gentlctl: Cannot set OffsetX to \"3\": "},
        Wrong{"set -d OVRA-M1 SensorWidth=5", 1, "gentlctl: Cannot set SensorWidth: it is read only\n"},
        Wrong{"set -d OVRA-M1 ChunkModeActive=maybe", 1,
              "gentlctl: Cannot set ChunkModeActive to \"maybe\": not a boolean; it takes true or "
              "false\n"},
        Wrong{"set -d OVRA-M1 ExposureTime=fast", 1,
              "gentlctl: Cannot set ExposureTime to \"fast\": not a number; it takes 10 to 1000000\n"},
        Wrong{
            "set -d OVRA-M1 DeviceUserID=012345678901234567890123456789012", 1,
            "gentlctl: Cannot set DeviceUserID to \"012345678901234567890123456789012\": it takes at most 32 "
            "characters\n"},
        Wrong{"grab -d OVRA-D1 -n 1 -s Scan3dOutputMode=RectifiedC", 1,
              "gentlctl: Cannot set Scan3dOutputMode to \"RectifiedC\": Enumeration entry not available; it "
              "takes "
              "UncalibratedC, CalibratedABC_Grid, CalibratedC\n"}),
    [](const auto &row) { return TestName(row.param.arguments); });

INSTANTIATE_TEST_SUITE_P(
    Usage, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"", 2, "gentlctl: A command is missing; there is list, info, "},
        Wrong{"nonsense", 2, "gentlctl: There is no command \"nonsense\"; there is list, info, "},
        Wrong{"list extra", 2,
              "gentlctl: The following argument was not expected: extra (see gentlctl list --help)\n"},
        Wrong{"grab --frmes 3", 2,
              "gentlctl: There is no option --frmes; there is --frames (see gentlctl grab --help)\n"},
        Wrong{"list --devic=OVRA-M1", 2,
              "gentlctl: There is no option --devic=OVRA-M1; there is --device (see gentlctl list --help)\n"},
        Wrong{"grab --nonsense", 2, "gentlctl: There is no option --nonsense (see gentlctl grab --help)\n"},
        Wrong{"-n 3 grab", 2, "gentlctl: -n stands behind grab (see gentlctl grab --help)\n"},
        Wrong{"-n 3", 2,
              "gentlctl: -n is no option of every command; those of one command stand behind it (see "},
        Wrong{"list -d", 2, "gentlctl: --device: its value is missing (see gentlctl list --help)\n"},
        Wrong{"grab -n", 2, "gentlctl: --frames: its value is missing (see gentlctl grab --help)\n"},
        Wrong{"xml nonsense", 2,
              "gentlctl: module: nonsense not in {system,interface,device,remote,stream} (see "},
        Wrong{"get -m nonsense", 2, "gentlctl: --module: nonsense not in "},
        Wrong{"set", 2, "gentlctl: assignments is required (see gentlctl set --help)\n"},
        Wrong{"gte", 2, "gentlctl: There is no command \"gte\"; there is get (see gentlctl --help)\n"},
        Wrong{"set =5", 2,
              "gentlctl: assignments: \"=5\" is neither NAME=VALUE nor the NAME of a command (see "},
        Wrong{"grab -s =5", 2,
              "gentlctl: --set: \"=5\" is neither NAME=VALUE nor the NAME of a command (see "},
        Wrong{"completion", 2, "gentlctl: shell is required (see gentlctl completion --help)\n"},
        Wrong{"files --upload x a b", 2,
              "gentlctl: --upload: it takes one NAME (see gentlctl files --help)\n"},
        Wrong{"grab -n -3", 2,
              "gentlctl: --frames: Value -3 not in range 0 to 1000000000 (see gentlctl grab --help)\n"},
        Wrong{"grab -n many", 2, "gentlctl: --frames: \"many\" is no whole number (see "},
        Wrong{"grab -n 1.5", 2, "gentlctl: --frames: \"1.5\" is no whole number (see "},
        Wrong{"grab -b 1", 2, "gentlctl: --buffers: Value 1 not in range 2 to 1024 (see "},
        Wrong{"grab -t 0", 2, "gentlctl: --timeout: Value 0 not in range 1 to 86400000 (see "},
        Wrong{"grab -f jpg", 2, "gentlctl: --format: jpg not in {png,tiff,npy,exr,raw,y4m} (see "},
        Wrong{"grab --view", 2, "gentlctl: --view requires --output (see gentlctl grab --help)\n"}),
    [](const auto &row) { return TestName(row.param.arguments); });

const std::string outsideOfCounts = " not in range 0 to 1000000000 (see ";

INSTANTIATE_TEST_SUITE_P(
    Count, GentlctlWithWrongInput,
    testing::Values(Wrong{"events -n -1", 2, "gentlctl: --events: Value -1" + outsideOfCounts},
                    Wrong{"events -n 99999999999999999999", 2,
                          "gentlctl: --events: Value 99999999999999999999" + outsideOfCounts},
                    Wrong{"stream -n -1", 2, "gentlctl: --frames: Value -1" + outsideOfCounts},
                    Wrong{"soak -n -1", 2, "gentlctl: --frames: Value -1" + outsideOfCounts},
                    Wrong{"soak -c -1", 2, "gentlctl: --cycles: Value -1" + outsideOfCounts},
                    Wrong{"replay --rate fast x", 2, "gentlctl: --rate: \"fast\" is no number (see "},
                    Wrong{"replay --rate nan x", 2, "gentlctl: --rate: Value nan not in range 0 to "}));

INSTANTIATE_TEST_SUITE_P(
    Empty, GentlctlWithWrongInput,
    testing::Values(Wrong{"get -d '' Width", 2, "gentlctl: --device: the value is empty (see "},
                    Wrong{"list --producer ''", 2, "gentlctl: --producer: the value is empty (see "},
                    Wrong{"grab -n ''", 2, "gentlctl: --frames: the value is empty (see "},
                    Wrong{"grab -n 1 -o ''", 2, "gentlctl: --output: the value is empty (see "},
                    Wrong{"grab --settings ''", 2, "gentlctl: --settings: the value is empty (see "},
                    Wrong{"get ''", 2, "gentlctl: features: the value is empty (see "},
                    Wrong{"check ''", 2, "gentlctl: file: the value is empty (see "}));

INSTANTIATE_TEST_SUITE_P(WithoutJson, GentlctlWithWrongInput,
                         testing::Values(Wrong{"xml --json", 2, "gentlctl: --json: xml prints no JSON (see "},
                                         Wrong{"--json completion bash", 2,
                                               "gentlctl: --json: completion prints no JSON (see "},
                                         Wrong{"--json man", 2, "gentlctl: --json: man prints no JSON (see "},
                                         Wrong{"calibration --yaml --json", 2,
                                               "gentlctl: --json: calibration --yaml prints no JSON (see "},
                                         Wrong{"settings save - --json", 2,
                                               "gentlctl: --json: settings save - prints no JSON (see "}));

INSTANTIATE_TEST_SUITE_P(
    GrabUsage, GentlctlWithWrongInput,
    testing::Values(
        Wrong{"get -d OVRA-M1 -d OVRA-M5 Width", 2,
              "gentlctl: --device: get works with one device, and 2 are named (see gentlctl get --help)\n"},
        Wrong{"grab --duration soon", 2,
              "gentlctl: --duration: \"soon\" is not a time from 1ms to a year, as 500ms, 10s, 2min or 1h "
              "(see "},
        Wrong{"grab -o - -n 1", 2, "gentlctl: --output: into standard output go -f raw and -f y4m (see "},
        Wrong{"grab -o - -f raw -d A -d B", 2,
              "gentlctl: --output: standard output takes the frames of one device (see "},
        Wrong{"grab -o - -f raw --points pcd", 2,
              "gentlctl: --output: into standard output go no points (see "},
        Wrong{"grab -o x -f y4m", 2, "gentlctl: --format: y4m goes into standard output, with -o - (see "},
        Wrong{"grab -o x -f raw --no-scale", 2, "gentlctl: --scale: raw frames stay as they are"},
        Wrong{"grab -o x -f raw --bayer mosaic", 2, "gentlctl: --bayer: raw frames stay as they are"},
        Wrong{"record -o -", 2,
              "gentlctl: --output: a recording is a folder and cannot go into standard output (see "},
        Wrong{"grab --points pcd", 2, "gentlctl: --points requires --output (see "},
        Wrong{"grab -n 1 --trigger -d SIM-SIM0006", 1,
              "gentlctl: The device has no TriggerSoftware, which --trigger executes for each frame\n"}),
    [](const auto &row) { return TestName(row.param.arguments); });

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

struct StatusCase
{
    std::string arguments;
    int status;
    std::string part; ///< of the output
};

void PrintTo(const StatusCase &tried, std::ostream *stream)
{
    *stream << tried.arguments;
}

class GentlctlStatus : public testing::TestWithParam<StatusCase>
{
};

TEST_P(GentlctlStatus, TellsFailureAndWrongUsageApart)
{
    const auto run = Gentlctl(GetParam().arguments);
    EXPECT_EQ(run.status, GetParam().status);
    EXPECT_NE(run.output.find(GetParam().part), std::string::npos) << run.output;
}

INSTANTIATE_TEST_SUITE_P(
    Each, GentlctlStatus,
    testing::Values(StatusCase{"", 2, ""}, StatusCase{"nonsense", 2, ""}, StatusCase{"--help", 0, ""},
                    StatusCase{"list --producer /nowhere/x.cti", 1, "Cannot load /nowhere/x.cti: "},
                    StatusCase{"get -d OVRA-UNKNOWN Width", 1, ""},
                    StatusCase{"get -d SIM-FOREIGN Width", 1, "Access denied!"},
                    StatusCase{"get -m system -d SIM-FOREIGN", 0, ""},
                    StatusCase{"get -m interface -d SIM-FOREIGN", 0, ""},
                    StatusCase{"xml system -d SIM-FOREIGN", 0, ""}),
    [](const auto &row) { return TestName(row.param.arguments); });

TEST(Gentlctl, TellsHowToFindOutWhyAProducerDoesNotStart)
{
    const auto run = Gentlctl("list", "2>&1", "PROXY_TL_CTI_PATH=" QVR_SOURCE_DIR "/LICENSE ");
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
