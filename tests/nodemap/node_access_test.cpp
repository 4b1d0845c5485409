#include "nodemap/node_access.h"

#include "memory_port.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>
#include <string>
#include <variant>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Access = MemoryPort::Access;

NodeInfo Reg(uint64_t address, uint64_t length, Endianess endianess = Endianess::Little)
{
    NodeInfo node;
    node.Name = "Reg";
    node.Address = address;
    node.Length = length;
    node.Endianess = endianess;
    return node;
}

class NodeAccess : public testing::Test
{
protected:
    /// Parses nodes, together with those that most tests need: conditions at addresses 40 and 41, and
    /// constants.
    void Use(const std::string &nodes)
    {
        m_parser.emplace(Description("<IntReg Name=\"CondA\"><Address>40</Address><Length>1</Length></IntReg>"
                                     "<IntReg Name=\"CondI\"><Address>41</Address><Length>1</Length></IntReg>"
                                     "<SwissKnife Name=\"MinusOne\"><Formula>-1</Formula></SwissKnife>"
                                     "<SwissKnife Name=\"Half\"><Formula>1 / 2</Formula></SwissKnife>"
                                     "<SwissKnife Name=\"Zero\"><Formula>0</Formula></SwissKnife>"
                                     "<Integer Name=\"True\"><Value>1</Value></Integer>" +
                                     nodes));
        port.bytes[40] = 1;
        port.bytes[41] = 1;
    }

    const NodeMapParser &Parser() { return *m_parser; }
    const NodeInfo &Node(const std::string &name) { return m_parser->FindNode(name); }

    MemoryPort port;

private:
    std::optional<NodeMapParser> m_parser;
};

const std::string conditions = "<pIsImplemented>CondI</pIsImplemented><pIsAvailable>CondA</pIsAvailable>";

TEST_F(NodeAccess, OnlyReadIntegerExtendsTheSign)
{
    port.bytes = {0x80, 0x00};
    EXPECT_EQ(ReadInteger(port, Reg(0, 2, Endianess::Big)), -32768);
    EXPECT_EQ(ReadUnsigned(port, Reg(0, 2, Endianess::Big)), 32768U);
    EXPECT_EQ(ReadInteger(port, Reg(0, 2, Endianess::Little)), 128);
    auto node = Reg(0, 2, Endianess::Big);
    node.Sign = Sign::Unsigned;
    EXPECT_EQ(ReadInteger(port, node), -32768) << "Sign plays no part";
}

TEST_F(NodeAccess, ReadsEightBytesWhole)
{
    port.bytes.assign(8, 0xFF);
    EXPECT_EQ(ReadInteger(port, Reg(0, 8)), -1);
    EXPECT_EQ(ReadUnsigned(port, Reg(0, 8)), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(ReadUnsigned32(port, Reg(0, 8)), 0xFFFFFFFFU);
}

TEST_F(NodeAccess, ReadsInTheByteOrderOfTheNode)
{
    port.bytes = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ReadInteger(port, Reg(1, 4, Endianess::Big)), 0x01020304);
    EXPECT_EQ(ReadInteger(port, Reg(1, 4, Endianess::Little)), 0x04030201);
    EXPECT_EQ(ReadUnsigned(port, Reg(1, 3, Endianess::Big)), 0x010203U);
    EXPECT_EQ(ReadUnsigned(port, Reg(1, 8, Endianess::Little)), 0x0807060504030201U);
    EXPECT_EQ(ReadUnsigned32(port, Reg(1, 8, Endianess::Big)), 0x05060708U);
    EXPECT_EQ(ReadUnsigned32(port, Reg(1, 8, Endianess::Little)), 0x04030201U);
    EXPECT_EQ(ReadInteger(port, Reg(1, 4, static_cast<Endianess>(7))), 0x01020304)
        << "anything but little-endian is big-endian";
}

