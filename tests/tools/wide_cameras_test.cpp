// The command-line consumer with cameras of another manufacturer, through the producer for any camera.

#include "gentlctl_run.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <string>

namespace
{

using namespace gentlctl_run;

constexpr auto withWideCameras = "QVR_SIM_WIDE=1 ";
const std::string withAnyProducer = "--producer " QVR_LIB_DIR "/anygentl/qvr_anygentl.cti ";
const std::string withLowerProducer = "--producer " QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti ";

Run WithWideCameras(const std::string &arguments, const std::string &redirection = "2>&1")
{
    return Gentlctl(withAnyProducer + arguments, redirection, withWideCameras);
}

Json WideJsonOf(const std::string &arguments)
{
    const auto run = WithWideCameras("--json " + arguments);
    EXPECT_EQ(run.status, 0) << arguments << run.output;
    return Json::parse(run.output, nullptr, false);
}

class WideCamera : public testing::TestWithParam<std::string>
{
};

TEST_P(WideCamera, HasAValueOrAReasonForEachFeature)
{
    for (const auto &producer : {withAnyProducer, withLowerProducer})
    {
        const auto run = Gentlctl(producer + "get -d " + GetParam(), "2>&1", withWideCameras);
        EXPECT_EQ(run.status, 0) << run.output;
        EXPECT_EQ(run.output.find("gentlctl: "), std::string::npos) << run.output;
        EXPECT_NE(run.output.find("only with a frame"), std::string::npos) << run.output;
    }
}

TEST_P(WideCamera, ShowsTheValuesInItsChunks)
{
    const auto json = WideJsonOf("get -m frame -d " + GetParam() +
                                 " -s ChunkModeActive=true -s ChunkSelector=FrameID -s ChunkEnable=true "
                                 "-s ChunkSelector=ExposureTime -s ChunkEnable=true -s ExposureTime=5000 "
                                 "-s Width=64 -s Height=64");
    EXPECT_EQ(json, (Json{{"ChunkFrameID", 1}, {"ChunkExposureTime", 5000.0}}));
}

TEST_P(WideCamera, WritesPicturesOfEachFormatThatCanBeChosen)
{
    const auto formats = WideJsonOf("formats -d " + GetParam());
    ASSERT_GE(formats["offers"].size(), 3U) << formats;
    for (const auto &offer : formats["offers"])
    {
        const Folder folder;
        const auto format = offer["format"].get<std::string>();
        const bool isPacked = format.ends_with("Packed") || format.ends_with('p');
        const auto run = WithWideCameras("grab -n 1 -f tiff -d " + GetParam() + " -s PixelFormat=" + format +
                                         " -s Width=64 -s Height=64 -o " + folder.Path().string());
        EXPECT_EQ(run.status, isPacked ? 1 : 0) << format << run.output;
        EXPECT_EQ(run.output.find("Images of format " + format + " cannot be written") == std::string::npos,
                  !isPacked)
            << run.output;
        EXPECT_EQ(folder.Count(".tiff"), isPacked ? 0 : 1) << format;
    }
}

INSTANTIATE_TEST_SUITE_P(Models, WideCamera, testing::Values("WIDE-G2", "WIDE-U1"),
                         [](const auto &model) { return model.param.substr(5); });

TEST(WideUsbCamera, GivesTheValueOfEveryKindOfNode)
{
    EXPECT_EQ(WideJsonOf("get -d WIDE-U1 DeviceTemperature ReferenceVoltage DeviceLinkReady BlackLevel "
                         "LineStatusAll LineInput ReadoutTime UserSlotLimit DeviceNote"),
              (Json{{"DeviceTemperature", -12.5},
                    {"ReferenceVoltage", 3.3},
                    {"DeviceLinkReady", true},
                    {"BlackLevel", 0.0},
                    {"LineStatusAll", 2},
                    {"LineInput", 1},
                    {"ReadoutTime", 7600.0},
                    {"UserSlotLimit", 100},
                    {"DeviceNote", "Gr\u00F6\u00DFe \u00FCber alles: 10 \u00B5m"}}));
}

TEST(WideUsbCamera, TakesValuesThroughFormulasAndIndexes)
{
    EXPECT_EQ(
        WideJsonOf("get -d WIDE-U1 BlackLevel LineDebouncerTime UserSlotValue Height -s BlackLevel=12.25 "
                   "-s LineDebouncerTime=16 -s UserSlotSelector=2 -s UserSlotValue=7 -s Height=64"),
        (Json{{"BlackLevel", 12.25}, {"LineDebouncerTime", 16}, {"UserSlotValue", 7}, {"Height", 64}}));
}

TEST(WideUsbCamera, NamesTheLimitsOfAConverter)
{
    EXPECT_EQ(WithWideCameras("set -d WIDE-U1 BlackLevel=dark").output,
              "gentlctl: Cannot set BlackLevel to \"dark\": not a number; it takes 0 to 1073741823.75\n");
}

/// The offer of a format, as {what the device sends, the task}.
Json OfferOf(const Json &formats, const std::string &name)
{
    for (const auto &offer : formats["offers"])
    {
        if (offer["format"] == name)
        {
            return {offer["sentAs"], offer["task"]};
        }
    }
    return {};
}

TEST(FormatsOfAnyCamera, ShowWhatTheDeviceSendsForEachChoice)
{
    const auto formats = WideJsonOf("formats -d WIDE-G2");
    EXPECT_EQ(formats["sends"],
              (Json{"Mono8", "Mono10Packed", "Mono12Packed", "BayerRG8", "BayerRG12Packed"}));
    EXPECT_EQ(OfferOf(formats, "Mono8"), (Json{"Mono8", "copy"}));
    EXPECT_EQ(OfferOf(formats, "Mono10"), (Json{"Mono10Packed", "unpack"}));
    EXPECT_EQ(OfferOf(formats, "BayerRG12"), (Json{"BayerRG12Packed", "unpack"}));
    const auto usb = WideJsonOf("formats -d WIDE-U1");
    EXPECT_EQ(OfferOf(usb, "Mono12"), (Json{"Mono12p", "unpack"}));
    EXPECT_EQ(OfferOf(usb, "Mono10"), (Json{"Mono10", "copy"}));
    EXPECT_NE(WithWideCameras("formats -d WIDE-G2").output.find("SIM-SIM0008 sends: Mono8 Mono10Packed "),
              std::string::npos);
}

TEST(ProxyProducer, DoesNotStartWithoutTheFileThatItsVariableNames)
{
    const auto run = Gentlctl("list", "2>&1", "PROXY_TL_CTI_PATH=/nowhere/lower.cti ");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("Unknown error! (-1001). PROXY_TL_CTI_PATH names /nowhere/lower.cti, which is "
                              "no file\n"),
              std::string::npos)
        << run.output;
}

TEST(Producer, IsNoOtherLibrary)
{
    const auto run = Gentlctl("--producer " QVR_LIB_DIR "/libqvr_tarn_cvl.so list");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("(-1001). It is no GenTL producer; gentlctl check --producer "),
              std::string::npos)
        << run.output;
}

TEST(AnyProducer, TellsItselfWhyItDoesNotStart)
{
    const auto run = Gentlctl(withAnyProducer + "list", "2>&1", "ANYGENTL_CTI_PATH=/nowhere/lower.cti ");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("cannot be initialised: GCInitLib Error: Cannot load /nowhere/lower.cti: "),
              std::string::npos)
        << run.output;
    EXPECT_EQ(run.output.find("PROXY_TL_LOG_LEVEL"), std::string::npos) << run.output;
}

} // namespace
