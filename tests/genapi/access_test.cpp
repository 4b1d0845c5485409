#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

/// A register of one byte with the given access mode.
std::string RegisterWithMode(const std::string &name, const std::string &mode, const std::string &more = {})
{
    return Element("IntReg", name,
                   "<Address>0</Address><Length>1</Length>" +
                       (mode.empty() ? std::string() : "<AccessMode>" + mode + "</AccessMode>") + more);
}

const std::string conditions =
    IntegerNode("Yes", "<Value>1</Value>") + IntegerNode("No", "<Value>0</Value>") +
    IntegerNode("Minus", "<Value>-1</Value>") + Element("SwissKnife", "Small", "<Formula>0.25</Formula>") +
    Element("Boolean", "False", "<Value>5</Value>") + Element("String", "Text", "<Value>1</Value>");

struct AccessCase
{
    std::string nodes;
    /// i implemented, a available, l locked, r readable, w writable.
    std::string access;
    std::string cause;
};

std::string Letters(const Access &access)
{
    return std::string(access.implemented ? "i" : "-") + (access.available ? "a" : "-") +
           (access.locked ? "l" : "-") + (access.readable ? "r" : "-") + (access.writable ? "w" : "-");
}

void ExpectAccess(const AccessCase &row)
{
    RegisterDevice device(conditions + row.nodes);
    const auto access = device.features.AccessOf("F");
    EXPECT_EQ(Letters(access), row.access) << row.nodes;
    EXPECT_EQ(access.cause, row.cause) << row.nodes;
}

void ExpectAccesses(std::span<const AccessCase> rows)
{
    for (const auto &row : rows)
    {
        ExpectAccess(row);
    }
}

TEST(AccessOf, CombinesTheModesOfTheChain)
{
    const auto feature = [](const std::string &mode)
    {
        return IntegerNode("F", (mode.empty() ? "" : "<ImposedAccessMode>" + mode + "</ImposedAccessMode>") +
                                    std::string("<pValue>Reg</pValue>"));
    };
    const AccessCase cases[] = {
        {feature("") + RegisterWithMode("Reg", "RW"), "ia-rw", ""},
        {feature("") + RegisterWithMode("Reg", "RO"), "ia-r-", "Reg: its AccessMode is RO"},
        {feature("") + RegisterWithMode("Reg", "WO"), "ia--w", "Reg: its AccessMode is WO"},
        {feature("") + RegisterWithMode("Reg", ""), "ia-r-", "Reg: its AccessMode is RO"},
        {feature("RO") + RegisterWithMode("Reg", "RW"), "ia-r-", "its ImposedAccessMode is RO"},
        {feature("WO") + RegisterWithMode("Reg", "RW"), "ia--w", "its ImposedAccessMode is WO"},
        {feature("RW") + RegisterWithMode("Reg", "RO"), "ia-r-", "Reg: its AccessMode is RO"},
        {feature("RO") + RegisterWithMode("Reg", "WO"), "ia---", "its ImposedAccessMode is RO"},
        {feature("") + RegisterWithMode("Reg", "RW", "<ImposedAccessMode>RO</ImposedAccessMode>"), "ia-r-",
         "Reg: its ImposedAccessMode is RO"},
        {IntegerNode("F", "<Value>1</Value>"), "ia-rw", ""},
        {IntegerNode("F", "<pValue>K</pValue>") + Element("IntSwissKnife", "K", "<Formula>1</Formula>"),
         "ia-r-", "K: an IntSwissKnife cannot be written"},
        {IntegerNode("F", "<pValue>C</pValue>") +
             Element("Converter", "C",
                     "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Reg</pValue>") +
             RegisterWithMode("Reg", "RO"),
         "ia-r-", "C: Reg: its AccessMode is RO"},
        {IntegerNode("F", "<pIndex>Yes</pIndex><pValueIndexed "
                          "Index=\"1\">Reg</pValueIndexed><ValueDefault>0</ValueDefault>") +
             RegisterWithMode("Reg", "RO"),
         "ia-r-", "Reg: its AccessMode is RO"},
        {"<Category Name=\"F\"/>", "ia---", "a Category has no value"},
    };
    ExpectAccesses(cases);
}

