#include "boundary/consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <sstream>

namespace GenTL::internal
{
namespace
{

using testing::HasSubstr;

/// A host with a logger of its own under the name that the producer looks for.
class Logging : public testing::Test
{
protected:
    Logging() : ctiPath("PROXY_TL_CTI_PATH", lower.Path()), before(std::make_shared<spdlog::logger>("host"))
    {
        // An initialisation that failed in another test leaves the producer's own logger behind.
        spdlog::drop_all();
        spdlog::set_default_logger(before);
        logger = std::make_shared<spdlog::logger>("gentli_proxy",
                                                  std::make_shared<spdlog::sinks::ostream_sink_mt>(text));
        spdlog::register_logger(logger);
    }
    ~Logging() override
    {
        Gentl().GCCloseLib();
        spdlog::drop_all();
        spdlog::set_default_logger(before);
    }

    LowerLibrary lower;
    EnvironmentVariable ctiPath;
    std::shared_ptr<spdlog::logger> before;
    std::ostringstream text;
    std::shared_ptr<spdlog::logger> logger;
};

TEST_F(Logging, IsOffUnlessItIsAskedFor)
{
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(logger->level(), spdlog::level::off);
    Gentl().TLClose(this);
    EXPECT_EQ(text.str(), "");
}

TEST_F(Logging, TakesItsLevelInAnyCase)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "WARN");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(logger->level(), spdlog::level::warn);
    EXPECT_EQ(spdlog::get_level(), spdlog::level::warn);
}

TEST_F(Logging, IsOffForAnUnknownLevel)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "verbose");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(logger->level(), spdlog::level::off);
}

TEST_F(Logging, TakesEachLevel)
{
    for (const auto &[name, level] : {std::pair{"trace", spdlog::level::trace},
                                      {"debug", spdlog::level::debug},
                                      {"info", spdlog::level::info},
                                      {"error", spdlog::level::err},
                                      {"critical", spdlog::level::critical},
                                      {"off", spdlog::level::off}})
    {
        const EnvironmentVariable variable("PROXY_TL_LOG_LEVEL", name);
        spdlog::drop("gentli_proxy");
        spdlog::register_logger(logger);
        ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(logger->level(), level) << name;
        Gentl().GCCloseLib();
    }
}

TEST_F(Logging, GoesToTheLoggerOfTheHostAndLetsGoOfItAtTheEnd)
{
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(spdlog::default_logger(), logger);
    ASSERT_EQ(Gentl().GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(spdlog::get("gentli_proxy"), nullptr);
    EXPECT_EQ(spdlog::default_logger(), before);
}

TEST_F(Logging, LowersItsPattern)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "error");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%V %%T");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    Gentl().TLClose(this);
    EXPECT_EQ(text.str(), "Handle not found! %t\n");
}

// The printed forms are what log filters in the field know. They follow from the compiler's signatures.
TEST_F(Logging, NamesClassAndFunction)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "trace");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "(%*) %l %v");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    Gentl().GCInitLib();
    lower->FailNext("TLOpen", GC_ERR_IO);
    TL_HANDLE handle = nullptr;
    Gentl().TLOpen(&handle);
    ASSERT_EQ(Gentl().TLOpen(&handle), GC_ERR_SUCCESS);
    ASSERT_EQ(Gentl().GCCloseLib(), GC_ERR_SUCCESS);
#ifdef __clang__
    EXPECT_EQ(text.str(), "(Library::Initialize) error Library already initialized!\n"
                          "(GenTL::GC_ERROR ) error Library already initialized!\n"
                          "(GenTLProxy::ExecuteOrThrow) error TLOpen: lower failed (-1010)\n"
                          "(GenTL::GC_ERROR ) error lower failed\n"
                          "(System>::ClearAndWarn) warning Cleanup: 1 instances of System were still "
                          "registered!\n");
#else
    EXPECT_THAT(text.str(), HasSubstr("(Library::Initialize) error Library already initialized!\n"));
#endif
    text.str("");
    spdlog::register_logger(logger);
    spdlog::set_default_logger(logger);
    GC_ERROR code = 0;
    size_t size = 0;
    EXPECT_EQ(Gentl().GCGetLastError(&code, nullptr, &size), GC_ERR_NOT_INITIALIZED);
#ifdef __clang__
    EXPECT_EQ(text.str(), "(Library::CheckLibraryInitialized) error Library not initialized!\n"
                          "(GC_ERROR GenTL::GCGetLastError) error Library not initialized\n");
#endif
}

TEST_F(Logging, TellsFailuresOfOtherKindsAtLevelCritical)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "trace");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%l %v");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    lower->tlType = "CXP";
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(Gentl().TLOpen(&handle), GC_ERR_ERROR);
    EXPECT_EQ(text.str(), "critical Mapping TL type failed!\n");
}

TEST_F(Logging, TellsWhatWasLeftOpenChildrenFirst)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "warn");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%v");
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    ASSERT_EQ(Gentl().TLOpen(&system), GC_ERR_SUCCESS);
    ASSERT_EQ(Gentl().TLOpenInterface(system, "if0", &interface), GC_ERR_SUCCESS);
    ASSERT_EQ(Gentl().IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device), GC_ERR_SUCCESS);
    ASSERT_EQ(Gentl().IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device), GC_ERR_SUCCESS);
    ASSERT_EQ(Gentl().GCCloseLib(), GC_ERR_SUCCESS);
    // Each opening looks for files of the device, and there are none.
    EXPECT_EQ(text.str(), "Did not find node FileSelector!\n"
                          "Did not find node FileSelector!\n"
                          "Cleanup: 2 instances of RemotePort were still registered!\n"
                          "Cleanup: 2 instances of Device were still registered!\n"
                          "Cleanup: 1 instances of Interface were still registered!\n"
                          "Cleanup: 1 instances of System were still registered!\n");
    // Their remote ports went first, so the devices are left to the lower GCCloseLib.
    EXPECT_EQ(lower->CountOf("DevClose"), 0U);
    EXPECT_EQ(lower->calls.back(), "GCCloseLib");
}

} // namespace
} // namespace GenTL::internal
