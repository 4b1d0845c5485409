#include "consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <sstream>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

/// A closed producer over libraries that note the order of their calls, and over a lower producer that
/// refuses a second GCInitLib.
class VisionAtTheBoundary : public ConsumerTest
{
protected:
    void SetUp() override
    {
        vision->onCall = [this](std::string_view name) { calls.push_back("vision " + std::string(name)); };
        lower->onCall = [this](std::string_view name)
        {
            calls.emplace_back(name);
            if (name == "GCInitLib" && lower->initialized > 0)
            {
                lower->FailNext("GCInitLib", GC_ERR_RESOURCE_IN_USE);
            }
        };
    }
    void TearDown() override
    {
        gentl.GCCloseLib();
        EXPECT_EQ(vision->initialized, 0);
        EXPECT_EQ(lower->initialized, 0);
    }

    std::vector<std::string> calls;
};

TEST_F(VisionAtTheBoundary, IsPreparedBehindTheLowerProducer)
{
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_THAT(calls,
                ElementsAre("GCInitLib", "GCGetInfo", "GCGetInfo", "GCCloseLib", "GCInitLib", "vision Init"));
}

TEST_F(VisionAtTheBoundary, EndsBeforeEverythingElse)
{
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    OpenInterface(OpenSystem());
    calls.clear();
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_THAT(calls, ElementsAre("vision Exit", "IFClose", "TLClose", "GCCloseLib"));
}

TEST_F(VisionAtTheBoundary, IsPreparedOnceForEachInitialisation)
{
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
        EXPECT_EQ(vision->initialized, 1);
        ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
        EXPECT_EQ(vision->initialized, 0);
    }
}

TEST_F(VisionAtTheBoundary, ThatFailsClosesTheLowerProducerAgain)
{
    vision->FailNext("Init", TARN_CVL_INVALID_CONFIGURATION);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_ERROR);
    EXPECT_EQ(lower->initialized, 0);
    TL_HANDLE system = nullptr;
    EXPECT_EQ(gentl.TLOpen(&system), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(vision->CountOf("Exit"), 0U);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_NE(OpenSystem(), nullptr);
}

TEST_F(VisionAtTheBoundary, KeepsItsTextWhenTheLowerCloseFails)
{
    std::ostringstream text;
    const auto before = spdlog::default_logger();
    spdlog::drop("gentli_proxy");
    spdlog::register_logger(std::make_shared<spdlog::logger>(
        "gentli_proxy", std::make_shared<spdlog::sinks::ostream_sink_mt>(text)));
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "error");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%v");
    vision->FailNext("Init", TARN_CVL_IO);
    lower->FailNext("GCCloseLib", lower::works);
    lower->FailNext("GCCloseLib", GC_ERR_BUSY);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_ERROR);
    EXPECT_THAT(text.str(), HasSubstr("vision failed"));
    lower->initialized = 0;
    spdlog::drop("gentli_proxy");
    spdlog::set_default_logger(before);
}

TEST_F(VisionAtTheBoundary, ThatCannotEndLeavesAllAsItIs)
{
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    auto *const system = OpenSystem();
    vision->FailNext("Exit", TARN_CVL_INVALID_STATE);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_ERROR);
    EXPECT_EQ(GetLastError(), (LastError{GC_ERR_SUCCESS, GC_ERR_ERROR, "GCCloseLib Error: vision failed"}));
    EXPECT_EQ(lower->initialized, 1);
    EXPECT_EQ(lower->CountOf("TLClose"), 0U);
    EXPECT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
}

} // namespace
} // namespace GenTL::internal
