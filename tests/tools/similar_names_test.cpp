// What is proposed in place of a wrong name.

#include "consumer/name_patterns.h"
#include "consumer/similar_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using Names = std::vector<std::string>;

const Names names{"Width", "WidthMax", "Height", "ExposureTime", "ExposureAuto", "Gain"};

TEST(SimilarNames, AreTheOneThatDiffersInCase)
{
    EXPECT_EQ(SimilarNames(names, "width"), Names{"Width"});
}

TEST(SimilarNames, AreThoseThatContainTheWordOrArePartOfIt)
{
    EXPECT_EQ(SimilarNames(names, "exposure"), (Names{"ExposureTime", "ExposureAuto"}));
    EXPECT_EQ(SimilarNames(names, "GainRaw"), Names{"Gain"});
    EXPECT_EQ(SimilarNames({"SensorWidth", "WidthMax", "Width"}, "widt"),
              (Names{"Width", "SensorWidth", "WidthMax"}))
        << "the one with a slip first";
    EXPECT_EQ(SimilarNames(names, "Ex"), Names());
}

TEST(SimilarNames, AreASlipAway)
{
    EXPECT_EQ(SimilarNames(names, "Widht"), Names{"Width"});
    EXPECT_EQ(SimilarNames(names, "Hight"), Names{"Height"});
    EXPECT_EQ(SimilarNames(names, "Gajn"), Names{"Gain"});
    EXPECT_EQ(SimilarNames(names, "ExposreTimee"), Names{"ExposureTime"});
    EXPECT_EQ(SimilarNames(names, "lst"), Names());
    EXPECT_EQ(SimilarNames(names, "Garden"), Names());
    EXPECT_EQ(SimilarNames(names, ""), Names());
}

TEST(SimilarNames, AreEightAtMost)
{
    EXPECT_EQ(SimilarNames(Names(20, "Width"), "width").size(), 8U);
}

TEST(NamePatterns, MatchAsThoseOfTheShell)
{
    EXPECT_EQ(MatchingNames(names, "Width*"), (Names{"Width", "WidthMax"}));
    EXPECT_EQ(MatchingNames(names, "*ight"), Names{"Height"});
    EXPECT_EQ(MatchingNames(names, "[GH]*"), (Names{"Height", "Gain"}));
    EXPECT_EQ(MatchingNames(names, "Gai?"), Names{"Gain"});
    EXPECT_EQ(MatchingNames(names, "width*"), Names());
    EXPECT_EQ(MatchingNames(names, "Width"), Names()) << "no pattern";
}

} // namespace
} // namespace gentlctl
