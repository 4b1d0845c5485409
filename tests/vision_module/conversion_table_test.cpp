#include "pixels.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

namespace GenTL::internal
{

namespace
{

using Pairs = std::set<std::pair<std::string, std::string>>;

std::string Documented()
{
    std::ifstream file(QVR_SOURCE_DIR "/docs/vision-conversions.md");
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Printed()
{
    const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(QVR_CONVERSION_TABLE, "r"), pclose);
    std::string text;
    for (int next = std::fgetc(output.get()); next != EOF; next = std::fgetc(output.get()))
    {
        text += static_cast<char>(next);
    }
    return text;
}

/// The pairs of rows such as "| Mono8 | Mono10, Mono12 | shifted |".
Pairs DocumentedPairs()
{
    Pairs pairs;
    std::istringstream lines(Documented());
    for (std::string line; std::getline(lines, line);)
    {
        if (!line.starts_with("| ") || line.starts_with("| From"))
        {
            continue;
        }
        std::ranges::replace(line, ',', ' ');
        std::istringstream words(line);
        std::string bar;
        std::string from;
        words >> bar >> from >> bar;
        for (std::string to; words >> to && to != "|";)
        {
            pairs.emplace(from, to);
        }
    }
    return pairs;
}

} // namespace

class VisionConversionTable : public ConversionTest
{
protected:
    /// Calls check(source, target) with small images for each pair of formats.
    template <typename Check>
    void ForEachPair(Check check)
    {
        for (const auto from : allFormats)
        {
            for (const auto to : allFormats)
            {
                Pixels source(from, 4, 4);
                Pixels target(to, 4, 4);
                check(source, target);
            }
        }
    }
};

TEST_F(VisionConversionTable, IsWhatTheDocumentationShows)
{
    EXPECT_FALSE(Printed().empty());
    EXPECT_EQ(Documented(), Printed());
}

TEST_F(VisionConversionTable, HoldsEachFormThatUnpacks)
{
    const auto documented = DocumentedPairs();
    int unpacked = 0;
    for (const auto format : allFormats)
    {
        const auto to = tarn::common::UnpackedFormat(format);
        if (to != format)
        {
            ++unpacked;
            EXPECT_TRUE(documented.contains(
                {tarn::common::PixelFormatName(format), tarn::common::PixelFormatName(to)}));
        }
    }
    EXPECT_EQ(unpacked, 64);
}

TEST_F(VisionConversionTable, DecidesForEachPairWhetherItIsConverted)
{
    Pairs offered;
    ForEachPair(
        [&](Pixels &source, Pixels &target)
        {
            const auto names = std::pair{tarn::common::PixelFormatName(source.Format()),
                                         tarn::common::PixelFormatName(target.Format())};
            const auto answered = Convert(source, target);
            if (answered == Answered{})
            {
                offered.insert(names);
                return;
            }
            EXPECT_EQ(answered,
                      (Answered{TARN_CVL_NOT_SUPPORTED, "The conversion from " + names.first + " to " +
                                                            names.second + " is not offered"}));
        });
    auto expected = DocumentedPairs();
    for (const auto format : allFormats)
    {
        const auto name = tarn::common::PixelFormatName(format);
        expected.emplace(name, name);
    }
    EXPECT_EQ(offered, expected);
}

TEST_F(VisionConversionTable, HoldsWithAFactorForWholeSamples)
{
    const auto documented = DocumentedPairs();
    ForEachPair(
        [&](Pixels &source, Pixels &target)
        {
            const auto from = tarn::common::PixelFormatName(source.Format());
            const auto to = tarn::common::PixelFormatName(target.Format());
            const bool isPair = from == to || documented.contains({from, to});
            const bool isWhole = !tarn::common::IsPackedFormat(target.Format()) && !to.starts_with("YUV");
            EXPECT_EQ(ConvertWithFactor(source, target, 1).status,
                      isPair && isWhole ? TARN_CVL_SUCCESS : TARN_CVL_NOT_SUPPORTED)
                << from << " to " << to;
        });
}

} // namespace GenTL::internal
