#include "nodemap/enum_entry_bits.h"

#include "memory_port.h"
#include "support/failure.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Access = MemoryPort::Access;
using Bit = std::pair<uint64_t, uint64_t>; ///< address, mask

std::optional<Bit> Resolve(const NodeMapParser &parser, const std::string &name)
{
    const auto reference = ResolveBitReference(parser, name);
    return reference ? std::optional(Bit(reference->Address, reference->Mask)) : std::nullopt;
}

std::string Escaped(const std::string &formula)
{
    std::string text;
    for (const char c : formula)
    {
        text += c == '&' ? "&amp;" : c == '>' ? "&gt;" : c == '<' ? "&lt;" : std::string(1, c);
    }
    return text;
}

/// A formula over a register at address 32.
std::string WithFormula(const std::string &formula)
{
    return Description(fmt::format(
        "<IntReg Name=\"BitsReg\"><Address>32</Address><Length>4</Length></IntReg>"
        "<IntSwissKnife Name=\"Bit\"><pVariable Name=\"VAR\">BitsReg</pVariable><Formula>{}</Formula>"
        "</IntSwissKnife>",
        Escaped(formula)));
}

uint64_t MaskOf(const std::string &formula)
{
    const NodeMapParser parser(WithFormula(formula));
    const auto reference = ResolveBitReference(parser, "Bit").value();
    EXPECT_EQ(reference.Address, 32U) << formula;
    return reference.Mask;
}

void ExpectNoMask(const std::string &formula)
{
    const NodeMapParser parser(WithFormula(formula));
    EXPECT_THROW(ResolveBitReference(parser, "Bit"), std::bad_optional_access) << formula;
}

TEST(ResolveBitReference, GivesNothingForNoName)
{
    EXPECT_EQ(Resolve(NodeMapParser(WithFormula("VAR & 1")), ""), std::nullopt);
}

TEST(ResolveBitReference, FailsForANameThatIsNowhere)
{
    const NodeMapParser parser(WithFormula("VAR & 1"));
    EXPECT_EQ(FailureOf([&] { ResolveBitReference(parser, "Nowhere"); }),
              (Failure{"Did not find node Nowhere!", GC_ERR_ERROR}));
}

TEST(ResolveBitReference, TakesBitZeroOfRegistersAndValueNodes)
{
    const NodeMapParser parser(
        Description("<IntReg Name=\"AReg\"><Address>0xFFFFFFFFFFFFFFFF</Address><Length>1</Length></IntReg>"
                    "<Integer Name=\"A\"><pValue>AReg</pValue></Integer>"
                    "<Boolean Name=\"Literal\"><Value>1</Value></Boolean>"));
    EXPECT_EQ(Resolve(parser, "AReg"), Bit(std::numeric_limits<uint64_t>::max(), 1));
    EXPECT_EQ(Resolve(parser, "A"), Bit(std::numeric_limits<uint64_t>::max(), 1));
    EXPECT_EQ(Resolve(parser, "Literal"), Bit(0, 1));
}

TEST(ResolveBitReference, TakesTheBitOfAStructsEntry)
{
    const NodeMapParser parser(
        Description("<StructReg><Address>16</Address><Length>8</Length>"
                    "<StructEntry Name=\"First\"><Bit>0</Bit></StructEntry>"
                    "<StructEntry Name=\"Fifth\"><Bit>5</Bit></StructEntry>"
                    "<StructEntry Name=\"Last\"><Bit>63</Bit></StructEntry></StructReg>"));
    EXPECT_EQ(Resolve(parser, "First"), Bit(16, 1));
    EXPECT_EQ(Resolve(parser, "Fifth"), Bit(16, 0x20));
    EXPECT_EQ(Resolve(parser, "Last"), Bit(16, 0x8000000000000000));
}

TEST(ResolveBitReference, TakesAPlainAndForTheLowestBit)
{
    EXPECT_EQ(MaskOf("VAR & 1"), 1U);
    EXPECT_EQ(MaskOf("(VAR & 1)"), 1U);
    EXPECT_EQ(MaskOf("((VAR & 1))"), 1U);
    EXPECT_EQ(MaskOf("VAR&1"), 1U);
}

TEST(ResolveBitReference, TakesTheShiftOfAFormula)
{
    EXPECT_EQ(MaskOf("(VAR >> 3) & 1"), 8U);
    EXPECT_EQ(MaskOf("((VAR >> 3) & 1)"), 8U);
    EXPECT_EQ(MaskOf("(VAR >> 0) & 1"), 1U);
    EXPECT_EQ(MaskOf("(VAR >> 0x1F) & 0x1"), 0x80000000U);
    EXPECT_EQ(MaskOf("(VAR >> 63) & 1"), 0x8000000000000000U);
    EXPECT_EQ(MaskOf("VAR >> 3 & 1"), 8U) << "the parenthesis is optional";
}

