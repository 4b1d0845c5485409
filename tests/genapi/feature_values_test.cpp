#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

TEST(IntegerFeature, HasALiteralOrTheValueOfAnotherNode)
{
    RegisterDevice device(IntegerNode("Literal", "<Value>0x10</Value>") +
                          IntegerNode("Chain", "<pValue>Next</pValue>") +
                          IntegerNode("Next", "<pValue>Reg</pValue>") + Register("IntReg", "Reg", 0, 2) +
                          IntegerNode("OfFloat", "<pValue>F</pValue>") +
                          Element("Float", "F", "<Value>2.5</Value>") + IntegerNode("Nothing", ""));
    EXPECT_EQ(device.features.ReadInteger("Literal"), 16);
    EXPECT_EQ(device.features.ReadText("Literal"), "16");
    device.features.WriteInteger("Chain", 0x1234);
    EXPECT_THAT(device.port.Get(0, 2), ElementsAre(0x34, 0x12));
    EXPECT_EQ(device.features.ReadInteger("Chain"), 0x1234);
    EXPECT_EQ(device.features.ReadInteger("OfFloat"), 3);
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Nothing"); }),
              (Failure{"Nothing: it has no value", GC_ERR_ERROR}));
}

TEST(IntegerFeature, WritesAllCopies)
{
    RegisterDevice device(
        IntegerNode("I", "<pValue>A</pValue><pValueCopy>B</pValueCopy><pValueCopy>C</pValueCopy>") +
        Register("IntReg", "A", 0, 1) + Register("IntReg", "B", 1, 1) + Register("IntReg", "C", 2, 1));
    device.features.WriteInteger("I", 7);
    EXPECT_THAT(device.port.Get(0, 3), ElementsAre(7, 7, 7));
    device.port.Set(1, {9});
    EXPECT_EQ(device.features.ReadInteger("I"), 7) << "a copy is never read";
}

TEST(IndexedFeature, TakesTheValueOfItsIndex)
{
    RegisterDevice device(
        IntegerNode("I", "<pIndex>Selector</pIndex><ValueIndexed Index=\"1\">10</ValueIndexed>"
                         "<pValueIndexed Index=\"0x2\">Reg</pValueIndexed><ValueDefault>99</ValueDefault>") +
        IntegerNode("Strict", "<pIndex>Selector</pIndex><ValueIndexed Index=\"1\">10</ValueIndexed>") +
        Element("Float", "F",
                "<pIndex>Selector</pIndex><ValueIndexed Index=\"1\">1.5</ValueIndexed>"
                "<pValueDefault>Reg</pValueDefault>") +
        IntegerNode("Selector", "<Value>1</Value>") + Register("IntReg", "Reg", 0, 1));
    device.port.Set(0, {42});
    EXPECT_EQ(device.features.ReadInteger("I"), 10);
    EXPECT_EQ(device.features.ReadFloat("F"), 1.5);
    device.features.WriteInteger("Selector", 2);
    EXPECT_EQ(device.features.ReadInteger("I"), 42);
    EXPECT_EQ(device.features.ReadFloat("F"), 42);
    device.features.WriteInteger("I", 43);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(43));
    device.features.WriteInteger("Selector", 3);
    EXPECT_EQ(device.features.ReadInteger("I"), 99);
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Strict"); }).text,
              "Strict: it has no value for index 3");
}

TEST(IndexedFeature, KeepsAWrittenLiteralPerIndex)
{
    RegisterDevice device(IntegerNode("I",
                                      "<pIndex>Selector</pIndex><ValueIndexed Index=\"1\">10</ValueIndexed>"
                                      "<ValueIndexed Index=\"2\">20</ValueIndexed>") +
                          IntegerNode("Selector", "<Value>1</Value>"));
    device.features.WriteInteger("I", 11);
    device.features.WriteInteger("Selector", 2);
    EXPECT_EQ(device.features.ReadInteger("I"), 20);
    device.features.WriteInteger("Selector", 1);
    EXPECT_EQ(device.features.ReadInteger("I"), 11);
}

TEST(FloatFeature, TakesAndGivesNumbersOfAnyKind)
{
    RegisterDevice device(Element("Float", "F", "<Value>-INF</Value>") +
                          Element("Float", "OfInteger", "<pValue>Reg</pValue>") +
                          Register("IntReg", "Reg", 0, 1) + Element("Float", "Half", "<Value>0.5</Value>"));
    EXPECT_EQ(device.features.ReadText("F"), "-inf");
    EXPECT_EQ(device.features.ReadText("Half"), "0.5");
    device.features.WriteFloat("OfInteger", 7.5);
    EXPECT_EQ(device.features.ReadFloat("OfInteger"), 8);
    device.features.WriteText("Half", "2.25");
    EXPECT_EQ(device.features.ReadFloat("Half"), 2.25);
    EXPECT_EQ(device.features.ReadInteger("Half"), 2);
}

