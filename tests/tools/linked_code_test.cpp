// Which code of the project gentlctl contains.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

/// Functions that a file defines outside of headers, by their mangled names. In the program, functions from
/// an archive are local symbols.
/// @param kinds the letters that `nm` gives them
std::set<std::string> FunctionsIn(const std::string &file, const std::string &kinds)
{
    const auto command = QVR_NM " --defined-only " + file + " 2> /dev/null";
    const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> part{};
    for (size_t count = 0; output && (count = fread(part.data(), 1, part.size(), output.get())) != 0;)
    {
        text.append(part.data(), count);
    }
    std::istringstream lines(text);
    std::set<std::string> functions;
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream words(line);
        std::string address;
        std::string kind;
        std::string name;
        if (words >> address >> kind >> name && kinds.find(kind) != std::string::npos)
        {
            functions.insert(name);
        }
    }
    return functions;
}

std::vector<std::string> InGentlctlOf(const std::string &archive)
{
    const auto linked = FunctionsIn(QVR_BIN_DIR "/gentlctl", "tT");
    const auto library = FunctionsIn(archive, "T");
    std::vector<std::string> common;
    std::ranges::set_intersection(linked, library, std::back_inserter(common));
    return common;
}

TEST(GentlctlProgram, HasNothingOfTheProducersCore)
{
    EXPECT_FALSE(FunctionsIn(QVR_CORE_ARCHIVE, "T").empty());
    EXPECT_EQ(InGentlctlOf(QVR_CORE_ARCHIVE), std::vector<std::string>());
}

TEST(GentlctlProgram, HasTheCodeThatTalksToAProducer)
{
    EXPECT_FALSE(InGentlctlOf(QVR_CONSUMER_ARCHIVE).empty());
}

} // namespace
