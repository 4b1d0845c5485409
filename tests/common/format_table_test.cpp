#include "common/format_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tarn::common
{
namespace
{

struct Listed
{
    std::string name;
    int64_t code;
};

const std::vector<Listed> publishedList{
#include "published_list.inc"
};

const std::vector<Listed> gigeVisionNames{
    {"Mono10Packed", 0x010C0004},       {"Mono12Packed", 0x010C0006},    {"BayerGR10Packed", 0x010C0026},
    {"BayerRG10Packed", 0x010C0027},    {"BayerGB10Packed", 0x010C0028}, {"BayerBG10Packed", 0x010C0029},
    {"BayerGR12Packed", 0x010C002A},    {"BayerRG12Packed", 0x010C002B}, {"BayerGB12Packed", 0x010C002C},
    {"BayerBG12Packed", 0x010C002D},    {"YUV411Packed", 0x020C001E},    {"YUV422Packed", 0x0210001F},
    {"YUV444Packed", 0x02180020},       {"YUV422_8", 0x02100032},        {"YUYVPacked", 0x02100032},
    {"YUV422_YUYV_Packed", 0x02100032}, {"Mono8Signed", 0x01080002},     {"RGB8Packed", 0x02180014},
    {"BGR8Packed", 0x02180015},         {"RGBA8Packed", 0x02200016},     {"BGRA8Packed", 0x02200017},
    {"RGB10Packed", 0x02300018},        {"BGR10Packed", 0x02300019},     {"RGB12Packed", 0x0230001A},
    {"BGR12Packed", 0x0230001B},        {"RGB16Packed", 0x02300033},     {"RGB10V1Packed", 0x0220001C},
    {"RGB10V2Packed", 0x0220001D},      {"RGB12V1Packed", 0x02240034},   {"RGB565Packed", 0x02100035},
    {"BGR565Packed", 0x02100036},       {"RGB8Planar", 0x02180021},      {"RGB10Planar", 0x02300022},
    {"RGB12Planar", 0x02300023},        {"RGB16Planar", 0x02300024}};

PixelFormat FormatOf(int64_t code)
{
    return static_cast<PixelFormat>(code);
}

bool HasFloats(const std::string &name)
{
    return name.find("32f") != std::string::npos || name.find("64f") != std::string::npos;
}

/// The place of the `p` of a packing, as in "YCbCr422_10p_CbYCrY": between a digit and the end of a word.
size_t PackingMark(const std::string &name)
{
    for (size_t i = 1; i < name.size(); ++i)
    {
        const bool endsWord = i + 1 == name.size() || name.at(i + 1) == '_';
        if (name.at(i) == 'p' && std::isdigit(name.at(i - 1)) != 0 && endsWord)
        {
            return i;
        }
    }
    return std::string::npos;
}

bool EndsWithAny(const std::string &name, const std::vector<std::string> &ends)
{
    return std::ranges::any_of(ends, [&](const auto &end) { return name.ends_with(end); });
}

/// The name without the mark of its packing.
std::string Unmarked(std::string name)
{
    for (const std::string end : {"V1Packed", "Packed", "_Deprecated"})
    {
        if (name.ends_with(end))
        {
            return name.substr(0, name.size() - end.size());
        }
    }
    if (const auto mark = PackingMark(name); mark != std::string::npos)
    {
        name.erase(mark, 1);
    }
    return name;
}

/// Bits of a sample: the first number in the name behind its family and subsampling.
int DepthByName(std::string name)
{
    for (const std::string prefix :
         {"YCbCr601_", "YCbCr709_", "YCbCr2020_", "YCbCr", "YUV", "Coord3D_", "SCF1"})
    {
        if (name.starts_with(prefix))
        {
            name.erase(0, prefix.size());
            break;
        }
    }
    for (const std::string subsampling : {"411_", "420_", "422_"})
    {
        if (name.starts_with(subsampling))
        {
            name.erase(0, subsampling.size());
        }
    }
    return std::stoi(name.substr(name.find_first_of("0123456789")));
}

uint64_t MaximumByName(const std::string &name)
{
    static const std::map<std::string, uint64_t> special{{"CUSTOM", 0}, {"RGB565p", 63}, {"BGR565p", 63}};
    if (const auto known = special.find(name); known != special.end())
    {
        return known->second;
    }
    if (HasFloats(name))
    {
        return 0;
    }
    const auto depth = DepthByName(name) - (EndsWithAny(name, {"8s", "16s", "32s", "64s"}) ? 1 : 0);
    return UINT64_MAX >> (64 - depth);
}

/// The formats that the family's list lacks.
std::vector<FormatInfo> NewFormats()
{
    std::vector<FormatInfo> formats;
    std::ranges::copy_if(wideFormats.Formats(), std::back_inserter(formats),
                         [](const FormatInfo &row) { return familyFormats.Find(row.format) == nullptr; });
    return formats;
}

void ExpectSameRow(const FormatInfo *row, const FormatInfo &expected)
{
    ASSERT_NE(row, nullptr) << expected.name;
    EXPECT_EQ(row->name, expected.name);
    EXPECT_EQ(row->bits, expected.bits) << row->name;
    EXPECT_EQ(row->maximum, expected.maximum) << row->name;
    EXPECT_EQ(row->isPacked, expected.isPacked) << row->name;
    EXPECT_EQ(row->unpacked, expected.unpacked) << row->name;
}

TEST(FamilyFormats, AnswerLikeTheFunctionsOfOneFormat)
{
    EXPECT_EQ(familyFormats.Formats().size(), 123U);
    for (const auto &row : familyFormats.Formats())
    {
        EXPECT_EQ(PixelFormatName(row.format), row.name);
        EXPECT_EQ(GetSizeInBytes(row.format, {7, 3}), GetSizeInBytes(row, {7, 3})) << row.name;
        EXPECT_EQ(IsPackedFormat(row.format), row.isPacked) << row.name;
        EXPECT_EQ(UnpackedFormat(row.format), row.unpacked) << row.name;
    }
}

TEST(FamilyFormats, AreTheSameInTheWideTable)
{
    for (const auto &row : familyFormats.Formats())
    {
        ExpectSameRow(wideFormats.Find(row.format), row);
    }
}

TEST(FamilyFormats, LackTheOthers)
{
    EXPECT_EQ(familyFormats.Find("Mono12Packed"), nullptr);
    EXPECT_EQ(familyFormats.Find(PixelFormat::Mono14p), nullptr);
    EXPECT_EQ(familyFormats.Find("RGB8Packed"), nullptr);
    EXPECT_EQ(familyFormats.Find("RGB8")->format, PixelFormat::RGB8);
}

TEST(WideFormats, HoldThePublishedList)
{
    ASSERT_EQ(publishedList.size(), 265U);
    for (const auto &listed : publishedList)
    {
        const auto *row = wideFormats.Find(listed.name);
        ASSERT_NE(row, nullptr) << listed.name;
        EXPECT_EQ(row->name, listed.name);
        EXPECT_EQ(row->format, FormatOf(listed.code)) << listed.name;
        EXPECT_EQ(wideFormats.Find(FormatOf(listed.code)), row) << listed.name;
    }
}

TEST(WideFormats, AddNothingElseButTwelveOfGigEVision)
{
    std::set<std::string> published;
    std::ranges::transform(publishedList, std::inserter(published, published.end()), &Listed::name);
    std::set<std::string> others;
    for (const auto &row : NewFormats())
    {
        if (!published.contains(std::string(row.name)))
        {
            others.emplace(row.name);
        }
    }
    EXPECT_EQ(others, (std::set<std::string>{"Mono10Packed", "Mono12Packed", "BayerGR10Packed",
                                             "BayerRG10Packed", "BayerGB10Packed", "BayerBG10Packed",
                                             "BayerGR12Packed", "BayerRG12Packed", "BayerGB12Packed",
                                             "BayerBG12Packed", "RGB10V1Packed", "RGB12V1Packed"}));
    EXPECT_EQ(wideFormats.Formats().size(), 354U);
}

TEST(WideFormats, KnowTheNamesOfGigEVision)
{
    for (const auto &listed : gigeVisionNames)
    {
        const auto *row = wideFormats.Find(listed.name);
        ASSERT_NE(row, nullptr) << listed.name;
        EXPECT_EQ(row->format, FormatOf(listed.code)) << listed.name;
    }
}

TEST(WideFormats, NameTheAliasesOfAFormat)
{
    EXPECT_EQ(wideFormats.AliasesOf(PixelFormat::YUV422_8),
              (std::vector<std::string_view>{"YUV422_YUYV_Packed", "YUYVPacked"}));
    EXPECT_TRUE(wideFormats.AliasesOf(PixelFormat::Mono12Packed).empty());
}

TEST(WideFormats, TakeTheBitsThatTheCodeTells)
{
    for (const auto &row : NewFormats())
    {
        const auto bits = static_cast<uint64_t>(row.format) >> 16U & 0xFFU;
        EXPECT_EQ(row.bits, bits) << row.name;
    }
}

TEST(WideFormats, HaveTheSamplesThatTheirNamesTell)
{
    for (const auto &row : NewFormats())
    {
        const std::string name(row.name);
        EXPECT_EQ(row.maximum, MaximumByName(name)) << name;
        EXPECT_EQ(row.isPacked,
                  PackingMark(name) != std::string::npos || EndsWithAny(name, {"Packed", "_Deprecated"}))
            << name;
    }
}

TEST(WideFormats, UnpackToTheFormatWithoutThePackingMark)
{
    size_t unpacked = 0;
    for (const auto &row : NewFormats())
    {
        const auto *plain = wideFormats.Find(Unmarked(std::string(row.name)));
        EXPECT_EQ(row.unpacked, plain != nullptr ? plain->format : row.format) << row.name;
        const auto *form = wideFormats.Find(row.unpacked);
        ASSERT_NE(form, nullptr) << row.name;
        EXPECT_EQ(form->maximum, row.maximum) << row.name;
        EXPECT_EQ(form->unpacked, form->format) << row.name;
        unpacked += row.unpacked != row.format ? 1 : 0;
    }
    EXPECT_GT(unpacked, 50U);
}

TEST(WideFormats, AnswerWithNothingForTheUnknown)
{
    EXPECT_EQ(wideFormats.Find(FormatOf(0)), nullptr);
    EXPECT_EQ(wideFormats.Find(FormatOf(-5)), nullptr);
    EXPECT_EQ(wideFormats.Find(FormatOf(INT64_MAX)), nullptr);
    EXPECT_EQ(wideFormats.Find(""), nullptr);
    EXPECT_EQ(wideFormats.Find("mono8"), nullptr);
    EXPECT_TRUE(wideFormats.AliasesOf(FormatOf(0)).empty());
}

TEST(WideFormats, CountBytesOfAnImageRoundedUp)
{
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find("Mono12Packed"), {3, 1}), 5U);
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find("Mono14p"), {3, 3}), 16U);
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find("RGB10p"), {1, 1}), 4U);
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find("Mono1p"), {9, 1}), 2U);
    EXPECT_EQ(GetSizeInBytes(*wideFormats.Find("Mono8"), {0xFFFFFFFFU, 0xFFFFU}), 0xFFFFFFFFULL * 0xFFFFULL);
}