TEST(BooleanFeature, ComparesWithItsOnValue)
{
    RegisterDevice device(
        Element("Boolean", "B", "<pValue>Reg</pValue>") +
        Element("Boolean", "Odd", "<pValue>Reg</pValue><OnValue>0xA</OnValue><OffValue>5</OffValue>") +
        Register("IntReg", "Reg", 0, 1) +
        Element("Boolean", "Literal", "<Value>true</Value><OnValue>7</OnValue>"));
    struct
    {
        uint8_t byte;
        int64_t plain;
        int64_t odd;
    } const rows[] = {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}, {5, 0, 0}, {10, 0, 1}};
    for (const auto &row : rows)
    {
        device.port.Set(0, {row.byte});
        device.features.Invalidate();
        EXPECT_EQ(device.features.ReadInteger("B"), row.plain) << int{row.byte};
        EXPECT_EQ(device.features.ReadInteger("Odd"), row.odd) << int{row.byte};
    }
    device.features.WriteInteger("B", 7);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(1));
    device.features.WriteText("Odd", "true");
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(10));
    EXPECT_EQ(device.features.ReadText("Odd"), "true");
    device.features.WriteInteger("Odd", 0);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(5));
    EXPECT_EQ(device.features.ReadText("Odd"), "false");
    EXPECT_EQ(device.features.ReadInteger("Literal"), 1);
    EXPECT_EQ(device.features.Literals().Read("Literal"), Number(int64_t{7}));
    device.features.WriteText("Literal", "false");
    EXPECT_EQ(device.features.ReadInteger("Literal"), 0);
}

const std::string formats =
    Element("Enumeration", "Format",
            "<EnumEntry Name=\"Mono8\"><Value>0x01080001</Value></EnumEntry>"
            "<EnumEntry "
            "Name=\"Mono16\"><pIsAvailable>Condition</pIsAvailable><Value>0x01100007</Value></EnumEntry>"
            "<EnumEntry Name=\"Never\"><pIsImplemented>Zero</pIsImplemented><Value>3</Value></EnumEntry>"
            "<pValue>Reg</pValue>") +
    Register("IntReg", "Reg", 0, 4, "<Endianess>BigEndian</Endianess>") +
    Register("IntReg", "Condition", 8, 1) + IntegerNode("Zero", "<Value>0</Value>");

TEST(EnumerationFeature, IsANumberAndAName)
{
    RegisterDevice device(formats);
    device.port.Set(0, {0x01, 0x08, 0x00, 0x01});
    EXPECT_EQ(device.features.ReadInteger("Format"), 0x01080001);
    EXPECT_EQ(device.features.ReadText("Format"), "Mono8");
    device.port.Set(8, {1});
    device.features.WriteText("Format", "Mono16");
    EXPECT_THAT(device.port.Get(0, 4), ElementsAre(0x01, 0x10, 0x00, 0x07));
    device.features.WriteInteger("Format", 0x01080001);
    EXPECT_EQ(device.features.ReadText("Format"), "Mono8");
}

TEST(EnumerationFeature, NeedsAnEntryOnlyForAName)
{
    RegisterDevice device(formats);
    device.port.Set(0, {0, 0, 0, 9});
    EXPECT_EQ(device.features.ReadInteger("Format"), 9);
    EXPECT_EQ(FailureOf([&] { device.features.ReadText("Format"); }),
              (Failure{"Format: there is no entry with the value 9", GC_ERR_ERROR}));
}

