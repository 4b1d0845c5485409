#include "nodemap/nodemap_parser.h"

#include "memory_port.h"
#include "support/decimal_comma.h"
#include "support/failure.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr auto registerElements = {"IntReg",       "FloatReg",  "StringReg",
                                   "MaskedIntReg", "StructReg", "Register"};
constexpr auto valueElements = {"Integer", "Float", "Enumeration", "Boolean", "Command"};

const std::string place = "<Address>0x10</Address><Length>4</Length>";

std::string Element(const std::string &type, const std::string &name, const std::string &content)
{
    return "<" + type + " Name=\"" + name + "\">" + content + "</" + type + ">";
}

TEST(NodeMapParserRegister, HasDefaults)
{
    const NodeMapParser parser(Description(Element("IntReg", "A", place)));
    ASSERT_TRUE(parser.IsValid());
    const auto &node = parser.FindNode("A");
    EXPECT_EQ(node.Name, "A");
    EXPECT_EQ(node.Address, 0x10U);
    EXPECT_EQ(node.Length, 4U);
    EXPECT_EQ(node.AccessMode, AccessMode::RW);
    EXPECT_EQ(node.Endianess, Endianess::Little);
    EXPECT_EQ(node.Sign, Sign::Signed);
    EXPECT_EQ(node.Type, "IntReg");
    EXPECT_EQ(node.pPort, "");
    EXPECT_EQ(static_cast<int>(node.AccessMode), 3);
    EXPECT_EQ(static_cast<int>(node.Endianess), 57005);
    EXPECT_EQ(static_cast<int>(node.Sign), 0);
}

TEST(NodeMapParserRegister, TakesWhatTheElementSays)
{
    const NodeMapParser parser(Description(
        Element("MaskedIntReg", "A",
                "<pIsImplemented>I</pIsImplemented><pIsAvailable>V</pIsAvailable><Address>256</Address>"
                "<Length>0x8</Length><AccessMode>RO</AccessMode><pPort>Device</pPort><LSB>4</LSB><MSB>7</MSB>"
                "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>")));
    const auto &node = parser.FindRegisterNode("A");
    EXPECT_EQ(node.Address, 256U);
    EXPECT_EQ(node.Length, 8U) << "a masked register is read over its whole length";
    EXPECT_EQ(node.AccessMode, AccessMode::RO);
    EXPECT_EQ(node.pPort, "Device");
    EXPECT_EQ(node.Sign, Sign::Unsigned);
    EXPECT_EQ(node.Endianess, Endianess::Big);
    EXPECT_EQ(node.pIsImplemented, "I");
    EXPECT_EQ(node.pIsAvailable, "V");
}

TEST(NodeMapParserRegister, IsFoundForEachElementAtAnyDepth)
{
    for (const std::string type : registerElements)
    {
        const auto name = type == "StructReg" ? std::string() : std::string("A");
        const NodeMapParser parser(
            Description("<Group><Group>" + Element(type, "A", place) + "</Group></Group>"));
        EXPECT_EQ(parser.FindNode(name).Type, type);
    }
}

