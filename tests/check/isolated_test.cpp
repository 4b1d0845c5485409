#include "findings/isolated.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

constexpr auto ample = std::chrono::seconds(60);
constexpr auto brief = std::chrono::milliseconds(50);

bool TakeNothing(const Json &)
{
    return false;
}

TEST(Isolated, HearsWhatTheChildTells)
{
    std::vector<std::string> heard;
    const auto ending = RunIsolated(
        [](const Send &send)
        {
            send({{"text", "first"}});
            send({{"text", std::string(100000, 'x') + "\xFF"}});
        },
        [&](const Json &message)
        {
            heard.push_back(message["text"].get<std::string>());
            return false;
        },
        ample);
    EXPECT_EQ(ending.kind, Ending::Kind::Finished);
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0], "first");
    EXPECT_GT(heard[1].size(), 100000U);
}

TEST(Isolated, TellsTheSignalThatEndedTheChild)
{
    const auto ending = RunIsolated([](const Send &) { std::raise(SIGKILL); }, TakeNothing, ample);
    EXPECT_EQ(ending.kind, Ending::Kind::Died);
    EXPECT_EQ(ending.how, "Killed");
}

TEST(Isolated, TellsTheStatusWithWhichTheChildLeft)
{
    const auto ending = RunIsolated([](const Send &) { _exit(7); }, TakeNothing, ample);
    EXPECT_EQ(ending.kind, Ending::Kind::Died);
    EXPECT_EQ(ending.how, "exit status 7");
}

TEST(Isolated, TakesAnExceptionForAnEnd)
{
    const auto ending = RunIsolated([](const Send &) { throw std::runtime_error("no"); }, TakeNothing, ample);
    EXPECT_EQ(ending.kind, Ending::Kind::Died);
}

TEST(Isolated, EndsAChildThatHangs)
{
    const auto ending = RunIsolated(
        [](const Send &)
        {
            for (;;)
            {
                pause();
            }
        },
        TakeNothing, brief);
    EXPECT_EQ(ending.kind, Ending::Kind::TookTooLong);
    EXPECT_EQ(ending.how, "no end within 0.05 s");
}

} // namespace
} // namespace gentlctl
