// What an export does with a failure: whether it logs or sets the last error first, and what it lets pass.

#include "consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;

/// Notes the last error while a record is written.
class AskingSink final : public spdlog::sinks::sink
{
public:
    void log(const spdlog::details::log_msg &message) override
    {
        const auto level = spdlog::level::to_string_view(message.level);
        notes.push_back(std::string(level.data(), level.size()) + ": " + GetLastError().text);
    }
    void flush() override {}
    void set_pattern(const std::string &) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

    std::vector<std::string> notes;
};

class FailureReport : public ConsumerTest
{
protected:
    FailureReport()
    {
        // Another test whose initialisation failed has left the producer's own logger registered.
        spdlog::drop_all();
        spdlog::set_default_logger(before);
        spdlog::register_logger(std::make_shared<spdlog::logger>("gentli_proxy", sink));
    }

    std::shared_ptr<spdlog::logger> before = std::make_shared<spdlog::logger>("host");
    std::shared_ptr<AskingSink> sink = std::make_shared<AskingSink>();
    EnvironmentVariable level{"PROXY_TL_LOG_LEVEL", "error"};
};

TEST_F(FailureReport, OfAKnownKindIsLoggedBehindTheLastError)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    EXPECT_THAT(sink->notes, ElementsAre("error: TLClose Error: Handle not found!"));
}

TEST_F(FailureReport, OfAnotherKindIsLoggedBeforeTheLastError)
{
    lower->onCall = [](std::string_view) { throw std::runtime_error("it broke"); };
    EXPECT_EQ(gentl.EventFlush(this), GC_ERR_ERROR);
    lower->onCall = nullptr;
    EXPECT_THAT(sink->notes, ElementsAre("critical: No Error"));
    EXPECT_EQ(GetLastError(), (LastError{GC_ERR_SUCCESS, GC_ERR_ERROR, "EventFlush Error: it broke"}));
}

TEST_F(FailureReport, IsNotMadeWhenNoExceptionIsThrown)
{
    lower->onCall = [](std::string_view) { throw 42; };
    EXPECT_THROW(gentl.EventFlush(this), int);
    lower->onCall = nullptr;
    EXPECT_THAT(sink->notes, ElementsAre());
    EXPECT_EQ(GetLastError().code, GC_ERR_SUCCESS);
}

} // namespace
} // namespace GenTL::internal
