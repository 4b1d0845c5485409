#include <gentl/gentl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace
{

std::string ReadFile(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Matches(const std::string &text, const std::regex &pattern)
{
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
    {
        found.push_back((*match)[1]);
    }
    std::ranges::sort(found);
    return found;
}

const std::string header = ReadFile(QVR_SOURCE_DIR "/include/gentl/gentl.h");
const std::string list = ReadFile(QVR_SOURCE_DIR "/include/gentl/functions.inc");
const std::string publishedEnumerators = ReadFile(QVR_SOURCE_DIR "/tests/gentl/enumerators.txt");
const std::string publishedFunctions = ReadFile(QVR_SOURCE_DIR "/tests/gentl/functions.txt");

// Values and signatures are compared when the checks made from the published facts are compiled.

TEST(Header, HasTheEnumeratorsThatArePublishedAndNoOthers)
{
    const auto published = Matches(publishedEnumerators, std::regex(R"(\S+ (\w+) -?\d+\n)"));
    EXPECT_EQ(published.size(), 250U);
    EXPECT_EQ(Matches(header, std::regex(R"(\n        ([A-Z]\w+) = -?\d+,)")), published);
}

TEST(Header, DeclaresTheFunctionsThatArePublishedAndNoOthers)
{
    const auto published = Matches(publishedFunctions, std::regex(R"([\d.]+ (\w+)\()"));
    EXPECT_EQ(published.size(), 64U);
    EXPECT_EQ(Matches(header, std::regex(R"(GC_API GC_ERROR (\w+)\()")), published);
    EXPECT_EQ(Matches(list, std::regex(R"(\nFN\(\w+, (\w+),)")), published);
}

TEST(FunctionList, NamesTheVersionThatBroughtEachFunction)
{
    for (const auto &name : Matches(list, std::regex(R"(\nFN\(\w+, (\w+),)")))
    {
        std::smatch group;
        std::smatch version;
        ASSERT_TRUE(std::regex_search(list, group, std::regex("FN\\((\\w+), " + name + ",")));
        ASSERT_TRUE(std::regex_search(publishedFunctions, version, std::regex("([\\d.]+) " + name + "\\(")));
        const std::string written = group[1] == "BOOT" ? "1_0" : group[1].str();
        EXPECT_EQ(std::regex_replace(written, std::regex("_"), "."), version[1].str()) << name;
    }
}

} // namespace
