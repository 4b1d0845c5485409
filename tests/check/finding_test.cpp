#include "findings/finding.h"

#include <gtest/gtest.h>

namespace gentlctl
{
namespace
{

const Findings someFindings{
    {Level::Fine, "stream", "", "it opens", "", ""},
    {Level::WillHurt, "frame", "DSGetNumBufferParts", "tells 0", "one consumer", "tell 1"},
    {Level::Broken, "library", "GCInitLib", "fails", "all", "make it succeed"},
};

TEST(Report, HasTheWorstFirstAndTheCounts)
{
    EXPECT_EQ(ReportText(someFindings), "broken       library: GCInitLib: fails\n"
                                        "             hurts: all\n"
                                        "             to do: make it succeed\n"
                                        "will hurt    frame: DSGetNumBufferParts: tells 0\n"
                                        "             hurts: one consumer\n"
                                        "             to do: tell 1\n"
                                        "fine         stream: it opens\n"
                                        "\n"
                                        "1 broken, 1 will hurt, 0 not checked, 0 advice, 1 fine\n");
}

TEST(Report, IsTheSameForPrograms)
{
    const auto report = ReportJson(someFindings);
    EXPECT_EQ(report["worst"], "broken");
    EXPECT_EQ(report["counts"]["will hurt"], 1);
    ASSERT_EQ(report["findings"].size(), someFindings.size());
    EXPECT_EQ(FindingFrom(report["findings"][1]).cure, "tell 1");
    EXPECT_EQ(FindingFrom(report["findings"][2]).level, Level::Broken);
}

TEST(Report, OfNothingIsFine)
{
    EXPECT_EQ(WorstOf({}), Level::Fine);
}

} // namespace
} // namespace gentlctl
