// The parts of the consumer, with a lower producer that a test scripts.

#include "consumer/description.h"
#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/modules.h"
#include "consumer/producer.h"
#include "consumer/stream.h"
#include "gentlctl/grab.h"
#include "gentlctl/interrupt.h"

#include "descriptions.h"
#include "support/failure.h"
#include "support/lower_library.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace gentlctl
{
namespace
{

using GenTL::internal::LowerLibrary;

/// A description with these nodes; `features` names the nodes that are features.
std::string Description(const std::string &nodes, const std::vector<std::string> &features)
{
    return fmt::format("<RegisterDescription><Category Name=\"Root\">{}</Category>{}<Port Name=\"Device\"/>"
                       "</RegisterDescription>",
                       FeatureList(features), nodes);
}

/// The system module of a producer whose description a test gives.
class SystemFeatures
{
public:
    explicit SystemFeatures(const std::string &description) { m_lower->systemXml = description; }

    Features Open() { return Features(m_modules.PortOf("system")); }

private:
    LowerLibrary m_lower;
    Producer m_producer{m_lower.Path()};
    Modules m_modules{m_producer, ""};
};

TEST(LiteralFeatures, AreReadAsTheirValue)
{
    SystemFeatures system(Description(
        "<Integer Name=\"Answer\"><Value>42</Value></Integer>"
        "<Integer Name=\"Fixed\"><ImposedAccessMode>RO</ImposedAccessMode><Value>0x10</Value></Integer>"
        "<Boolean Name=\"Yes\"><Value>true</Value></Boolean>"
        "<Float Name=\"Third\"><Value>0.333333333333</Value></Float>"
        "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
        "<EnumEntry Name=\"On\"><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>",
        {"Answer", "Fixed", "Yes", "Third", "Mode"}));
    EXPECT_EQ(
        system.Open().Values({}),
        (Json{{"Answer", 42}, {"Fixed", 16}, {"Yes", true}, {"Third", 0.333333333333}, {"Mode", "On"}}));
}

TEST(LiteralFeatures, TakeAnotherValue)
{
    SystemFeatures system(Description(
        "<Integer Name=\"Answer\"><Value>42</Value></Integer>"
        "<Integer Name=\"Fixed\"><ImposedAccessMode>RO</ImposedAccessMode><Value>0</Value></Integer>"
        "<IntSwissKnife Name=\"Sum\"><pVariable Name=\"A\">Answer</pVariable><Formula>A+1</Formula>"
        "</IntSwissKnife><Integer Name=\"Next\"><pValue>Sum</pValue></Integer>",
        {"Answer", "Fixed", "Next"}));
    const auto features = system.Open();
    EXPECT_EQ(features.Get("Next"), 43);
    features.Set("Answer", "-7");
    EXPECT_EQ(features.Get("Answer"), -7);
    EXPECT_EQ(features.Get("Next"), -6);
    EXPECT_TRUE(features.IsReadOnly("Fixed"));
}

TEST(LiteralFeatures, DecideWhichEntriesThereAre)
{
    SystemFeatures system(Description(
        "<Integer Name=\"False\"><Value>0</Value></Integer>"
        "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
        "<EnumEntry Name=\"On\"><pIsImplemented>False</pIsImplemented><Value>1</Value></EnumEntry>"
        "<pValue>ModeRegister</pValue></Enumeration>"
        "<IntReg Name=\"ModeRegister\"><Address>0x40</Address><Length>4</Length></IntReg>",
        {"Mode"}));
    const auto features = system.Open();
    EXPECT_EQ(features.AvailableEntries("Mode"), std::vector<std::string>{"Off"});
    features.Set("Mode", "Off");
    EXPECT_THROW(features.Set("Mode", "On"), std::runtime_error);
}

TEST(FeatureValues, HaveAValueOrAReasonForEachFeature)
{
    SystemFeatures system(Description(
        "<Integer Name=\"Good\"><Value>1</Value></Integer>"
        "<Integer Name=\"Empty\"><pValue>Missing</pValue></Integer>"
        "<SwissKnife Name=\"Broken\"><pVariable Name=\"A\">Missing</pVariable><Formula>A</Formula>"
        "</SwissKnife>"
        "<Integer Name=\"Hidden\"><pIsAvailable>Broken</pIsAvailable><Value>1</Value></Integer>"
        "<Integer Name=\"Off\"><pIsAvailable>No</pIsAvailable><Value>1</Value></Integer>"
        "<Integer Name=\"No\"><Value>0</Value></Integer>",
        {"Empty", "Hidden", "Off", "Good"}));
    const auto values = system.Open().Values({});
    EXPECT_EQ(values["Good"], 1);
    EXPECT_TRUE(values["Empty"].contains("error")) << values;
    EXPECT_TRUE(values["Hidden"].contains("error")) << values;
    EXPECT_EQ(values["Off"], (Json{{"text", "not available now"}}));
    EXPECT_TRUE(system.Open().Values({"Off"})["Off"].contains("error"));
}

TEST(FeatureValues, DoNotAskForTheAvailabilityOfAMissingFeature)
{
    SystemFeatures system(Description(
        "<Integer Name=\"Absent\"><pIsImplemented>No</pIsImplemented><pIsAvailable>Broken</pIsAvailable>"
        "<Value>1</Value></Integer><Integer Name=\"No\"><Value>0</Value></Integer>"
        "<SwissKnife Name=\"Broken\"><pVariable Name=\"A\">Missing</pVariable><Formula>A</Formula>"
        "</SwissKnife>",
        {"Absent"}));
    EXPECT_EQ(system.Open().Values({}), (Json{{"Absent", {{"text", "not available now"}}}}));
}

TEST(ModulesAboveTheDevice, NeedNoDevice)
{
    LowerLibrary lower;
    lower->devices.clear();
    Producer producer(lower.Path());
    Modules modules(producer, "");
    EXPECT_FALSE(LoadDescription(*modules.PortOf("system")).empty());
    EXPECT_NE(modules.Interface(), nullptr);
    EXPECT_FALSE(LoadDescription(*modules.PortOf("interface")).empty());
    EXPECT_THROW(modules.PortOf("remote"), std::runtime_error);
}

TEST(ModulesAboveTheDevice, LeaveItClosed)
{
    LowerLibrary lower;
    Producer producer(lower.Path());
    Modules modules(producer, "cam0");
    modules.PortOf("system");
    modules.PortOf("interface");
    EXPECT_EQ(lower->CountOf("IFOpenDevice"), 0U);
    modules.PortOf("stream");
    EXPECT_EQ(lower->CountOf("IFOpenDevice"), 1U);
}

/// The device of the lower producer with the commands that a grab needs.
const std::string cameraDescription = Description(
    "<Integer Name=\"PayloadSize\"><Value>64</Value></Integer>"
    "<Command "
    "Name=\"AcquisitionStart\"><pValue>StartRegister</pValue><CommandValue>1</CommandValue></Command>"
    "<Command Name=\"AcquisitionStop\"><pValue>StopRegister</pValue><CommandValue>1</CommandValue></Command>"
    "<IntReg Name=\"StartRegister\"><Address>0x40</Address><Length>4</Length></IntReg>"
    "<IntReg Name=\"StopRegister\"><Address>0x44</Address><Length>4</Length></IntReg>",
    {"PayloadSize"});

struct CameraLibrary : LowerLibrary
{
    CameraLibrary()
    {
        (*this)->deviceXml = cameraDescription;
        (*this)->FailNext("GCRegisterEvent", GenTL::GC_ERR_NOT_IMPLEMENTED); // it has no EVENT_ERROR
    }
};

struct OpenedCamera
{
    CameraLibrary lower;
    const Interrupt interrupt; // before threads start
    Producer producer{lower.Path()};
    OpenDevice device{producer, "cam0"};
    Features remote{device.PortOf("remote")};
};

TEST(InterruptedGrab, EndsTheWaitAndStopsInOrder)
{
    CameraLibrary lower;
    const Interrupt interrupt;
    {
        Producer producer(lower.Path());
        OpenDevice device(producer, "cam0");
        const Features remote(device.PortOf("remote"));
        lower->onCall = [](std::string_view function)
        {
            if (function == "EventGetData")
            {
                kill(getpid(), SIGINT);
            }
        };
        GrabOptions options;
        options.timeoutMs = GENTL_INFINITE;
        const auto report = Grab(producer, device, remote, options, interrupt);
        EXPECT_EQ(report.statistics.Delivered(), 0U);
        EXPECT_FALSE(report.failure);
    }
    EXPECT_EQ(interrupt.Signal(), SIGINT);
    EXPECT_EQ(lower->CountOf("DSStopAcquisition"), 1U);
    EXPECT_TRUE(lower->registers.contains(0x44)) << "AcquisitionStop";
    EXPECT_EQ(lower->OpenHandles(), 0U);
}

TEST(InterruptedGrab, DoesNotBeginAfterTheSignal)
{
    OpenedCamera opened;
    kill(getpid(), SIGTERM);
    while (opened.interrupt.Signal() == 0)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(
        Grab(opened.producer, opened.device, opened.remote, {}, opened.interrupt).statistics.Delivered(), 0U);
    EXPECT_EQ(opened.interrupt.Signal(), SIGTERM);
    EXPECT_EQ(opened.lower->CountOf("EventGetData"), 0U);
}

TEST(FailedGrab, TellsWhyAndStops)
{
    OpenedCamera opened;
    opened.lower->FailNext("EventGetData", GenTL::GC_ERR_IO);
    const auto report = Grab(opened.producer, opened.device, opened.remote, {}, opened.interrupt);
    EXPECT_TRUE(report.failure);
    EXPECT_EQ(opened.lower->CountOf("DSStopAcquisition"), 1U);
}

/// A camera that fires EVENT_ERROR while it streams.
class StreamWithErrors : public testing::Test
{
protected:
    static std::string CameraWithPayloadSizeRegister()
    {
        return Description("<IntReg Name=\"PayloadSize\"><Address>0x108</Address><Length>4</Length></IntReg>"
                           "<Command Name=\"AcquisitionStart\"><pValue>Start</pValue>"
                           "<CommandValue>1</CommandValue></Command>"
                           "<IntReg Name=\"Start\"><Address>0x40</Address><Length>4</Length></IntReg>",
                           {"PayloadSize"});
    }

    struct Camera : LowerLibrary
    {
        Camera() { (*this)->deviceXml = CameraWithPayloadSizeRegister(); }
    };

    Camera lower;
    Producer producer{lower.Path()};
    OpenDevice device{producer, "cam0"};
    Features remote{device.PortOf("remote")};
    RunningStream stream{producer, device, remote, [](size_t) { return 3; }};
};

TEST_F(StreamWithErrors, GoesOnWhileTheDeviceAnswers)
{
    lower->FireError("a packet was lost");
    lower->DeliverWhenReady({});
    EXPECT_NE(stream.NextBuffer(10000), nullptr);
}

TEST_F(StreamWithErrors, TellsTheErrorOfADeviceThatDoesNotAnswer)
{
    lower->FireError("the link is down");
    lower->gone = GenTL::GC_ERR_IO;
    EXPECT_EQ(GenTL::internal::FailureOf([&] { stream.NextBuffer(10000); }).text,
              "cam0 is lost: it reports an error: the link is down (0)");
}

} // namespace
} // namespace gentlctl