TEST(NodeMapParserRegister, KnowsItsAccessModes)
{
    const auto accessOf = [](const std::string &text)
    {
        const NodeMapParser parser(
            Description(Element("IntReg", "A", place + "<AccessMode>" + text + "</AccessMode>")));
        return parser.FindNode("A").AccessMode;
    };
    EXPECT_EQ(accessOf("RW"), AccessMode::RW);
    EXPECT_EQ(accessOf(""), AccessMode::RW);
    EXPECT_EQ(accessOf("RO"), AccessMode::RO);
    EXPECT_EQ(accessOf("WO"), AccessMode::WO);
    EXPECT_EQ(FailureOf([&] { accessOf("RC"); }), (Failure{"Invalid access mode in XML: RC!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { accessOf("ro"); }), (Failure{"Invalid access mode in XML: ro!", GC_ERR_ERROR}));
}

TEST(NodeMapParserRegister, KnowsItsSigns)
{
    const auto signOf = [](const std::string &text)
    {
        const NodeMapParser parser(Description(Element("IntReg", "A", place + "<Sign>" + text + "</Sign>")));
        return parser.FindNode("A").Sign;
    };
    EXPECT_EQ(signOf("Signed"), Sign::Signed);
    EXPECT_EQ(signOf(""), Sign::Signed);
    EXPECT_EQ(signOf("Unsigned"), Sign::Unsigned);
    EXPECT_EQ(FailureOf([&] { signOf("unsigned"); }),
              (Failure{"Invalid sign value in XML: unsigned!", GC_ERR_ERROR}));
}

TEST(NodeMapParserRegister, IsBigEndianForThatWordOnly)
{
    for (const std::string text : {"bigendian", "Big", "LittleEndian", ""})
    {
        const NodeMapParser parser(
            Description(Element("IntReg", "A", place + "<Endianess>" + text + "</Endianess>")));
        EXPECT_EQ(parser.FindNode("A").Endianess, Endianess::Little) << text;
    }
}

TEST(NodeMapParserRegister, IsDroppedWithoutALiteralAddress)
{
    const NodeMapParser parser(
        Description(Element("IntReg", "A", "<pAddress>B</pAddress><Length>4</Length><Sign>nonsense</Sign>")));
    EXPECT_TRUE(parser.IsValid());
    EXPECT_FALSE(parser.HasNode("A"));
    EXPECT_EQ(FailureOf([&] { parser.FindNode("A"); }), (Failure{"Did not find node A!", GC_ERR_ERROR}));
}

TEST(NodeMapParserRegister, HasNoLengthWithoutALiteralOne)
{
    const NodeMapParser parser(
        Description(Element("IntReg", "A", "<Address>1</Address><pLength>B</pLength>")));
    EXPECT_EQ(parser.FindNode("A").Length, 0U);
}

TEST(NodeMapParserRegister, IsFoundByAddressTheLaterOneFirst)
{
    const NodeMapParser parser(Description(Element("IntReg", "A", place) + Element("IntReg", "B", place)));
    EXPECT_EQ(parser.TryFindNodeByAddress(0x10)->Name, "B");
    EXPECT_EQ(parser.FindNode("A").Name, "A");
    EXPECT_EQ(parser.FindNode("B").Name, "B");
    EXPECT_FALSE(parser.TryFindNodeByAddress(0x11));
}

TEST(NodeMapParserRegister, KeepsTheFirstOfAName)
{
    const NodeMapParser parser(Description(Element("IntReg", "A", "<Address>1</Address>") +
                                           Element("IntReg", "A", "<Address>2</Address>")));
    EXPECT_EQ(parser.FindRegisterNode("A").Address, 1U);
    EXPECT_EQ(parser.FindNode("A").Address, 1U);
    EXPECT_EQ(parser.TryFindNodeByAddress(2)->Name, "A");
}

TEST(NodeMapParserStruct, IsNamedByItsCommentAndUnsigned)
{
    const NodeMapParser parser(
        Description("<StructReg Name=\"N\" Comment=\"C\">" + place +
                    "<StructEntry Name=\"E\"><Bit>0x5</Bit></StructEntry></StructReg>"));
    EXPECT_FALSE(parser.HasNode("N"));
    EXPECT_EQ(parser.FindRegisterNode("C").Sign, Sign::Unsigned);
    const auto &entry = parser.FindStructEntry("E");
    EXPECT_EQ(entry.Name, "E");
    EXPECT_EQ(entry.Bit, 5U);
    EXPECT_EQ(entry.Register.Name, "C");
    EXPECT_EQ(entry.Register.Address, 0x10U);
    EXPECT_EQ(entry.Register.Sign, Sign::Unsigned);
}

TEST(NodeMapParserStruct, MayBeSigned)
{
    const NodeMapParser parser(
        Description("<StructReg Comment=\"C\">" + place + "<Sign>Signed</Sign></StructReg>"));
    EXPECT_EQ(parser.FindNode("C").Sign, Sign::Signed);
}

TEST(NodeMapParserStruct, WorksWithoutAComment)
{
    const NodeMapParser parser(Description("<StructReg>" + place +
                                           "<StructEntry Name=\"E\"><Bit>1</Bit></StructEntry></StructReg>"));
    EXPECT_EQ(FailureOf([&] { parser.FindRegisterNode(""); }), PlainFailure("Register Node  not found!"));
    EXPECT_EQ(parser.FindStructEntry("E").Register.Address, 0x10U);
    EXPECT_EQ(parser.GetNodeType("E"), GenNodeType::StructEntry);
}

TEST(NodeMapParserStruct, KeepsTheFirstEntryOfAName)
{
    const NodeMapParser parser(Description("<StructReg>" + place +
                                           "<StructEntry Name=\"E\"><Bit>1</Bit></StructEntry>"
                                           "<StructEntry Name=\"E\"><Bit>2</Bit></StructEntry></StructReg>"));
    EXPECT_EQ(parser.FindStructEntry("E").Bit, 1U);
}

TEST(NodeMapParserFormula, HasVariablesConstantsAndFormula)
{
    const std::string content = "<pVariable Name=\"X\">XReg</pVariable><pVariable Name=\"Y\">YReg</pVariable>"
                                "<Constant Name=\"C\">2.5</Constant><Formula>F</Formula>"
                                "<FormulaTo>T</FormulaTo><FormulaFrom>From</FormulaFrom><pValue>V</pValue>";
    for (const std::string type : {"SwissKnife", "IntSwissKnife", "Converter", "IntConverter"})
    {
        const bool isConverter = type.find("Converter") != std::string::npos;
        const NodeMapParser parser(Description(Element(type, "K", content)));
        const auto &record = parser.FindConverter("K");
        EXPECT_THAT(record.Variables, UnorderedElementsAre(Pair("X", "XReg"), Pair("Y", "YReg")));
        EXPECT_THAT(record.Constants, UnorderedElementsAre(Pair("C", 2.5)));
        EXPECT_EQ(record.Formula, isConverter ? "From" : "F");
        EXPECT_EQ(record.pValue, isConverter ? "V" : "");
        EXPECT_TRUE(parser.TryFindConverter("K"));
        EXPECT_FALSE(parser.HasNode("K")) << "formulas are no nodes";
    }
}

TEST(NodeMapParserFormula, HasADecimalPointInEveryLocale)
{
    const DecimalComma locale;
    const NodeMapParser parser(Description(Element("SwissKnife", "K", "<Constant Name=\"C\">2.5</Constant>") +
                                           Element("Float", "F", "<Min>2.5</Min>")));
    EXPECT_EQ(parser.FindConverter("K").Constants.at("C"), 2.5);
    EXPECT_EQ(std::get<double>(parser.FindNode("F").Min->Value), 2.5);
}

TEST(NodeMapParserFormula, KeepsTheFirstOfAName)
{
    const NodeMapParser parser(Description(Element("SwissKnife", "K", "<Formula>1</Formula>") +
                                           Element("Converter", "K", "<FormulaFrom>2</FormulaFrom>")));
    EXPECT_EQ(parser.FindConverter("K").Formula, "1");
}

TEST(NodeMapParserValue, IsReadFromEachValueElement)
{
    for (const std::string type : valueElements)
    {
        const NodeMapParser parser(Description("<Group>" + Element(type, "A", "") + "</Group>"));
        const auto &node = parser.FindInterfaceNode("A");
        EXPECT_EQ(node.Type, type);
        EXPECT_EQ(node.Address, 0U);
        EXPECT_EQ(node.Length, 0U);
        EXPECT_EQ(node.AccessMode, AccessMode::None);
        EXPECT_EQ(node.Endianess, Endianess::Little);
    }
}

TEST(NodeMapParserValue, CarriesTheRegisterOfItsPValue)
{
    // The register follows the value node in the document.
    const NodeMapParser parser(
        Description(Element("Integer", "A", "<pValue>AReg</pValue>") +
                    Element("IntReg", "AReg",
                            place + "<AccessMode>WO</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
                                    "<Endianess>BigEndian</Endianess><pIsAvailable>V</pIsAvailable>"
                                    "<pIsImplemented>I</pIsImplemented>")));
    const auto &node = parser.FindInterfaceNode("A");
    EXPECT_EQ(node.Name, "A");
    EXPECT_EQ(node.Type, "Integer");
    EXPECT_EQ(node.Address, 0x10U);
    EXPECT_EQ(node.Length, 4U);
    EXPECT_EQ(node.AccessMode, AccessMode::WO);
    EXPECT_EQ(node.Endianess, Endianess::Big);
    EXPECT_EQ(node.Sign, Sign::Unsigned);
    EXPECT_EQ(node.pPort, "Device");
    EXPECT_EQ(node.pValue, "AReg");
    EXPECT_EQ(node.pIsAvailable, "V") << "inherited";
    EXPECT_EQ(node.pIsImplemented, "I") << "inherited";
}

TEST(NodeMapParserValue, ReplacesTheConditionsOfItsRegister)
{
    const NodeMapParser parser(Description(
        Element("IntReg", "AReg",
                place + "<pIsAvailable>V</pIsAvailable><pIsImplemented>I</pIsImplemented>") +
        Element("Integer", "A",
                "<pIsImplemented>I2</pIsImplemented><pIsAvailable>V2</pIsAvailable><pValue>AReg</pValue>")));
    EXPECT_EQ(parser.FindInterfaceNode("A").pIsAvailable, "V2");
    EXPECT_EQ(parser.FindInterfaceNode("A").pIsImplemented, "I2");
    EXPECT_EQ(parser.FindRegisterNode("AReg").pIsAvailable, "V");
}

TEST(NodeMapParserValue, FindsItsRegisterByAVariableOfAFormula)
{
    const NodeMapParser parser(Description(
        Element("IntReg", "AReg", place) +
        Element("SwissKnife", "K", "<pVariable Name=\"VAR\">AReg</pVariable><Formula>VAR</Formula>") +
        Element("Integer", "A", "<pValue>VAR</pValue>")));
    EXPECT_EQ(parser.FindInterfaceNode("A").Address, 0x10U);
    EXPECT_EQ(parser.FindInterfaceNode("A").pValue, "VAR");
}

TEST(NodeMapParserValue, HasNoAddressBehindAFormula)
{
    const NodeMapParser parser(Description(
        Element("IntReg", "AReg", place) +
        Element("IntSwissKnife", "K", "<pVariable Name=\"X\">AReg</pVariable><Formula>X</Formula>") +
        Element("Integer", "A", "<pValue>K</pValue>")));
    EXPECT_EQ(parser.FindInterfaceNode("A").Address, 0U);
    EXPECT_EQ(parser.FindInterfaceNode("A").pValue, "K");
}

TEST(NodeMapParserValue, HasIntegerLiteralsInAnIntegerOnly)
{
    const std::string content = "<Min>0x10</Min><Max>20</Max><Inc>-2</Inc><Value>7</Value>";
    for (const std::string type : valueElements)
    {
        const NodeMapParser parser(Description(Element(type, "A", content)));
        const auto &node = parser.FindInterfaceNode("A");
        for (const auto &[bound, value] :
             {std::pair{node.Min, 16}, {node.Max, 20}, {node.Inc, -2}, {node.Value, 7}})
        {
            ASSERT_TRUE(bound);
            EXPECT_FALSE(bound->IsReference);
            if (type == "Integer")
            {
                EXPECT_EQ(std::get<int64_t>(bound->Value), value);
            }
            else
            {
                EXPECT_EQ(std::get<double>(bound->Value), value) << type;
            }
        }
    }
}

TEST(NodeMapParserValue, HasNoBoundsWithoutElements)
{
    const NodeMapParser parser(Description(Element("Integer", "A", "")));
    const auto &node = parser.FindInterfaceNode("A");
    EXPECT_FALSE(node.Min || node.Max || node.Inc || node.Value);
}

TEST(NodeMapParserValue, PrefersALiteralToAReference)
{
    const NodeMapParser parser(Description(Element("Integer", "A", "<pMin>B</pMin><Min>3</Min>")));
    EXPECT_EQ(std::get<int64_t>(parser.FindInterfaceNode("A").Min->Value), 3);
}

TEST(NodeMapParserValue, KnowsWhichReferencesWereThereAlready)
{
    const NodeMapParser parser(Description(Element("Integer", "Early", "") +
                                           Element("Integer", "A",
                                                   "<pMin>Late</pMin><pMax>AReg</pMax><pInc>Early</pInc>"
                                                   "<pValue>K</pValue>") +
                                           Element("Integer", "Late", "") + Element("IntReg", "AReg", place) +
                                           Element("SwissKnife", "K", "<Formula>1</Formula>")));
    const auto &node = parser.FindInterfaceNode("A");
    EXPECT_TRUE(node.Min->IsReference && node.Max->IsReference && node.Inc->IsReference &&
                node.Value->IsReference);
    EXPECT_EQ(std::get<std::string>(node.Min->Value), "Late");
    EXPECT_EQ(std::get<VectorPtr>(node.Max->Value)->Name, "AReg");
    EXPECT_EQ(std::get<VectorPtr>(node.Inc->Value)->Name, "Early");
    EXPECT_EQ(std::get<std::string>(node.Value->Value), "K");
}

TEST(NodeMapParserValue, KeepsTheOrderOfEntriesAndReferences)
{
    const NodeMapParser parser(Description(
        Element("Enumeration", "A",
                "<pInvalidator>I1</pInvalidator><pInvalidator>I2</pInvalidator>"
                "<EnumEntry Name=\"On\"><pIsImplemented>X</pIsImplemented><pIsAvailable>Y</pIsAvailable>"
                "<Value>0x10</Value></EnumEntry><EnumEntry Name=\"Off\"><Value>-1</Value></EnumEntry>"
                "<pSelected>S2</pSelected><pSelected>S1</pSelected>")));
    const auto &node = parser.FindInterfaceNode("A");
    EXPECT_THAT(node.pInvalidator, ElementsAre("I1", "I2"));
    EXPECT_THAT(node.pSelected, ElementsAre("S2", "S1"));
    ASSERT_EQ(node.EnumEntries.size(), 2U);
    EXPECT_EQ(node.EnumEntries[0].Name, "On");
    EXPECT_EQ(std::get<int64_t>(node.EnumEntries[0].Value), 16);
    EXPECT_EQ(node.EnumEntries[0].pIsImplemented, "X");
    EXPECT_EQ(node.EnumEntries[0].pIsAvailable, "Y");
    EXPECT_EQ(node.EnumEntries[1].Name, "Off");
    EXPECT_EQ(std::get<int64_t>(node.EnumEntries[1].Value), -1);
}

TEST(NodeMapParserCategory, ListsFeaturesOfTheFirstOfAName)
{
    const NodeMapParser parser(Description(
        Element("Category", "Root", "<pFeature>B</pFeature><pFeature>A</pFeature>") +
        Element("Category", "Root", "<pFeature>C</pFeature>") + Element("Category", "Empty", "")));
    EXPECT_THAT(parser.GetCategoryFeatures("Root"), ElementsAre("B", "A"));
    EXPECT_THAT(parser.GetCategoryFeatures("Empty"), IsEmpty());
}

TEST(NodeMapParserNodeType, IsDecidedByTheNameAmongNodes)
{
    const NodeMapParser parser(
        Description(Element("Integer", "RegionSelector", "") + Element("IntReg", "Width", place) +
                    Element("SwissKnife", "KnifeReg", "<Formula>1</Formula>") + "<StructReg>" + place +
                    "<StructEntry Name=\"E\"><Bit>1</Bit></StructEntry></StructReg>" +
                    Element("SwissKnife", "Width", "<Formula>1</Formula>") + "<StructReg>" + place +
                    "<StructEntry Name=\"Width\"><Bit>1</Bit></StructEntry>"
                    "<StructEntry Name=\"KnifeReg\"><Bit>1</Bit></StructEntry></StructReg>"));
    EXPECT_EQ(parser.GetNodeType("RegionSelector"), GenNodeType::Register);
    EXPECT_EQ(parser.GetNodeType("Width"), GenNodeType::Interface);
    EXPECT_EQ(parser.GetNodeType("KnifeReg"), GenNodeType::Converter);
    EXPECT_EQ(parser.GetNodeType("E"), GenNodeType::StructEntry);
    EXPECT_EQ(parser.GetNodeType("Nowhere"), GenNodeType::Unknown);
}

TEST(NodeMapParserLookup, FailsWithTheNameAndTheKind)
{
    const NodeMapParser parser(Description(""));
    EXPECT_TRUE(parser.IsValid());
    EXPECT_EQ(FailureOf([&] { parser.FindNode("N"); }), (Failure{"Did not find node N!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { parser.FindRegisterNode("N"); }), PlainFailure("Register Node N not found!"));
    EXPECT_EQ(FailureOf([&] { parser.FindInterfaceNode("N"); }), PlainFailure("Interface Node N not found!"));
    EXPECT_EQ(FailureOf([&] { parser.FindFeatureNode("N"); }), PlainFailure("Interface Node N not found!"));
    EXPECT_EQ(FailureOf([&] { parser.FindConverter("N"); }), PlainFailure("Converter N not found!"));
    EXPECT_EQ(FailureOf([&] { parser.FindStructEntry("N"); }), PlainFailure("StructEntry N not found!"));
    EXPECT_EQ(FailureOf([&] { parser.GetCategoryFeatures("N"); }), PlainFailure("Category N not found!"));
    EXPECT_FALSE(parser.TryFindNode("N"));
    EXPECT_FALSE(parser.HasNode("N"));
    EXPECT_FALSE(parser.TryFindConverter("N"));
}

TEST(NodeMapParserLookup, FindsAFeatureAsValueNodeOrElseAsRegister)
{
    const NodeMapParser parser(Description(Element("StringReg", "Text", place) +
                                           Element("IntReg", "Both", "<Address>1</Address>") +
                                           Element("Integer", "Both", "")));
    EXPECT_EQ(parser.FindFeatureNode("Text").Type, "StringReg");
    EXPECT_EQ(parser.FindFeatureNode("Both").Type, "Integer");
    EXPECT_EQ(FailureOf([&] { parser.FindInterfaceNode("Text"); }),
              PlainFailure("Interface Node Text not found!"));
    EXPECT_EQ(FailureOf([&] { parser.FindRegisterNode("Nothing"); }),
              PlainFailure("Register Node Nothing not found!"));
}

TEST(VectorPtr, FailsWithoutAParserAndBehindTheEnd)
{
    const NodeMapParser parser(Description(Element("Integer", "A", "")));
    EXPECT_EQ(FailureOf([] { *VectorPtr(); }), PlainFailure("Cannot dereference invalid VectorPtr"));
    EXPECT_THROW(*VectorPtr(&parser, 1), std::out_of_range);
    EXPECT_EQ(VectorPtr(&parser, 0)->Name, "A");
}

TEST(NodeMapParserDocument, IsInvalidWhenItIsNoXml)
{
    const LogCapture log;
    const std::string text = "0123456789<abcdefghi jklmnopqrstuvwxyz0123456789ABCDEF";
    const NodeMapParser parser(text);
    EXPECT_FALSE(parser.IsValid());
    EXPECT_FALSE(parser.HasNode("A"));
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::StartsWith("error: Could not load xml at offset "));
    EXPECT_EQ(lines[1], "error: Parsing of XML file failed!");
    // The excerpt: at most 20 bytes on each side.
    const auto begin = lines[0].find("!\n...") + 5;
    const auto excerpt = lines[0].substr(begin, lines[0].size() - 3 - begin);
    EXPECT_LE(excerpt.size(), 40U);
    EXPECT_FALSE(excerpt.empty());
    EXPECT_THAT(text, HasSubstr(excerpt));
}

TEST(NodeMapParserDocument, LogsTheOffsetTheReasonAndTheExcerpt)
{
    const LogCapture log;
    const NodeMapParser parser(
        "<RegisterDescription><abcdefghijklmno></wrong><pqrstuvwxyz/></RegisterDescription>");
    EXPECT_FALSE(parser.IsValid());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Could not load xml at offset 40: Start-end tags mismatch!\n"
                                         "...><abcdefghijklmno></wrong><pqrstuvwxyz/>...",
                                         "error: Parsing of XML file failed!"));
}

TEST(NodeMapParserDocument, IsInvalidWithoutItsRoot)
{
    const LogCapture log;
    EXPECT_FALSE(NodeMapParser("<Other/>").IsValid());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Parsing of XML file failed!"));
}

TEST(NodeMapParserDocument, IsInvalidWhenItIsEmpty)
{
    const LogCapture log;
    EXPECT_FALSE(NodeMapParser(std::string_view()).IsValid());
    EXPECT_FALSE(NodeMapParser("").IsValid());
    EXPECT_FALSE(NodeMapParser(std::string_view("\0\0\0\0", 4)).IsValid());
}

TEST(NodeMapParserDocument, SurvivesBeingTornAnywhere)
{
    const LogCapture log;
    const auto whole =
        Description(Element("IntReg", "AReg", place) +
                    Element("SwissKnife", "K", "<pVariable Name=\"X\">AReg</pVariable>") +
                    Element("Enumeration", "A",
                            "<EnumEntry Name=\"E\"><Value>1</Value></EnumEntry><pValue>AReg</pValue>"));
    for (size_t length = 0; length < whole.size(); ++length)
    {
        EXPECT_FALSE(NodeMapParser(std::string_view(whole).substr(0, length)).IsValid()) << length;
    }
    EXPECT_TRUE(NodeMapParser(whole).IsValid());
}

TEST(NodeMapParserDocument, MayBeNestedWithoutEnd)
{
    constexpr size_t depth = 200000;
    std::string text;
    for (size_t i = 0; i < depth; ++i)
    {
        text += "<Group>";
    }
    text += Element("IntReg", "A", place);
    for (size_t i = 0; i < depth; ++i)
    {
        text += "</Group>";
    }
    const NodeMapParser parser(Description(text));
    EXPECT_TRUE(parser.IsValid());
    EXPECT_TRUE(parser.HasNode("A"));
}

TEST(NodeMapParserDocument, TakesNumbersOfAllSizes)
{
    const NodeMapParser parser(Description(
        Element("IntReg", "Top", "<Address>0xFFFFFFFFFFFFFFFF</Address><Length>4</Length>") +
        Element("IntReg", "Text", "<Address>four</Address><Length/>") +
        Element("Integer", "I", "<Min>-9223372036854775808</Min><Max>9223372036854775807</Max>")));
    EXPECT_EQ(parser.FindNode("Top").Address, std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(parser.FindNode("Text").Address, 0U);
    EXPECT_EQ(parser.FindNode("Text").Length, 0U);
    EXPECT_EQ(std::get<int64_t>(parser.FindNode("I").Min->Value), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(std::get<int64_t>(parser.FindNode("I").Max->Value), std::numeric_limits<int64_t>::max());
}

TEST(NodeMapParserDocument, IgnoresWhatItDoesNotKnow)
{
    const NodeMapParser parser(
        Description(Element("Port", "P", "") + Element("IntKey", "K", place) +
                    Element("Integer", "A", "<Visibility>x</Visibility><pIsLocked>L</pIsLocked>")));
    EXPECT_TRUE(parser.IsValid());
    EXPECT_FALSE(parser.HasNode("P"));
    EXPECT_FALSE(parser.HasNode("K"));
    EXPECT_TRUE(parser.HasNode("A"));
}

} // namespace
} // namespace GenTL::internal::nodemap