TEST(ResolveBitReference, UnderstandsNoOtherFormula)
{
    for (const auto *formula :
         {"", "1", "VAR", "1 & VAR", "(VAR)", "(((VAR & 1)))", "VAR | 1", "VAR << 3", "VAR >> ", "VAR >> N",
          "(VAR >> 3)", "(VAR >> 3) & 2", "(VAR >> 3) & ", "(VAR >> 3)) & 1", "(VAR >> 3) = 1", "-VAR & 1",
          "(VAR >> 3) && 1", "VAR && 1"})
    {
        ExpectNoMask(formula);
    }
}

TEST(ResolveBitReference, FindsNoBitBeyondTheHighest)
{
    ExpectNoMask("(VAR >> 64) & 1");
    ExpectNoMask("(VAR >> 0x7FFFFFFFFFFFFFFF) & 1");
    ExpectNoMask("(VAR >> 0xFFFFFFFFFFFFFFFF) & 1");
}

TEST(ResolveBitReference, FollowsAConverterToItsRegister)
{
    const NodeMapParser parser(
        Description("<IntReg Name=\"BitsReg\"><Address>32</Address><Length>4</Length></IntReg>"
                    "<IntConverter Name=\"Bit\"><pVariable Name=\"VAR\">BitsReg</pVariable>"
                    "<FormulaTo>1</FormulaTo><FormulaFrom>(VAR &gt;&gt; 4) &amp; 1</FormulaFrom>"
                    "<pValue>BitsReg</pValue></IntConverter>"));
    EXPECT_EQ(Resolve(parser, "Bit"), Bit(32, 16));
}

TEST(ResolveBitReference, FailsForAFormulaWhoseVariableIsNowhere)
{
    const auto knife = [](const std::string &variable)
    {
        return Description("<SwissKnife Name=\"Bit\">" + variable +
                           "<Formula>VAR &amp; 1</Formula></SwissKnife>");
    };
    const NodeMapParser absent(knife("<pVariable Name=\"VAR\">Nowhere</pVariable>"));
    EXPECT_EQ(FailureOf([&] { ResolveBitReference(absent, "Bit"); }),
              (Failure{"Did not find node Nowhere!", GC_ERR_ERROR}));
    const NodeMapParser none(knife(""));
    EXPECT_EQ(FailureOf([&] { ResolveBitReference(none, "Bit"); }),
              (Failure{"Did not find node !", GC_ERR_ERROR}));
}

TEST(CollectEnumEntryBits, ListsTheEntriesInTheirOrder)
{
    const NodeMapParser parser(
        Description("<IntReg Name=\"BitsReg\"><Address>32</Address><Length>4</Length></IntReg>"
                    "<StructReg><Address>16</Address><Length>4</Length>"
                    "<StructEntry Name=\"Third\"><Bit>3</Bit></StructEntry></StructReg>"
                    "<Enumeration Name=\"E\">"
                    "<EnumEntry Name=\"Free\"><Value>7</Value></EnumEntry>"
                    "<EnumEntry Name=\"Bound\"><pIsImplemented>BitsReg</pIsImplemented>"
                    "<pIsAvailable>Third</pIsAvailable><Value>-1</Value></EnumEntry>"
                    "</Enumeration>"));
    const auto entries = CollectEnumEntryBits(parser, parser.FindNode("E"));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].Name, "Free");
    EXPECT_EQ(entries[0].Value, 7);
    EXPECT_FALSE(entries[0].IsAvailable.has_value());
    EXPECT_FALSE(entries[0].IsImplemented.has_value());
    EXPECT_EQ(entries[1].Name, "Bound");
    EXPECT_EQ(entries[1].Value, -1);
    EXPECT_EQ(entries[1].IsAvailable->Address, 16U);
    EXPECT_EQ(entries[1].IsAvailable->Mask, 8U);
    EXPECT_EQ(entries[1].IsImplemented->Address, 32U);
    EXPECT_EQ(entries[1].IsImplemented->Mask, 1U);
}

TEST(CollectEnumEntryBits, GivesNothingForANodeWithoutEntries)
{
    const NodeMapParser parser(WithFormula("VAR & 1"));
    EXPECT_THAT(CollectEnumEntryBits(parser, parser.FindNode("BitsReg")), IsEmpty());
}

