#include "unpack_formats.h"

#include "vision_module/unpack_scalar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::vision
{

namespace
{

struct Example
{
    std::string format;
    common::Size size;
    std::vector<uint8_t> source;
    std::vector<uint8_t> target;
};

std::vector<uint8_t> BytesIn(std::istream &text)
{
    std::vector<uint8_t> bytes;
    for (std::string byte; text >> byte;)
    {
        bytes.push_back(static_cast<uint8_t>(std::stoul(byte, nullptr, 16)));
    }
    return bytes;
}

/// The blocks that begin with ```example: a line "<format>, <width> x <height>", then lines of bytes that
/// begin with "source" or "target".
std::vector<Example> ExamplesOf(const std::string &path)
{
    std::ifstream file(path);
    if (!file)
    {
        throw std::runtime_error("no " + path);
    }
    std::vector<Example> examples;
    auto isInside = false;
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with("```"))
        {
            isInside = line == "```example";
            if (isInside)
            {
                std::getline(file, line);
                auto &example = examples.emplace_back();
                example.format = line.substr(0, line.find(','));
                char times = 0;
                std::istringstream(line.substr(line.find(',') + 1)) >> example.size.width >> times >>
                    example.size.height;
            }
        }
        else if (isInside)
        {
            std::istringstream text(line);
            std::string what;
            text >> what;
            auto &bytes = what == "source" ? examples.back().source : examples.back().target;
            std::ranges::copy(BytesIn(text), std::back_inserter(bytes));
        }
    }
    return examples;
}

PixelFormat FormatNamed(const std::string &name)
{
    const auto &formats = AllFormats();
    const auto format = std::ranges::find(formats, name, common::PixelFormatName);
    if (format == formats.end())
    {
        throw std::runtime_error("no format " + name);
    }
    return *format;
}

const auto path = std::string(QVR_SOURCE_DIR) + "/docs/pixel-layouts.md";

} // namespace

TEST(UnpackDocumentation, HoldsExamplesThatAreTrue)
{
    for (const auto &example : ExamplesOf(path))
    {
        SCOPED_TRACE(example.format);
        const auto from = FormatNamed(example.format);
        const auto to = UnpackedFormat(from);
        ASSERT_EQ(example.source.size(), GetSizeInBytes(from, example.size));
        ASSERT_EQ(example.target.size(), GetSizeInBytes(to, example.size));
        for (const auto unpack : {UnpackScalar, Unpack})
        {
            std::vector<uint8_t> target(example.target.size());
            unpack(Code(from), example.source.data(), Code(to), target.data(), example.size.width,
                   example.size.height);
            EXPECT_EQ(target, example.target);
        }
    }
}

TEST(UnpackDocumentation, HasAnExampleOfEachLayout)
{
    std::set<std::string> formats;
    for (const auto &example : ExamplesOf(path))
    {
        formats.insert(example.format);
    }
    EXPECT_EQ(formats, (std::set<std::string>{"Mono10p", "Mono12p", "Mono10g40QVR", "Mono12g24QVR",
                                              "RGB10p32", "BGR10p32", "Mono8_I_A_B", "Mono10_I_A_B",
                                              "Mono10p_I_A_B", "Mono8_I_AB_CD"}));
}

} // namespace tarn::vision