TEST_F(NodeAccess, ReadsARegisterOfNoLengthWithANullBuffer)
{
    EXPECT_EQ(ReadInteger(port, Reg(5, 0)), 0);
    EXPECT_EQ(ReadUnsigned(port, Reg(5, 0)), 0U);
    EXPECT_THAT(port.reads, ElementsAre(Access{5, 0, false}, Access{5, 0, false}));
}

TEST_F(NodeAccess, WritesLowBytesInTheByteOrderOfTheNode)
{
    port.bytes.assign(8, 0xEE);
    WriteInteger(port, Reg(0, 2, Endianess::Big), 0x123456);
    WriteInteger(port, Reg(2, 3, Endianess::Little), -2);
    EXPECT_THAT(port.bytes, ElementsAre(0x34, 0x56, 0xFE, 0xFF, 0xFF, 0xEE, 0xEE, 0xEE));
    EXPECT_THAT(port.writes, ElementsAre(Access{0, 2, true}, Access{2, 3, true}));
    WriteInteger(port, Reg(0, 8, Endianess::Little), 0x0102030405060708);
    EXPECT_THAT(port.bytes, ElementsAre(8, 7, 6, 5, 4, 3, 2, 1));
}

TEST_F(NodeAccess, WritesACommandAsAnIntegerUpToFourBytes)
{
    for (const uint64_t length : {1U, 2U, 4U})
    {
        for (const auto order : {Endianess::Little, Endianess::Big})
        {
            MemoryPort other;
            WriteCommand(port, Reg(0, length, order), 0x01020304);
            WriteInteger(other, Reg(0, length, order), 0x01020304);
            EXPECT_EQ(port.bytes, other.bytes) << length;
        }
    }
}

TEST_F(NodeAccess, WritesACommandIntoBothHalvesOfEightBytes)
{
    port.bytes.assign(8, 0);
    WriteCommand(port, Reg(0, 8, Endianess::Little), 1);
    EXPECT_THAT(port.bytes, ElementsAre(1, 0, 0, 0, 1, 0, 0, 0));
    WriteCommand(port, Reg(0, 8, Endianess::Big), 1);
    EXPECT_THAT(port.bytes, ElementsAre(0, 0, 0, 1, 0, 0, 0, 1));
}

TEST_F(NodeAccess, RefusesARegisterThatClaimsMoreThanAnyMemory)
{
    const auto node = Reg(0, std::numeric_limits<uint64_t>::max());
    for (const auto &failure :
         {FailureOf([&] { ReadInteger(port, node); }), FailureOf([&] { WriteInteger(port, node, 1); }),
          FailureOf([&] { WriteCommand(port, node, 1); })})
    {
        EXPECT_EQ(failure.text, "Node Reg has an unusable length of 18446744073709551615");
        EXPECT_EQ(failure.code, GC_ERR_ERROR);
    }
    EXPECT_THAT(port.reads, IsEmpty());
    EXPECT_THAT(port.writes, IsEmpty());
}