TEST(CollectEnumEntryBits, FailsForAValueThatIsNoNumber)
{
    const NodeMapParser parser(WithFormula("VAR & 1"));
    NodeInfo node;
    node.EnumEntries = {{"One", int64_t{1}, "", ""}, {"Other", std::string("OtherReg"), "", ""}};
    EXPECT_EQ(FailureOf([&] { CollectEnumEntryBits(parser, node); }),
              (Failure{"pValue on EnumEntry not supported yet.", GC_ERR_ERROR}));
}

struct BitReaderTest : testing::Test
{
    const NodeMapParser parser{
        Description("<IntReg Name=\"AReg\"><Address>8</Address><Length>2</Length>"
                    "<Endianess>BigEndian</Endianess></IntReg>"
                    "<IntReg Name=\"BReg\"><Address>16</Address><Length>8</Length></IntReg>"
                    "<IntReg Name=\"FarReg\"><Address>0xFFFFFFFFFFFFFFFF</Address><Length>1</Length>"
                    "</IntReg>")};
    MemoryPort port;
};

TEST_F(BitReaderTest, TakesNoReferenceForTrue)
{
    EXPECT_TRUE(BitReader(port, parser).TestBit(std::nullopt));
    EXPECT_THAT(port.reads, IsEmpty());
}

TEST_F(BitReaderTest, TestsTheBitInTheByteOrderOfTheRegister)
{
    port.bytes[9] = 0x04;
    port.bytes[23] = 0x80;
    BitReader reader(port, parser);
    EXPECT_TRUE(reader.TestBit(BitReference{8, 0x0004}));
    EXPECT_FALSE(reader.TestBit(BitReference{8, 0x0400}));
    EXPECT_TRUE(reader.TestBit(BitReference{16, 0x8000000000000000}));
    EXPECT_FALSE(reader.TestBit(BitReference{16, 0x4000000000000000}));
}

TEST_F(BitReaderTest, DoesNotExtendTheSignOfAShortRegister)
{
    port.bytes[8] = 0x80;
    EXPECT_TRUE(BitReader(port, parser).TestBit(BitReference{8, 0x8000}));
    EXPECT_FALSE(BitReader(port, parser).TestBit(BitReference{8, 0x10000}));
}

TEST_F(BitReaderTest, HoldsForAnyBitOfTheMaskAndNeverForNone)
{
    port.bytes[9] = 0x04;
    BitReader reader(port, parser);
    EXPECT_TRUE(reader.TestBit(BitReference{8, 0x0F}));
    EXPECT_FALSE(reader.TestBit(BitReference{8, 0}));
}

TEST_F(BitReaderTest, ReadsEachRegisterOnceInItsLife)
{
    BitReader reader(port, parser);
    EXPECT_FALSE(reader.TestBit(BitReference{8, 1}));
    port.bytes[9] = 0xFF;
    EXPECT_FALSE(reader.TestBit(BitReference{8, 1}));
    EXPECT_FALSE(reader.TestBit(BitReference{16, 1}));
    EXPECT_FALSE(reader.TestBit(BitReference{8, 2}));
    EXPECT_THAT(port.reads, ElementsAre(Access{8, 2, true}, Access{16, 8, true}));
    EXPECT_TRUE(BitReader(port, parser).TestBit(BitReference{8, 1}));
}

TEST_F(BitReaderTest, FailsForAnAddressWithoutANode)
{
    BitReader reader(port, parser);
    EXPECT_EQ(FailureOf(
                  [&] {
                      reader.TestBit(BitReference{9, 1});
                  }),
              (Failure{"Failed to find node with address 9, this should never happen!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf(
                  [&] {
                      reader.TestBit(BitReference{0xFFFFFFFFFFFFFFFE, 1});
                  }),
              (Failure{"Failed to find node with address 18446744073709551614, this should never happen!",
                       GC_ERR_ERROR}));
    EXPECT_THAT(port.reads, IsEmpty());
}

TEST_F(BitReaderTest, PassesOnAFailureOfThePortAndAsksAgain)
{
    BitReader reader(port, parser);
    const BitReference far{0xFFFFFFFFFFFFFFFF, 1};
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(FailureOf([&] { reader.TestBit(far); }),
                  (Failure{"no such register", GC_ERR_INVALID_ADDRESS}));
    }
    EXPECT_EQ(port.reads.size(), 2U);
}

} // namespace
} // namespace GenTL::internal::nodemap
