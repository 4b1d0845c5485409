#include "pictures/lettering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace gentlctl
{
namespace
{

TEST(TextShape, DiffersForEachSignThatValuesHave)
{
    const std::string signs = "0123456789.-+einfaxsyz: ";
    for (const char first : signs)
    {
        const auto shape = TextShape(std::string(1, first));
        EXPECT_EQ(std::ranges::max(shape.samples) > 128, first != ' ') << first;
        for (const char second : signs)
        {
            EXPECT_EQ(shape.samples == TextShape(std::string(1, second)).samples, first == second)
                << first << second;
        }
    }
}

TEST(TextShape, OfMoreLettersIsWider)
{
    EXPECT_GT(TextShape("1866").width, 2 * TextShape("1").width);
    EXPECT_EQ(TextShape("1866").height, TextShape("1").height);
    EXPECT_EQ(TextShape("%d").width, TextShape("%").width + TextShape("d").width);
}

} // namespace
} // namespace gentlctl
