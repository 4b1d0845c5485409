#include "nodemap/description_url.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace GenTL::internal
{
namespace
{

using Range = std::pair<uint64_t, uint64_t>; ///< address, size

Range RangeOf(std::string_view url)
{
    const auto range = ParseDescriptionUrl(url).value();
    return {range.Address, range.Size};
}

TEST(ParseDescriptionUrl, ReadsAddressAndSizeInBase16)
{
    EXPECT_EQ(RangeOf("local:///Cam.xml;10000;2F0A"), Range(0x10000, 0x2F0A));
    EXPECT_EQ(RangeOf("local:///Cam.xml;f0f0;abcdef"), Range(0xF0F0, 0xABCDEF));
    EXPECT_EQ(RangeOf("local:///Cam.xml;FFFFFFFFFFFFFFFF;0"), Range(0xFFFFFFFFFFFFFFFF, 0));
}

TEST(ParseDescriptionUrl, EndsTheSizeAtTheQuery)
{
    EXPECT_EQ(RangeOf("local:///Cam.zip;F0000000;1234?SchemaVersion=1.1.0"), Range(0xF0000000, 0x1234));
    EXPECT_EQ(RangeOf("local:///Cam.xml;1;2?a=3?b=4"), Range(1, 2));
}

TEST(ParseDescriptionUrl, IgnoresAQuestionMarkBeforeTheSize)
{
    EXPECT_EQ(RangeOf("local:///Cam?.xml;12;34"), Range(0x12, 0x34));
    EXPECT_EQ(RangeOf("local:///Cam.xml;12?;34"), Range(0x12, 0x34));
}

TEST(ParseDescriptionUrl, UsesASingleNumberForBoth)
{
    EXPECT_EQ(RangeOf("local:///a.xml;100"), Range(0x100, 0x100));
    EXPECT_EQ(RangeOf("local:///a.xml;100?SchemaVersion=1.0.0"), Range(0x100, 0x100));
}

TEST(ParseDescriptionUrl, CutsAtTheFirstAndTheLastSeparator)
{
    EXPECT_EQ(RangeOf("local:///a.xml;1;2;3"), Range(1, 3));
}

TEST(ParseDescriptionUrl, DoesNotLookAtTheScheme)
{
    EXPECT_EQ(RangeOf("http://host/a.xml;5;6"), Range(5, 6));
    EXPECT_EQ(RangeOf(";5;6"), Range(5, 6));
}

TEST(ParseDescriptionUrl, TakesAPrefixOfTheBase)
{
    EXPECT_EQ(RangeOf("local:///a.xml;0x10000;0X20"), Range(0x10000, 0x20));
}

TEST(ParseDescriptionUrl, StopsANumberAtTheFirstOtherCharacter)
{
    EXPECT_EQ(RangeOf("local:///a.xml;12zz;34 and more"), Range(0x12, 0x34));
}

TEST(ParseDescriptionUrl, FindsNoRangeWithoutASeparator)
{
    EXPECT_EQ(ParseDescriptionUrl("file:///tmp/a.xml").has_value(), false);
    EXPECT_EQ(ParseDescriptionUrl("http://host/a.xml?SchemaVersion=1.1.0").has_value(), false);
    EXPECT_EQ(ParseDescriptionUrl("").has_value(), false);
}

TEST(ParseDescriptionUrl, FailsForAFieldWithoutADigit)
{
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;;10"), std::invalid_argument);
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;10;"), std::invalid_argument);
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;"), std::invalid_argument);
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;10;?20"), std::invalid_argument);
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;xyz;20"), std::invalid_argument);
}

TEST(ParseDescriptionUrl, FailsForANumberBeyond64Bits)
{
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;10000000000000000;10"), std::out_of_range);
    EXPECT_THROW(ParseDescriptionUrl("local:///a.xml;10;10000000000000000"), std::out_of_range);
}

} // namespace
} // namespace GenTL::internal
