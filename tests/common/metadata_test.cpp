#include "common/metadata.h"

#include <gtest/gtest.h>

namespace tarn::common
{
namespace
{

TEST(Metadata, GivesTheRegionOfInterest)
{
    Metadata metadata;
    metadata.Set("Roi", Rectangle{1, 2, 3, 4});
    EXPECT_EQ(metadata.GetRoi(), (Rectangle{1, 2, 3, 4}));
}

TEST(Metadata, ReplacesAValueOfTheSameName)
{
    Metadata metadata;
    metadata.Set("BinningHorizontal", uint64_t{1});
    metadata.Set("BinningHorizontal", uint64_t{2});
    ASSERT_NE(metadata.Find("BinningHorizontal"), nullptr);
    EXPECT_EQ(metadata.Find("BinningHorizontal")->Cast<uint64_t>(), 2U);
}

TEST(Metadata, TellsWhichValueIsMissing)
{
    try
    {
        static_cast<void>(Metadata().GetRoi());
        FAIL();
    }
    catch (const OutOfRangeException &exception)
    {
        EXPECT_STREQ(exception.what(), "There is no value named Roi");
    }
}

TEST(Metadata, RefusesARegionOfAnotherType)
{
    Metadata metadata;
    metadata.Set("Roi", uint64_t{1});
    EXPECT_THROW(static_cast<void>(metadata.GetRoi()), InvalidCastException);
}

// The vision library's exceptions have two of these as bases, and must stay one std::exception.
class TwoBases : public InvalidParameterException, public NotSupportedException
{
public:
    TwoBases() : Exception("both"), InvalidParameterException("both"), NotSupportedException("both") {}
};

TEST(Exceptions, WithTwoBasesAreCaughtAsOneStandardException)
{
    try
    {
        throw TwoBases();
    }
    catch (const std::exception &exception)
    {
        EXPECT_STREQ(exception.what(), "both");
    }
}

} // namespace
} // namespace tarn::common