TEST(ResolvedEntry, IsTheFormatOfItsNameAndCode)
{
    EXPECT_EQ(wideFormats.Resolve("Mono12p", FormatOf(0x010C0047))->format, PixelFormat::Mono12p);
    EXPECT_EQ(wideFormats.Resolve("BayerRG10g40QVR", FormatOf(0x40000001))->format,
              PixelFormat::BayerRG10g40QVR);
}

TEST(ResolvedEntry, IsTheFormatOfItsOlderName)
{
    EXPECT_EQ(wideFormats.Resolve("YUV422Packed", FormatOf(0x0210001F))->format, PixelFormat::YUV422_8_UYVY);
    EXPECT_EQ(wideFormats.Resolve("RGB8Packed", FormatOf(7))->format, PixelFormat::RGB8);
}

TEST(ResolvedEntry, IsTheFormatOfItsNameWhenTheValueIsNoCode)
{
    EXPECT_EQ(wideFormats.Resolve("Mono12Packed", FormatOf(3))->format, PixelFormat::Mono12Packed);
    EXPECT_EQ(wideFormats.Resolve("Mono12Packed", FormatOf(0x010C7777))->format, PixelFormat::Mono12Packed);
    EXPECT_EQ(wideFormats.Resolve("Mono12Packed", FormatOf(0x40000001))->format, PixelFormat::Mono12Packed)
        << "a maker's own code says nothing";
}

TEST(ResolvedEntry, IsTheFormatOfItsCodeWhenTheNameIsUnknown)
{
    EXPECT_EQ(wideFormats.Resolve("Grey12", FormatOf(0x010C0047))->format, PixelFormat::Mono12p);
    EXPECT_EQ(wideFormats.Resolve("Grey12", FormatOf(0x40000001)), nullptr);
    EXPECT_EQ(wideFormats.Resolve("Grey12", FormatOf(12)), nullptr);
}

TEST(ResolvedEntry, IsNoFormatWhenNameAndCodeDisagree)
{
    EXPECT_EQ(wideFormats.Resolve("BayerRG12Packed", FormatOf(0x010C002A)), nullptr);
    EXPECT_EQ(wideFormats.Resolve("RGB8Packed", FormatOf(0x02180015)), nullptr);
}

} // namespace
} // namespace tarn::common
