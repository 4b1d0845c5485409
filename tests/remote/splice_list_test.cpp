#include "remote/splice_list.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace GenTL::internal
{
namespace
{

TEST(SpliceList, GivesTheTextBackWithoutEdits)
{
    const std::string text("<a>\0\r\n\xC3\xA4</a>", 12);
    EXPECT_EQ(SpliceList().Apply(text), text);
    EXPECT_EQ(SpliceList().Apply(""), "");
}

TEST(SpliceList, AppliesEditsByTheirPlaceInTheOriginal)
{
    SpliceList edits;
    edits.Replace(6, 7, "xyz");
    edits.Replace(1, 3, {});
    edits.Insert(0, "<");
    edits.Insert(8, ">");
    EXPECT_EQ(edits.Apply("01234567"), "<0345xyz7>");
    EXPECT_EQ(edits.SizeAfter(8), 10U);
}

TEST(SpliceList, KeepsTheOrderOfInsertionsAtOnePlace)
{
    SpliceList edits;
    edits.Insert(1, "a");
    edits.Replace(1, 2, "X");
    edits.Insert(1, "b");
    edits.Insert(2, "c");
    EXPECT_EQ(edits.Apply("012"), "0abXc2");
}

TEST(SpliceList, RefusesEditsThatOverlap)
{
    SpliceList edits;
    edits.Replace(1, 4, {});
    edits.Insert(3, "x");
    EXPECT_THROW(edits.Apply("01234567"), std::logic_error);
    SpliceList twice;
    twice.Replace(1, 3, "a");
    twice.Replace(2, 4, "b");
    EXPECT_THROW(twice.Apply("01234567"), std::logic_error);
}

TEST(SpliceList, RefusesEditsOutsideOfTheText)
{
    SpliceList edits;
    edits.Insert(4, "x");
    EXPECT_EQ(edits.Apply("0123"), "0123x");
    EXPECT_THROW(edits.Apply("012"), std::logic_error);
}

} // namespace
} // namespace GenTL::internal