TEST_F(NodeAccess, PassesOnFailuresOfThePort)
{
    const auto node = Reg(std::numeric_limits<uint64_t>::max() - 1, 4);
    EXPECT_EQ(FailureOf([&] { ReadInteger(port, node); }),
              (Failure{"no such register", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { WriteInteger(port, node, 1); }),
              (Failure{"no such register", GC_ERR_INVALID_ADDRESS}));
}

TEST_F(NodeAccess, TakesNoConditionForTrue)
{
    Use("");
    EXPECT_TRUE(IsTrue(port, Parser(), ""));
    EXPECT_THAT(port.reads, IsEmpty());
}

TEST_F(NodeAccess, TakesAConditionThatIsNowhereForFalse)
{
    Use("");
    EXPECT_FALSE(IsTrue(port, Parser(), "Nowhere"));
    EXPECT_THAT(port.reads, IsEmpty());
}

TEST_F(NodeAccess, DoesNotLookAtALiteralValueForACondition)
{
    Use("");
    EXPECT_FALSE(IsTrue(port, Parser(), "True"));
    EXPECT_THAT(port.reads, ElementsAre(Access{0, 0, false}));
}

TEST_F(NodeAccess, ReadsAConditionFromRegisterAndValueNode)
{
    Use("<Integer Name=\"Value\"><pValue>CondA</pValue></Integer>"
        "<IntReg Name=\"SomeReg\"><Address>40</Address><Length>1</Length></IntReg>");
    for (const auto *name : {"CondA", "Value", "SomeReg"})
    {
        port.bytes[40] = 0;
        EXPECT_FALSE(IsTrue(port, Parser(), name));
        port.bytes[40] = 0xFF;
        EXPECT_TRUE(IsTrue(port, Parser(), name)) << "-1 is not 0";
    }
}

TEST_F(NodeAccess, TakesAFormulaForTrueWhenItIsGreaterThanZero)
{
    Use("");
    EXPECT_FALSE(IsTrue(port, Parser(), "MinusOne"));
    EXPECT_FALSE(IsTrue(port, Parser(), "Zero"));
    EXPECT_TRUE(IsTrue(port, Parser(), "Half"));
}

TEST_F(NodeAccess, ReadsAConditionFromABit)
{
    Use("<StructReg><Address>0</Address><Length>2</Length><Endianess>BigEndian</Endianess>"
        "<StructEntry Name=\"Low\"><Bit>1</Bit></StructEntry>"
        "<StructEntry Name=\"High\"><Bit>63</Bit></StructEntry>"
        "<StructEntry Name=\"Beyond\"><Bit>64</Bit></StructEntry></StructReg>");
    EXPECT_FALSE(IsTrue(port, Parser(), "Low"));
    port.bytes[1] = 0x02;
    EXPECT_TRUE(IsTrue(port, Parser(), "Low"));
    EXPECT_FALSE(IsTrue(port, Parser(), "High"));
    port.bytes[0] = 0x80; // the sign is extended
    EXPECT_TRUE(IsTrue(port, Parser(), "High"));
    EXPECT_FALSE(IsTrue(port, Parser(), "Beyond"));
}

TEST_F(NodeAccess, GivesALiteralBound)
{
    Use("<Integer Name=\"I\"><Min>1</Min></Integer><Float Name=\"F\"><Min>1</Min></Float>");
    EXPECT_EQ(GetBoundValue(port, Parser(), Node("I").Min), 1);
    EXPECT_THROW(GetBoundValue(port, Parser(), Node("F").Min), std::bad_variant_access);
    EXPECT_EQ(FailureOf([&] { GetBoundValue(port, Parser(), Node("I").Max); }),
              PlainFailure("Bound has no value!"));
}

TEST_F(NodeAccess, FollowsABoundByPositionAndByName)
{
    Use("<IntReg Name=\"LimReg\">" + conditions +
        "<Address>3</Address><Length>1</Length></IntReg>"
        "<Integer Name=\"A\"><pMin>Late</pMin><pMax>LimReg</pMax><pInc>Nowhere</pInc></Integer>"
        "<Integer Name=\"Late\"><pValue>LimReg</pValue></Integer>");
    port.bytes[3] = 9;
    EXPECT_EQ(GetBoundValue(port, Parser(), Node("A").Max), 9);
    EXPECT_EQ(GetBoundValue(port, Parser(), Node("A").Min), 9);
    EXPECT_EQ(FailureOf([&] { GetBoundValue(port, Parser(), Node("A").Inc); }),
              (Failure{"Did not find node Nowhere!", GC_ERR_ERROR}));
    for (const size_t condition : {40U, 41U})
    {
        port.bytes[condition] = 0;
        EXPECT_EQ(FailureOf([&] { GetBoundValue(port, Parser(), Node("A").Max); }),
                  PlainFailure("Node is not readable"));
        port.bytes[condition] = 1;
    }
}

TEST_F(NodeAccess, RefusesUnreadableBoundsAndDeadReferences)
{
    Use("<IntReg Name=\"LimReg\"><Address>3</Address><Length>1</Length><AccessMode>WO</AccessMode></IntReg>"
        "<Integer Name=\"A\"><pMax>LimReg</pMax></Integer>");
    EXPECT_EQ(FailureOf([&] { GetBoundValue(port, Parser(), Node("A").Max); }),
              PlainFailure("Node is not readable"));
    EXPECT_EQ(FailureOf(
                  [&] {
                      GetBoundValue(port, Parser(), Bound{true, 1.0});
                  }),
              PlainFailure("Double currently not supported!"));
    EXPECT_EQ(FailureOf(
                  [&] {
                      GetBoundValue(port, Parser(), Bound{true, VectorPtr()});
                  }),
              PlainFailure("Cannot dereference invalid VectorPtr"));
}

TEST_F(NodeAccess, ReadsAFloatFromALiteralARegisterOrAFormula)
{
    Use("<FloatReg Name=\"FReg\">" + conditions +
        "<Address>4</Address><Length>4</Length><Endianess>BigEndian</Endianess></FloatReg>"
        "<Float Name=\"Literal\"><Value>0.1</Value></Float>"
        "<Float Name=\"Read\"><pValue>FReg</pValue></Float>"
        "<Float Name=\"Computed\"><pValue>Half</pValue></Float>"
        "<Float Name=\"Missing\"><pValue>Nowhere</pValue></Float>");
    const auto bits = std::bit_cast<uint32_t>(1.5F);
    for (size_t i = 0; i < 4; ++i)
    {
        port.bytes[4 + i] = static_cast<uint8_t>(bits >> (24 - 8 * i));
    }
    EXPECT_EQ(ReadFloat(port, Parser(), Node("Literal")), 0.1F);
    EXPECT_THAT(port.reads, IsEmpty());
    EXPECT_EQ(ReadFloat(port, Parser(), Node("Read")), 1.5F);
    EXPECT_EQ(ReadFloat(port, Parser(), Node("Computed")), 0.5F);
    EXPECT_EQ(FailureOf([&] { ReadFloat(port, Parser(), Node("Missing")); }),
              PlainFailure("Converter Nowhere not found!"));
    for (const size_t condition : {40U, 41U})
    {
        port.bytes[condition] = 0;
        EXPECT_EQ(FailureOf([&] { ReadFloat(port, Parser(), Node("Read")); }),
                  PlainFailure("Node is not available"));
        port.bytes[condition] = 1;
    }
}

TEST_F(NodeAccess, PrefersTheLiteralOfAFloatToItsRegister)
{
    Use("<FloatReg Name=\"FReg\"><Address>4</Address><Length>4</Length></FloatReg>"
        "<Float Name=\"Both\"><Value>0.1</Value><pValue>FReg</pValue></Float>");
    EXPECT_EQ(ReadFloat(port, Parser(), Node("Both")), 0.1F);
    EXPECT_THAT(port.reads, IsEmpty());
}

TEST_F(NodeAccess, ReadsTheLowHalfOfAFloatOfEightBytes)
{
    Use("<FloatReg Name=\"FReg\"><Address>8</Address><Length>8</Length></FloatReg>");
    const float value = 2.5F;
    std::memcpy(port.bytes.data() + 8, &value, sizeof value);
    EXPECT_EQ(ReadFloat(port, Parser(), Node("FReg")), 2.5F);
}

class EnumAccess : public NodeAccess
{
protected:
    void UseEnumeration(const std::string &access, const std::string &extra = "")
    {
        Use("<IntReg Name=\"EReg\">" + conditions + "<Address>8</Address><Length>1</Length><AccessMode>" +
            access +
            "</AccessMode></IntReg><IntReg "
            "Name=\"EntryCond\"><Address>42</Address><Length>1</Length></IntReg>"
            "<Enumeration Name=\"E\"><EnumEntry Name=\"One\"><Value>1</Value></EnumEntry>"
            "<EnumEntry Name=\"Two\"><pIsAvailable>EntryCond</pIsAvailable><Value>2</Value></EnumEntry>"
            "<EnumEntry Name=\"Also\"><Value>2</Value></EnumEntry>"
            "<EnumEntry "
            "Name=\"Three\"><pIsImplemented>EntryCond</pIsImplemented><Value>3</Value></EnumEntry>" +
            extra + "<pValue>EReg</pValue></Enumeration>");
    }

    std::string Get() { return GetEnumEntry(port, Parser(), Node("E")); }
    void Set(const std::string &name) { SetEnumEntry(port, Parser(), Node("E"), name); }
};

TEST_F(EnumAccess, NamesTheFirstEntryOfTheValue)
{
    UseEnumeration("RW");
    port.bytes[8] = 1;
    EXPECT_EQ(Get(), "One");
    port.bytes[8] = 2;
    EXPECT_EQ(Get(), "Two");
    port.bytes[8] = 9;
    EXPECT_EQ(FailureOf([&] { Get(); }), PlainFailure("Enumeration entry not found!"));
}

TEST_F(EnumAccess, TruncatesALiteralValue)
{
    UseEnumeration("RW", "<Value>2.9</Value>");
    EXPECT_EQ(Get(), "Two");
    UseEnumeration("RW", "<Value>1e300</Value>");
    EXPECT_EQ(FailureOf([&] { Get(); }), PlainFailure("Enumeration entry not found!"));
}

TEST_F(EnumAccess, IsNotReadableWhenWriteOnlyOrWithoutItsConditions)
{
    UseEnumeration("WO");
    EXPECT_EQ(FailureOf([&] { Get(); }), PlainFailure("Enumeration is not readable"));
    UseEnumeration("RW");
    for (const size_t condition : {40U, 41U})
    {
        port.bytes[condition] = 0;
        EXPECT_EQ(FailureOf([&] { Get(); }), PlainFailure("Enumeration is not readable"));
        port.bytes[condition] = 1;
    }
}

TEST_F(EnumAccess, ListsTheEntriesWhoseConditionsHoldInTheirOrder)
{
    UseEnumeration("WO");
    EXPECT_THAT(GetAvailableEnumEntries(port, Parser(), Node("E")), ElementsAre("One", "Also"));
    port.bytes[42] = 1;
    EXPECT_THAT(GetAvailableEnumEntries(port, Parser(), Node("E")),
                ElementsAre("One", "Two", "Also", "Three"));
}

TEST_F(EnumAccess, SetsAnEntryAlsoOfAWriteOnlyEnumeration)
{
    UseEnumeration("WO");
    Set("One");
    EXPECT_EQ(port.bytes[8], 1);
    EXPECT_EQ(FailureOf([&] { Get(); }), PlainFailure("Enumeration is not readable"));
}

TEST_F(EnumAccess, RefusesToSetInTheOrderOfItsChecks)
{
    UseEnumeration("RO");
    EXPECT_EQ(FailureOf([&] { Set("Nothing"); }), PlainFailure("Enumeration is not writeable"));
    UseEnumeration("RW");
    for (const size_t condition : {40U, 41U})
    {
        port.bytes[condition] = 0;
        EXPECT_EQ(FailureOf([&] { Set("Nothing"); }), PlainFailure("Enumeration is not writeable"));
        port.bytes[condition] = 1;
    }
    EXPECT_EQ(FailureOf([&] { Set("Nothing"); }), PlainFailure("Enumeration entry not found"));
    EXPECT_EQ(FailureOf([&] { Set("Two"); }), PlainFailure("Enumeration entry not available"));
    EXPECT_EQ(FailureOf([&] { Set("Three"); }), PlainFailure("Enumeration entry not available"));
    EXPECT_THAT(port.writes, IsEmpty());
    port.bytes[42] = 1;
    Set("Three");
    EXPECT_EQ(port.bytes[8], 3);
}

} // namespace
} // namespace GenTL::internal::nodemap
