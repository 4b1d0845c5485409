#include "gentlctl/durations.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

using namespace std::chrono_literals;

TEST(Durations, HaveAUnit)
{
    EXPECT_EQ(ParseDuration("500ms"), 500ms);
    EXPECT_EQ(ParseDuration("10s"), 10s);
    EXPECT_EQ(ParseDuration("2min"), 2min);
    EXPECT_EQ(ParseDuration("2m"), 2min);
    EXPECT_EQ(ParseDuration("1.5h"), 90min);
    EXPECT_EQ(ParseDuration("3"), 3s) << "seconds";
}

TEST(Durations, AreRefusedWhenTheyAreNone)
{
    for (const std::string text :
         {"", "s", "0s", "-1s", "10 s", "10d", "nan", "inf", "1e300h", "10s10", "9000h"})
    {
        EXPECT_THROW(ParseDuration(text), std::runtime_error) << text;
    }
}

} // namespace
} // namespace gentlctl