TEST(EnumerationFeature, TakesOnlyEntriesThatAreThere)
{
    RegisterDevice device(formats);
    EXPECT_THAT(device.features.EntriesOf("Format"),
                ElementsAre(Entry{"Mono8", 0x01080001, true, true}, Entry{"Mono16", 0x01100007, true, false},
                            Entry{"Never", 3, false, false}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("Format", "Mono16"); }),
              (Failure{"Format: the entry Mono16 is not available: pIsAvailable Condition is 0",
                       GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Format", 3); }),
              (Failure{"Format: the entry Never is not available: pIsImplemented Zero is 0",
                       GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Format", 4); }),
              (Failure{"Format: there is no entry with the value 4", GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("Format", "Mono4"); }),
              (Failure{"Format: there is no entry Mono4", GC_ERR_INVALID_VALUE}));
    EXPECT_THAT(device.port.writes, ElementsAre());
    device.port.Set(8, {1});
    device.features.Invalidate();
    EXPECT_TRUE(device.features.EntriesOf("Format").at(1).available);
}

TEST(EnumerationFeature, HasEntriesOnlyIfItIsOne)
{
    RegisterDevice device(formats);
    EXPECT_EQ(FailureOf([&] { device.features.EntriesOf("Reg"); }),
              (Failure{"Reg: an IntReg is no Enumeration", GC_ERR_ERROR}));
}

TEST(CommandFeature, WritesItsValueAndIsDoneWhenItIsGone)
{
    RegisterDevice device(
        Element("Command", "Start", "<pValue>Reg</pValue><CommandValue>0x5</CommandValue>") +
        Element("Command", "Computed", "<pValue>Reg</pValue><pCommandValue>Six</pCommandValue>") +
        IntegerNode("Six", "<Value>6</Value>") + Register("IntReg", "Reg", 0, 1) +
        Element("Command", "Blind", "<pValue>WriteOnly</pValue><CommandValue>1</CommandValue>") +
        "<IntReg Name=\"WriteOnly\"><Address>1</Address><Length>1</Length>"
        "<AccessMode>WO</AccessMode></IntReg>");
    EXPECT_EQ(device.features.ReadInteger("Start"), 1) << "done before it ever ran";
    device.features.Execute("Start");
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(5));
    EXPECT_EQ(device.features.ReadInteger("Start"), 0);
    device.port.Set(0, {0});
    device.features.Invalidate();
    EXPECT_EQ(device.features.ReadInteger("Start"), 1);
    device.features.Execute("Computed");
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(6));
    device.features.Execute("Blind");
    EXPECT_THAT(device.port.Get(1, 1), ElementsAre(1));
    EXPECT_EQ(device.features.ReadInteger("Blind"), 1) << "a register that cannot be read";
    EXPECT_EQ(FailureOf([&] { device.features.Execute("Six"); }),
              (Failure{"Six: an Integer is no Command", GC_ERR_ERROR}));
}

TEST(StringFeature, HasALiteralOrARegister)
{
    RegisterDevice device(Element("String", "Literal", "<Value>as it is</Value>") +
                          Element("String", "Name", "<pValue>Reg</pValue>") +
                          Register("StringReg", "Reg", 0, 8));
    EXPECT_EQ(device.features.ReadText("Literal"), "as it is");
    device.features.WriteText("Literal", "new");
    EXPECT_EQ(device.features.ReadText("Literal"), "new");
    device.features.WriteText("Name", "Front");
    EXPECT_EQ(device.features.ReadText("Name"), "Front");
    EXPECT_EQ(device.features.LimitsOf<int64_t>("Name").max, 8);
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Name"); }).text, "Name: a String has no number");
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Name", 1); }).text,
              "Name: a String takes no number");
}

TEST(LiteralFeature, LivesInACellThatOthersShare)
{
    RegisterDevice device(IntegerNode("Selector", "<Value>3</Value><Max>5</Max>") +
                          Element("IntSwissKnife", "Twice",
                                  "<pVariable Name=\"S\">Selector</pVariable><Formula>S * 2</Formula>"));
    auto &cells = device.features.Literals();
    EXPECT_EQ(cells.Read("Selector"), Number(int64_t{3}));
    cells.Set("Selector", int64_t{8});
    EXPECT_EQ(device.features.ReadInteger("Twice"), 16) << "the cell knows no limits";
    device.features.WriteInteger("Selector", 4);
    EXPECT_EQ(cells.Read("Selector"), Number(int64_t{4}));
    EXPECT_EQ(FailureOf([&] { cells.Set("Twice", int64_t{1}); }),
              (Failure{"no node Twice with a literal value", GC_ERR_ERROR}));
    EXPECT_THAT(device.port.reads, ElementsAre());
}

TEST(Features, OfNoValueSaySo)
{
    RegisterDevice device("<Category Name=\"Root\"/><Node Name=\"N\"/><Port Name=\"Device\"/>"
                          "<ConfRom Name=\"Rom\"/><TextDesc Name=\"Text\"/><IntKey Name=\"Key\"/>"
                          "<AdvFeatureLock Name=\"Lock\"/><SmartFeature Name=\"Smart\"/>");
    const std::pair<const char *, const char *> cases[] = {
        {"Root", "Root: not readable: a Category has no value"},
        {"N", "N: not readable: a Node has no value"},
        {"Device", "Device: not readable: a Port has no value"},
        {"Rom", "Rom: not readable: a ConfRom belongs to IEEE 1394, which is not supported"},
        {"Text", "Text: not readable: a TextDesc belongs to IEEE 1394, which is not supported"},
        {"Key", "Key: not readable: an IntKey belongs to IEEE 1394, which is not supported"},
        {"Lock", "Lock: not readable: an AdvFeatureLock belongs to IEEE 1394, which is not supported"},
        {"Smart", "Smart: not readable: a SmartFeature belongs to IEEE 1394, which is not supported"},
    };
    for (const auto &[name, text] : cases)
    {
        EXPECT_EQ(FailureOf([&, feature = name] { device.features.ReadInteger(feature); }),
                  (Failure{text, GC_ERR_ERROR}));
        EXPECT_EQ(FailureOf([&, feature = name] { device.features.WriteInteger(feature, 1); }).code,
                  GC_ERR_ACCESS_DENIED);
    }
}

} // namespace
} // namespace GenTL::internal::genapi
