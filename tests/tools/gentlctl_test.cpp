// The command-line consumer as a user runs it, over the producer and the simulator.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
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