TEST(AccessOf, KnowsTheModesOfWhatIsNotThere)
{
    ExpectAccess({IntegerNode("F", "<ImposedAccessMode>NI</ImposedAccessMode><Value>1</Value>"), "-----",
                  "its ImposedAccessMode is NI"});
    ExpectAccess({IntegerNode("F", "<ImposedAccessMode>NA</ImposedAccessMode><Value>1</Value>"), "i----",
                  "its ImposedAccessMode is NA"});
    RegisterDevice device(
        Element("Enumeration", "E",
                "<EnumEntry Name=\"A\"><ImposedAccessMode>NI</ImposedAccessMode><Value>1</Value>"
                "</EnumEntry><Value>1</Value>"));
    EXPECT_THAT(device.features.EntriesOf("E"), ElementsAre(Entry{"A", 1, false, false}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("E", 1); }).code, GC_ERR_INVALID_VALUE);
}

TEST(AccessOf, EvaluatesConditions)
{
    const auto feature = [](const std::string &condition)
    { return IntegerNode("F", condition + "<Value>1</Value>"); };
    const AccessCase cases[] = {
        {feature("<pIsAvailable>Yes</pIsAvailable>"), "ia-rw", ""},
        {feature("<pIsAvailable>No</pIsAvailable>"), "i----", "pIsAvailable No is 0"},
        {feature("<pIsAvailable>Minus</pIsAvailable>"), "ia-rw", ""},
        {feature("<pIsAvailable>Small</pIsAvailable>"), "ia-rw", ""},
        {feature("<pIsAvailable>False</pIsAvailable>"), "i----", "pIsAvailable False is 0"},
        {feature("<pIsImplemented>No</pIsImplemented>"), "-----", "pIsImplemented No is 0"},
        {feature("<pIsLocked>Yes</pIsLocked>"), "ialr-", "pIsLocked Yes is true"},
        {feature("<pIsLocked>No</pIsLocked>"), "ia-rw", ""},
        {feature("<pIsAvailable>Gone</pIsAvailable>"), "i----",
         "no node Gone, which F names as pIsAvailable"},
        {feature("<pIsImplemented>Gone</pIsImplemented>"), "-----",
         "no node Gone, which F names as pIsImplemented"},
        {feature("<pIsLocked>Gone</pIsLocked>"), "ia-rw", "no node Gone, which F names as pIsLocked"},
        {feature("<pIsAvailable>Text</pIsAvailable>"), "i----", "F: F -> Text: a String has no number"},
        {IntegerNode("F", "<pValue>Reg</pValue>") +
             RegisterWithMode("Reg", "RW", "<pIsAvailable>No</pIsAvailable>"),
         "i----", "Reg: pIsAvailable No is 0"},
        {IntegerNode("F", "<pValue>Reg</pValue>") +
             RegisterWithMode("Reg", "RW", "<pIsLocked>Yes</pIsLocked>"),
         "ialr-", "Reg: pIsLocked Yes is true"},
        {"<StructReg><Address>0</Address><Length>1</Length><AccessMode>RW</AccessMode>"
         "<pIsAvailable>No</pIsAvailable><StructEntry Name=\"F\"><Bit>0</Bit></StructEntry></StructReg>",
         "i----", "pIsAvailable No is 0"},
    };
    ExpectAccesses(cases);
}

TEST(AccessOf, ThrowsNothing)
{
    const AccessCase cases[] = {
        {"", "-----", "no node F"},
        {IntegerNode("F", "<pValue>Gone</pValue>"), "i----", "F: no node Gone, which F names as pValue"},
        {IntegerNode("F", "<pValue>G</pValue>") + IntegerNode("G", "<pValue>F</pValue>"), "i----",
         "F depends on itself: F -> G -> F"},
        {IntegerNode("F", "<pIsAvailable>F</pIsAvailable><Value>1</Value>"), "i----",
         "F: not available: F depends on itself: F -> F"},
    };
    ExpectAccesses(cases);
}

