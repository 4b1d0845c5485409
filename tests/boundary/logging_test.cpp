#include "consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <sstream>

namespace GenTL::internal
{
namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

/// A host with a logger of its own under the name that the producer looks for.
class Logging : public testing::Test
{
protected:
    Logging() : ctiPath("PROXY_TL_CTI_PATH", lower.Path()), before(std::make_shared<spdlog::logger>("host"))
    {
        // Another test whose initialisation failed has left the producer's own logger registered.
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
    for (const auto *name : {"verbose", "warning", "err", "2", " info", ""})
    {
        const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", name);
        spdlog::drop("gentli_proxy");
        spdlog::register_logger(logger);
        ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(logger->level(), spdlog::level::off) << name;
        Gentl().GCCloseLib();
    }
}

TEST_F(Logging, SetsLevelAndPatternOfAllLoggers)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "warn");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "<%*> %v");
    std::ostringstream otherText;
    const auto other = std::make_shared<spdlog::logger>(
        "other", std::make_shared<spdlog::sinks::ostream_sink_mt>(otherText));
    spdlog::register_logger(other);
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(other->level(), spdlog::level::warn);
    other->log(spdlog::source_loc{"f.cpp", 1, "void A::B::C()"}, spdlog::level::warn, "text");
    EXPECT_EQ(otherText.str(), "<B::C> text\n");
}

TEST_F(Logging, GoesToStandardOutputWhenTheHostHasNoLoggerForIt)
{
    spdlog::drop("gentli_proxy");
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "error");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%l: %v");
    testing::internal::CaptureStdout();
    const auto result = Gentl().GCInitLib();
    Gentl().TLClose(this);
    const auto own = spdlog::get("gentli_proxy");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error: Handle not found!\n");
    ASSERT_EQ(result, GC_ERR_SUCCESS);
    ASSERT_NE(own, nullptr);
    ASSERT_EQ(own->sinks().size(), 1U);
    EXPECT_NE(dynamic_cast<spdlog::sinks::stdout_color_sink_mt *>(own->sinks().front().get()), nullptr);
}

/// Writes the part of a line that is to be coloured between braces.
class ColourSink final : public spdlog::sinks::sink
{
public:
    void log(const spdlog::details::log_msg &message) override
    {
        spdlog::memory_buf_t line;
        m_formatter->format(message, line);
        text.assign(line.data(), line.size());
        text.insert(message.color_range_end, "}");
        text.insert(message.color_range_start, "{");
    }
    void flush() override {}
    void set_pattern(const std::string &) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter> formatter) override
    {
        m_formatter = std::move(formatter);
    }

    std::string text;

private:
    std::unique_ptr<spdlog::formatter> m_formatter;
};

TEST_F(Logging, TellsTimeLevelFunctionAndTextUnlessThePatternIsGiven)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "error");
    const auto sink = std::make_shared<ColourSink>();
    logger->sinks() = {sink};
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    Gentl().TLClose(this);
    EXPECT_THAT(sink->text, MatchesRegex("\\[[0-9]{2}:[0-9]{2}:[0-9]{2}\\] \\[\\{error\\}\\] "
                                         "\\([^(]*GC_ERROR [^()]*\\) Handle not found!\n"));
}

TEST_F(Logging, IsSetUpBeforeTheLowerProducerAndStaysWhenThatFails)
{
    const EnvironmentVariable level("PROXY_TL_LOG_LEVEL", "error");
    const EnvironmentVariable pattern("PROXY_TL_LOG_PATTERN", "%l %v");
    {
        const EnvironmentVariable nowhere("PROXY_TL_CTI_PATH", "/nowhere/x.cti");
        EXPECT_EQ(Gentl().GCInitLib(), GC_ERR_ERROR);
    }
    EXPECT_THAT(text.str(), StartsWith("critical Loading CTI /nowhere/x.cti failed! Code: "));
    EXPECT_EQ(spdlog::default_logger(), logger);
    const EnvironmentVariable path("PROXY_TL_CTI_PATH", lower.Path());
    EXPECT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
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

// Users' log filters match these forms, which follow from the compiler's signatures.
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
    // Each opening looks for files of the device and finds none.
    EXPECT_EQ(text.str(), "Did not find node FileSelector!\n"
                          "Did not find node FileSelector!\n"
                          "Cleanup: 2 instances of RemotePort were still registered!\n"
                          "Cleanup: 2 instances of Device were still registered!\n"
                          "Cleanup: 1 instances of Interface were still registered!\n"
                          "Cleanup: 1 instances of System were still registered!\n");
    // The remote ports are destroyed first, so only the lower GCCloseLib closes the devices.
    EXPECT_EQ(lower->CountOf("DevClose"), 0U);
    EXPECT_EQ(lower->calls.back(), "GCCloseLib");
}

} // namespace
} // namespace GenTL::internal
