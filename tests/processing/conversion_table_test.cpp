#include "processing/conversion_table.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::familyFormats;
using tarn::common::FormatInfo;
using tarn::common::PixelFormat;
using tarn::common::wideFormats;

std::vector<std::string> NamesOf(const std::vector<const FormatInfo *> &formats)
{
    std::vector<std::string> names;
    for (const auto *format : formats)
    {
        names.emplace_back(format->name);
    }
    return names;
}

FormatConversion ConversionOf(PixelFormat input, PixelFormat output)
{
    return {wideFormats.Find(input), wideFormats.Find(output)};
}

/// Uses the open vision module, which is found because it is already loaded.
class ConversionTableTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW), nullptr) << dlerror();
    }
};

TEST_F(ConversionTableTest, OffersThePairsThatTheVisionLibraryConverts)
{
    const auto &table = ConversionTable::Instance();
    EXPECT_EQ(NamesOf(table.OutputsOf(PixelFormat::Mono12Packed)), std::vector<std::string>{"Mono12"});
    EXPECT_EQ(NamesOf(table.OutputsOf(PixelFormat::RGB10p)), std::vector<std::string>{"RGB10"});
    EXPECT_EQ(NamesOf(table.OutputsOf(PixelFormat::Mono8_I_AB_CD)), std::vector<std::string>{"Mono8_ABCD"});
    EXPECT_EQ(*table.Find(PixelFormat::Mono14p, PixelFormat::Mono14),
              ConversionOf(PixelFormat::Mono14p, PixelFormat::Mono14));
}

TEST_F(ConversionTableTest, OffersNothingThatTheVisionLibraryRefuses)
{
    const auto &table = ConversionTable::Instance();
    EXPECT_TRUE(table.OutputsOf(PixelFormat::RGB12V1Packed).empty());
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Confidence1p).empty());
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Mono8).empty());
    EXPECT_TRUE(table.OutputsOf(PixelFormat{0}).empty());
    EXPECT_EQ(table.Find(PixelFormat::Mono12p, PixelFormat::Mono10), nullptr);
}

TEST_F(ConversionTableTest, NamesTheInputWithTheFewestBitsFirst)
{
    const auto &table = ConversionTable::Instance();
    EXPECT_EQ(NamesOf(table.InputsFor(PixelFormat::Mono10)),
              (std::vector<std::string>{"Mono10p", "Mono10g40QVR", "Mono10Packed"}));
    EXPECT_EQ(NamesOf(table.InputsFor(PixelFormat::RGB10)), (std::vector<std::string>{"RGB10p", "RGB10p32"}));
    EXPECT_TRUE(table.InputsFor(PixelFormat::Mono10p).empty());
}

TEST_F(ConversionTableTest, IsMadeOnceInAProcess)
{
    EXPECT_EQ(&ConversionTable::Instance(), &ConversionTable::Instance());
    EXPECT_FALSE(ConversionTable::Instance().IsEmpty());
}

TEST_F(ConversionTableTest, KeepsToTheFormatsItIsMadeFor)
{
    const auto table = ConversionTable::Probe(familyFormats);
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Mono12Packed).empty());
    EXPECT_EQ(NamesOf(table.InputsFor(PixelFormat::Mono10)),
              (std::vector<std::string>{"Mono10p", "Mono10g40QVR"}));
}

TEST(ConversionTable, OffersNothingByItself)
{
    const ConversionTable table;
    EXPECT_TRUE(table.IsEmpty());
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Mono10p).empty());
    EXPECT_TRUE(table.InputsFor(PixelFormat::Mono10).empty());
}

TEST(ConversionTable, HoldsThePairsItIsGiven)
{
    const ConversionTable table({ConversionOf(PixelFormat::Mono12Packed, PixelFormat::Mono8),
                                 ConversionOf(PixelFormat::Mono10p, PixelFormat::Mono8),
                                 ConversionOf(PixelFormat::Mono10p, PixelFormat::Mono10)});
    EXPECT_EQ(NamesOf(table.InputsFor(PixelFormat::Mono8)),
              (std::vector<std::string>{"Mono10p", "Mono12Packed"}));
    EXPECT_EQ(NamesOf(table.OutputsOf(PixelFormat::Mono10p)), (std::vector<std::string>{"Mono8", "Mono10"}));
}

} // namespace
} // namespace GenTL::internal