TEST(AccessOf, KeepsTheCauseOfAFailingPort)
{
    RegisterDevice device(IntegerNode("F", "<pIsAvailable>Reg</pIsAvailable><Value>1</Value>") +
                          RegisterWithMode("Reg", "RW"));
    device.port.failingAddress = 0;
    const auto access = device.features.AccessOf("F");
    EXPECT_EQ(Letters(access), "i----");
    EXPECT_EQ(access.cause, "F: F -> Reg: port read of 1 bytes at 0x0 failed: no answer (-1011)");
}

TEST(Conditions, AreAskedBeforeAValueIsRead)
{
    RegisterDevice device(conditions +
                          IntegerNode("F", "<pIsAvailable>No</pIsAvailable><pValue>Reg</pValue>") +
                          RegisterWithMode("Reg", "RW") +
                          IntegerNode("G", "<pIsImplemented>No</pIsImplemented><Value>1</Value>") +
                          IntegerNode("L", "<pIsLocked>Yes</pIsLocked><Value>1</Value>"));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("F"); }),
              (Failure{"F: not available: pIsAvailable No is 0", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("G"); }),
              (Failure{"G: not implemented: pIsImplemented No is 0", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("F", 1); }),
              (Failure{"F: not available: pIsAvailable No is 0", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(device.features.ReadInteger("L"), 1);
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("L", 1); }),
              (Failure{"L: not writable: pIsLocked Yes is true", GC_ERR_ACCESS_DENIED}));
    EXPECT_THAT(device.port.reads, ElementsAre());
    EXPECT_THAT(device.port.writes, ElementsAre());
}

TEST(Conditions, OfManyEntriesAreAskedOncePerPass)
{
    std::string entries;
    for (int i = 0; i < 30; ++i)
    {
        entries += Element("EnumEntry", "E" + std::to_string(i),
                           "<pIsAvailable>Reg</pIsAvailable><Value>" + std::to_string(i) + "</Value>");
    }
    RegisterDevice device(Element("Enumeration", "E", entries + "<Value>0</Value>") +
                          RegisterWithMode("Reg", "RW", "<Cachable>NoCache</Cachable>"));
    device.features.EntriesOf("E");
    EXPECT_EQ(device.port.reads.size(), 1U);
    device.port.failingAddress = 0;
    EXPECT_FALSE(device.features.EntriesOf("E").at(29).available);
    EXPECT_EQ(device.port.reads.size(), 2U) << "a failure is not asked for again, either";
}

TEST(IsTrue, IsAnyValueButZero)
{
    RegisterDevice device(conditions);
    EXPECT_TRUE(IsTrue(device.features, "Yes"));
    EXPECT_TRUE(IsTrue(device.features, "Minus"));
    EXPECT_TRUE(IsTrue(device.features, "Small"));
    EXPECT_FALSE(IsTrue(device.features, "No"));
    EXPECT_FALSE(IsTrue(device.features, "Gone"));
    EXPECT_EQ(FailureOf([&] { IsTrue(device.features, "Text"); }).text, "Text: a String has no number");
}

TEST(PortOfChunksOrEvents, MakesItsRegistersUnavailable)
{
    const std::string cases[][2] = {
        {"<Port Name=\"P\"><ChunkID>1F</ChunkID></Port>", "its port P stands for chunks of a frame"},
        {"<Port Name=\"P\"><pChunkID>Id</pChunkID></Port>", "its port P stands for chunks of a frame"},
        {"<Port Name=\"P\"><EventID>9001</EventID></Port>", "its port P stands for an event"},
    };
    for (const auto &[port, cause] : cases)
    {
        RegisterDevice device(port + IntegerNode("F", "<pValue>Reg</pValue>") +
                              RegisterWithMode("Reg", "RW", "<pPort>P</pPort>"));
        EXPECT_EQ(Letters(device.features.AccessOf("F")), "i----");
        EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("F"); }),
                  (Failure{"F: F -> Reg: not available: " + cause, GC_ERR_ERROR}));
        EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("F", 1); }),
                  (Failure{"F: F -> Reg: not available: " + cause, GC_ERR_ACCESS_DENIED}));
        EXPECT_THAT(device.port.reads, ElementsAre());
    }
}

} // namespace
} // namespace GenTL::internal::genapi
