#include "common/any.h"

#include "common/size.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn::common
{
namespace
{

TEST(Any, HoldsNothingAtFirst)
{
    EXPECT_EQ(Any().Type(), typeid(void));
}

TEST(Any, GivesBackTheValueThatItWasMadeFrom)
{
    const Any any(std::vector<double>{1.5, 2.5});
    EXPECT_EQ(any.Type(), typeid(std::vector<double>));
    EXPECT_EQ(any.Cast<std::vector<double>>(), (std::vector<double>{1.5, 2.5}));
}

TEST(Any, HoldsEachTypeThatMetadataUses)
{
    EXPECT_EQ(Any(true).Cast<bool>(), true);
    EXPECT_EQ(Any(int64_t{-3}).Cast<int64_t>(), -3);
    EXPECT_EQ(Any(uint64_t{3}).Cast<uint64_t>(), 3U);
    EXPECT_EQ(Any(std::string("x")).Cast<std::string>(), "x");
}

TEST(Any, CopiesTheValue)
{
    Any original(std::string("first"));
    const Any copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    original = Any(std::string("second"));
    EXPECT_EQ(copy.Cast<std::string>(), "first");
    EXPECT_EQ(original.Cast<std::string>(), "second");
}

TEST(Any, MovesTheValueAway)
{
    Any original(7);
    const Any moved(std::move(original));
    EXPECT_EQ(moved.Cast<int>(), 7);
    EXPECT_EQ(original.Type(), typeid(void)); // NOLINT(bugprone-use-after-move)
}

TEST(Any, RefusesToBeReadAsAnotherType)
{
    const std::string expected = std::string("Casting from ") + typeid(int).name() + " to the given type " +
                                 typeid(bool).name() + " is not supported!";
    try
    {
        Any(7).Cast<bool>();
        FAIL();
    }
    catch (const InvalidCastException &exception)
    {
        EXPECT_EQ(exception.what(), expected);
    }
}

TEST(Any, RefusesToBeReadWhenItHoldsNothing)
{
    EXPECT_THROW(Any().Cast<int>(), InvalidCastException);
}

} // namespace
} // namespace tarn::common
