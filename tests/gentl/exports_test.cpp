#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{

/// What `nm` prints for the defined dynamic symbols of a shared object.
std::vector<std::string> DefinedSymbols(const std::string &file)
{
    const auto command = std::string(QVR_NM " -D --defined-only --format=just-symbols ") + file;
    const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(command.c_str(), "r"), pclose);
    std::vector<std::string> symbols;
    std::array<char, 512> line{};
    while (output && fgets(line.data(), line.size(), output.get()) != nullptr)
    {
        std::string symbol(line.data());
        symbol.erase(symbol.find_last_not_of(" \n") + 1);
        symbols.push_back(symbol);
    }
    std::ranges::sort(symbols);
    return symbols;
}

std::vector<std::string> PublishedFunctions()
{
    std::vector<std::string> names{
#define FN(group, name, parameters, arguments) #name,
#include <gentl/functions.inc>
#undef FN
    };
    std::ranges::sort(names);
    return names;
}

TEST(Exports, OfTheProducerAreThePublishedFunctionsAndNothingElse)
{
    EXPECT_EQ(DefinedSymbols(QVR_LIB_DIR "/qvr_proxygentl.cti"), PublishedFunctions());
}

} // namespace
