#include "edited_fixture.h"

#include "remote/register_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace edited;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto mono12p = 0x010C0047;
constexpr auto mono12 = 0x01100005;

std::string PackedCamera(const std::string &more = "")
{
    return DescriptionOf(PixelFormatNode(EntryNode("Mono12p", mono12p)) + more);
}

/// All names of nodes in a document, with their count. Entries of enumerations have no name of a node.
std::map<std::string, int> NamesIn(const Parsed &document)
{
    std::map<std::string, int> names;
    for (genapi::NodeId id = 0; id < document.graph->Size(); ++id)
    {
        const auto &node = (*document.graph)[id];
        if (!node.name.empty() && node.kind != genapi::NodeKind::EnumEntry)
        {
            ++names[std::string(node.name)];
        }
    }
    return names;
}

TEST(DescriptionEditor, GivesTheDevicesDocumentWithoutAPort)
{
    const Edit edit(Fixture("port_missing"));
    EXPECT_EQ(edit.result.document, Fixture("port_missing"));
    EXPECT_THAT(edit.result.registers, IsEmpty());
}

TEST(DescriptionEditor, GivesTheDevicesDocumentWithoutAFreeWindow)
{
    const Parsed device(PackedCamera());
    auto document = device.Device();
    document.range = {0, ~uint64_t{0}};
    EXPECT_EQ(DescriptionEditor(document, UsualConversions()).Edit().document, device.text);
}

TEST(DescriptionEditor, MovesTheDevicesFormatAside)
{
    const Edit edit(DescriptionOf(
        PixelFormatNode(EntryNode("Mono8", 0x01080001) + EntryNode("Mono12p", mono12p),
                        "<ToolTip>a &lt; b</ToolTip><DisplayName>Pixel Format</DisplayName>"
                        "<pIsLocked>Lock</pIsLocked><pError>E</pError><Streamable>Yes</Streamable>")));
    EXPECT_EQ(NodeText(edit.consumer, "DevicePixelFormat"),
              "<Enumeration Name=\"DevicePixelFormat\"><ToolTip>a &lt; b</ToolTip>"
              "<DisplayName>Device Pixel Format</DisplayName><pIsLocked>Lock</pIsLocked>"
              "<ImposedAccessMode>RO</ImposedAccessMode><pError>E</pError><Streamable>No</Streamable>"
              "<EnumEntry Name=\"Mono8\"><Value>17301505</Value></EnumEntry>"
              "<EnumEntry Name=\"Mono12p\"><Value>17563719</Value></EnumEntry>"
              "<pValue>PixelFormatReg</pValue></Enumeration>");
    EXPECT_EQ(NodeText(edit.consumer, "PixelFormat"),
              "<Enumeration Name=\"PixelFormat\"><ToolTip>a &lt; b</ToolTip>"
              "<DisplayName>Pixel Format</DisplayName><pIsLocked>Lock</pIsLocked><pError>E</pError>"
              "<Streamable>Yes</Streamable>"
              "<EnumEntry Name=\"Mono8\"><Value>17301505</Value></EnumEntry>"
              "<EnumEntry Name=\"Mono12p\"><Value>17563719</Value></EnumEntry>"
              "<EnumEntry Name=\"Mono12\"><ToolTip>Unpacked from Mono12p.</ToolTip>"
              "<DisplayName>Mono12</DisplayName><pIsImplemented>QvrAnyMono12Implemented</pIsImplemented>"
              "<pIsAvailable>QvrAnyMono12Available</pIsAvailable><Value>17825797</Value></EnumEntry>"
              "<pValue>QvrAnyPixelFormatValue</pValue></Enumeration>");
}

TEST(DescriptionEditor, PlacesRegistersBehindTheDocument)
{
    const Edit edit(PackedCamera());
    const auto first = edit.result.base + RegisterWindow::RegistersOffset(edit.result.document.size());
    EXPECT_EQ(edit.result.base, 0x7151'0000'0000'0000U);
    EXPECT_EQ(NodeText(edit.consumer, "QvrAnyPixelFormatValue"),
              fmt::format("<IntReg Name=\"QvrAnyPixelFormatValue\"><Visibility>Invisible</Visibility>"
                          "<Address>0x{:016X}</Address><Length>8</Length><AccessMode>RW</AccessMode>"
                          "<pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Signed</Sign>"
                          "<Endianess>LittleEndian</Endianess></IntReg>",
                          first));
    std::vector<std::string> nodes;
    for (const auto &entry : edit.result.registers)
    {
        EXPECT_THAT(NodeText(edit.consumer, entry.node),
                    HasSubstr(fmt::format("<Address>0x{:016X}<", first + 8 * nodes.size())));
        nodes.push_back(entry.node);
    }
    EXPECT_THAT(nodes, ElementsAre("QvrAnyPixelFormatValue", "QvrAnyMono12Implemented",
                                   "QvrAnyMono12Available", "QvrAnyPayloadSizeValue"));
}

TEST(DescriptionEditor, GivesConditionsOfItsOwnToAMadeEntry)
{
    const Edit edit(DescriptionOf(PixelFormatNode(
        EntryNode("Mono12", mono12,
                  "<ToolTip>t</ToolTip><pIsImplemented>I</pIsImplemented><pIsAvailable>A</pIsAvailable>"
                  "<pIsLocked>L</pIsLocked>") +
        EntryNode("Mono12p", mono12p, "<pIsAvailable>A</pIsAvailable>"))));
    const auto format = NodeText(edit.consumer, "PixelFormat");
    EXPECT_THAT(format, HasSubstr("<EnumEntry Name=\"Mono12\"><ToolTip>t</ToolTip>"
                                  "<pIsImplemented>QvrAnyMono12Implemented</pIsImplemented>"
                                  "<pIsAvailable>QvrAnyMono12Available</pIsAvailable><pIsLocked>L</pIsLocked>"
                                  "<Value>17825797</Value></EnumEntry>"));
    EXPECT_THAT(format, HasSubstr("<EnumEntry Name=\"Mono12p\"><pIsAvailable>A</pIsAvailable>"));
    EXPECT_THAT(NodeText(edit.consumer, "DevicePixelFormat"),
                HasSubstr("<pIsImplemented>I</pIsImplemented>"));
}

TEST(DescriptionEditor, AddsTheSwitchWhereThereIsAChoice)
{
    EXPECT_EQ(NodeText(Edit(PackedCamera()).consumer, "PixelFormatTransport"), "none");
    const Edit edit(
        DescriptionOf(PixelFormatNode(EntryNode("Mono12", mono12) + EntryNode("Mono12p", mono12p))));
    const auto text = NodeText(edit.consumer, "PixelFormatTransport");
    EXPECT_THAT(text, HasSubstr("<EnumEntry Name=\"Requested\">"));
    EXPECT_THAT(text,
                HasSubstr("<Value>1</Value></EnumEntry><pValue>QvrAnyPixelFormatTransportValue</pValue>"));
    EXPECT_THAT(NodeText(edit.consumer, "ProxyControl"),
                HasSubstr("<pFeature>PixelFormatTransport</pFeature><pFeature>DevicePixelFormat</pFeature>"));
    EXPECT_THAT(NodeText(edit.consumer, "PixelFormatReg"),
                HasSubstr("<pPort>Device</pPort><pInvalidator>QvrAnyPixelFormatValue</pInvalidator>"
                          "<pInvalidator>QvrAnyPixelFormatTransportValue</pInvalidator>"));
}

TEST(DescriptionEditor, AddsThePayloadSizeThatADeviceLacks)
{
    const Edit listed(Fixture("payload_missing"));
    EXPECT_THAT(NodeText(listed.consumer, "PayloadSize"),
                HasSubstr("<pValue>QvrAnyPayloadSizeValue</pValue><Unit>B</Unit></Integer>"));
    EXPECT_EQ(NodeText(listed.consumer, "TransportLayerControl"),
              "<Category Name=\"TransportLayerControl\" NameSpace=\"Standard\">"
              "<pFeature>PayloadSize</pFeature></Category>");
    EXPECT_EQ(NodeText(listed.consumer, "DevicePayloadSize"), "none");
    const Edit alone(Fixture("payload_missing_no_root"));
    EXPECT_THAT(NodeText(alone.consumer, "ProxyControl"),
                HasSubstr("<pFeature>DevicePixelFormat</pFeature><pFeature>PayloadSize</pFeature>"));
}

TEST(DescriptionEditor, MakesAnIntegerOfAFormula)
{
    const Edit edit(Fixture("payload_by_formula"));
    EXPECT_EQ(NodeText(edit.consumer, "PayloadSize"),
              "<Integer Name=\"PayloadSize\" NameSpace=\"Standard\"><ToolTip>Bytes of a frame.</ToolTip>"
              "<Visibility>Expert</Visibility><pIsAvailable>HasPayload</pIsAvailable>"
              "<pValue>QvrAnyPayloadSizeValue</pValue><Unit>B</Unit><Representation>Linear</Representation>"
              "</Integer>");
    EXPECT_THAT(NodeText(edit.consumer, "DevicePayloadSize"),
                HasSubstr("<IntSwissKnife Name=\"DevicePayloadSize\" NameSpace=\"Custom\">"));
}

TEST(DescriptionEditor, LeavesComputationsWithTheDevicesFeature)
{
    const Edit edit(Fixture("payload_by_formula"));
    EXPECT_THAT(NodeText(edit.consumer, "LineBytes"),
                HasSubstr("<pVariable Name=\"P\">DevicePayloadSize</pVariable>"));
    EXPECT_THAT(NodeText(edit.consumer, "DevicePayloadSize"),
                HasSubstr("<pVariable Name=\"F\">DevicePixelFormat</pVariable>"));
    EXPECT_THAT(NodeText(edit.consumer, "Root"), HasSubstr("<pFeature>PayloadSize</pFeature>"));
    const Edit limits(Fixture("invalidators"));
    EXPECT_THAT(NodeText(limits.consumer, "FrameRateMax"),
                HasSubstr("<pInvalidator>PayloadSize</pInvalidator>"
                          "<pVariable Name=\"P\">DevicePayloadSize</pVariable>"
                          "<pVariable Name=\"F\">DevicePixelFormat</pVariable>"));
}

TEST(DescriptionEditor, HasTheDevicesRegistersFollowWritesToOurs)
{
    const Edit edit(Fixture("invalidators"));
    const std::string ours = "<pInvalidator>QvrAnyPixelFormatValue</pInvalidator>"
                             "<pInvalidator>QvrAnyPixelFormatTransportValue</pInvalidator>";
    const auto invalidatorsOf = [&](const char *node) { return NodeText(edit.consumer, node); };
    EXPECT_THAT(
        invalidatorsOf("PixelFormatReg"),
        HasSubstr("<Cachable>WriteAround</Cachable><PollingTime>1000</PollingTime>" + ours + "<Sign>"));
    EXPECT_THAT(
        invalidatorsOf("WidthMaxReg"),
        HasSubstr("<Cachable>WriteThrough</Cachable>" + ours +
                  "<pInvalidator>PixelFormatReg</pInvalidator><pInvalidator>HeightReg</pInvalidator>"));
    EXPECT_THAT(invalidatorsOf("PayloadSizeReg"), HasSubstr("</PollingTime>" + ours + "<pInvalidator>Pixel"));
    EXPECT_THAT(invalidatorsOf("Width"),
                HasSubstr(ours + "<pInvalidator>PixelFormat</pInvalidator><pValue>"));
    EXPECT_THAT(invalidatorsOf("HeightReg"), Not(HasSubstr("pInvalidator")));
    EXPECT_THAT(invalidatorsOf("FrameRateMax"), Not(HasSubstr("QvrAny")));
}

TEST(DescriptionEditor, KeepsWhatAFormatSelectsAndBySelectorsWhatIsSelected)
{
    const Edit edit(Fixture("format_that_selects"));
    EXPECT_THAT(NodeText(edit.consumer, "PixelFormat"), HasSubstr("<pSelected>DepthOfFormat</pSelected>"));
    EXPECT_THAT(NodeText(edit.consumer, "DevicePixelFormat"), Not(HasSubstr("pSelected")));
    EXPECT_THAT(NodeText(edit.consumer, "ComponentSelector"),
                HasSubstr("<pSelected>PixelFormat</pSelected>"));
}

TEST(DescriptionEditor, MakesRegistersOfLiteralsThatItDependsOn)
{
    const Edit edit(Fixture("writable_literals"));
    EXPECT_THAT(
        NodeText(edit.consumer, "RegionSelector"),
        HasSubstr("</EnumEntry><pValue>QvrAnyRegionSelectorValue</pValue><pSelected>Width</pSelected>"));
    EXPECT_EQ(
        NodeText(edit.consumer, "Threshold"),
        "<Float Name=\"Threshold\"><pValue>QvrAnyThresholdValue</pValue><Min>0</Min><Max>10</Max></Float>");
    EXPECT_THAT(NodeText(edit.consumer, "QvrAnyThresholdValue"),
                testing::AllOf(HasSubstr("<FloatReg "), HasSubstr("<AccessMode>RW</AccessMode>"),
                               Not(HasSubstr("Sign"))));
    EXPECT_EQ(NodeText(edit.consumer, "Unrelated"), NodeText(edit.device, "Unrelated"));
    const Edit conditions(Fixture("conditions"));
    EXPECT_EQ(NodeText(conditions.consumer, "TLParamsLocked"), NodeText(conditions.device, "TLParamsLocked"));
    EXPECT_EQ(NodeText(conditions.consumer, "DepthLiteral"), NodeText(conditions.device, "DepthLiteral"));
}

TEST(DescriptionEditor, OffersNoConversionForAContradictoryEntry)
{
    const Edit edit(Fixture("values_that_are_no_codes"));
    std::vector<std::string> made;
    for (const auto &entry : edit.result.formats)
    {
        if (!entry.inputs.empty())
        {
            made.push_back(fmt::format("{}={}", entry.name, entry.value));
        }
    }
    // Mono12p by its name, although its value is 1. BayerGB12p has the code of BayerRG12p, and so none
    // unpacks it.
    EXPECT_THAT(made, ElementsAre("Mono12=17825797"));
    EXPECT_EQ(edit.result.formats.back().inputs.size(), 2U) << "Mono12p, and the unknown name with its code";
}

TEST(DescriptionEditor, GivesAnAddedEntryAFreeValue)
{
    const Edit edit(DescriptionOf(
        PixelFormatNode(EntryNode("Mono12p", mono12p) + EntryNode("Own", mono12) + EntryNode("Mono10p", 1))));
    EXPECT_EQ(edit.result.formats.at(3).name, "Mono10");
    // The unknown name means Mono12 by its code, so none is added; its value is in use all the same.
    EXPECT_EQ(edit.result.formats.at(1).inputs.size(), 1U);
    EXPECT_EQ(FreeValue(mono12, std::vector<int64_t>{mono12, 0x1'0000'0001}), 0x1'0000'0002);
    EXPECT_EQ(FreeValue(5, std::vector<int64_t>{6}), 5);
}

TEST(DescriptionEditor, AddsEntriesToThePixelSize)
{
    const Edit edit(Fixture("gige_vision_1_formats"));
    EXPECT_THAT(edit.result.pixelSizes,
                ElementsAre(std::pair(8U, 8), std::pair(12U, 12), std::pair(16U, 16)));
    const Edit added(DescriptionOf(PixelFormatNode(EntryNode("Mono12p", mono12p)) +
                                   "<Enumeration Name=\"PixelSize\">" + EntryNode("Bpp12", 16) +
                                   "<pValue>PixelSizeReg</pValue></Enumeration>" +
                                   RegisterNode("PixelSizeReg", 0x110)));
    EXPECT_THAT(added.result.pixelSizes, ElementsAre(std::pair(12U, 16), std::pair(16U, 0x1'0000'0001)));
    EXPECT_THAT(NodeText(added.consumer, "PixelSize"),
                HasSubstr("<EnumEntry Name=\"Bpp16\"><Value>4294967297</Value></EnumEntry>"));
    EXPECT_THAT(NodeText(added.consumer, "DevicePixelSize"), HasSubstr("<Visibility>Invisible</Visibility>"));
}

TEST(DescriptionEditor, LeavesThePixelSizeWithoutConversions)
{
    const Edit edit(Fixture("gige_vision_1_formats"), {});
    EXPECT_EQ(NodeText(edit.consumer, "PixelSize"), NodeText(edit.device, "PixelSize"));
    EXPECT_EQ(NodeText(edit.consumer, "DevicePixelSize"), "none");
    EXPECT_THAT(NodeText(edit.consumer, "PixelFormat"), HasSubstr("QvrAnyPixelFormatValue"));
}

TEST(DescriptionEditor, TakesThePortOfTheDevice)
{
    const Edit edit(Fixture("ports_of_chunks"));
    EXPECT_THAT(NodeText(edit.consumer, "QvrAnyPixelFormatValue"), HasSubstr("<pPort>Camera</pPort>"));
    const Edit missing(DescriptionOf(""));
    EXPECT_THAT(NodeText(missing.consumer, "QvrAnyPayloadSizeValue"), HasSubstr("<pPort>Device</pPort>"));
}

TEST(DescriptionEditor, TurnsTheByteOrderForAPortThatTurnsIt)
{
    const Edit edit(Fixture("swapped_port"));
    EXPECT_THAT(NodeText(edit.consumer, "QvrAnyPixelFormatValue"),
                HasSubstr("<Endianess>BigEndian</Endianess>"));
    EXPECT_TRUE(edit.result.registers.front().isSwapped);
}

TEST(DescriptionEditor, GivesNewElementsThePrefixOfTheRoot)
{
    const Edit edit(Fixture("prefixed_elements"));
    EXPECT_THAT(edit.result.document, HasSubstr("<g:IntReg Name=\"QvrAnyPixelFormatValue\"><g:Visibility>"));
    EXPECT_THAT(edit.result.document, HasSubstr("</g:Group>\n</g:RegisterDescription>"));
    EXPECT_THAT(edit.result.document, HasSubstr("<![CDATA[4 > 3 & </ToolTip> is no end]]></g:ToolTip>"));
}

TEST(DescriptionEditor, AvoidsAWindowAndNamesInUse)
{
    EXPECT_EQ(Edit(Fixture("window_in_use")).result.base, 0x7151'0100'0000'0000U);
    const Edit names(Fixture("names_in_use"));
    EXPECT_EQ(names.result.registers.front().node, "QvrAnyPixelFormatValue_2");
    EXPECT_EQ(NodeText(names.consumer, "ProxyControl"), NodeText(names.device, "ProxyControl"));
    EXPECT_THAT(NodeText(names.consumer, "ProxyControl_2"),
                HasSubstr("<pFeature>DevicePixelFormat_2</pFeature>"));
    EXPECT_THAT(NodeText(names.consumer, "Root"),
                HasSubstr("<pFeature>ProxyControl_2</pFeature></Category>"));
}

TEST(DescriptionEditor, ReplacesTheVersionGuidByAHash)
{
    const auto document = Fixture("gige_vision_1_formats");
    const Edit edit(document);
    const std::string guid = edit.consumer.tree.document_element().attribute("VersionGuid").value();
    EXPECT_EQ(guid, GuidOf(edit.result.hash));
    EXPECT_NE(guid, GuidOf(Edit(document, {}).result.hash));
    const auto start = document.find("VersionGuid");
    EXPECT_EQ(edit.result.document.substr(0, start), document.substr(0, start));
}

TEST(DescriptionEditor, EditsADocumentWithManyFormats)
{
    std::string entries;
    for (int i = 0; i < 330; ++i)
    {
        entries += EntryNode(fmt::format("Format{}", i), i);
    }
    const Edit edit(DescriptionOf(PixelFormatNode(entries + EntryNode("Mono12p", mono12p))));
    EXPECT_EQ(edit.result.formats.size(), 332U);
    EXPECT_EQ(edit.result.formats.back().name, "Mono12");
}

TEST(DescriptionEditor, LeavesFeaturesOfAnotherKindAlone)
{
    const Edit edit(DescriptionOf("<Integer Name=\"PixelFormat\"><Value>1</Value></Integer>"
                                  "<Float Name=\"PayloadSize\"><Value>1</Value></Float>"
                                  "<Enumeration Name=\"PixelSize\"/>"));
    EXPECT_THAT(edit.result.registers, IsEmpty());
    for (const auto *name : {"PixelFormat", "PayloadSize", "PixelSize"})
    {
        EXPECT_EQ(NodeText(edit.consumer, name), NodeText(edit.device, name));
    }
}

/// Each fixture by its name.
struct EachDescription : testing::TestWithParam<std::string>
{
};

TEST_P(EachDescription, IsTheSameEachTime)
{
    EXPECT_EQ(Edit(Fixture(GetParam())).result.document, Edit(Fixture(GetParam())).result.document);
}

TEST_P(EachDescription, HasEachNameOnce)
{
    const Edit edit(Fixture(GetParam()));
    const auto before = NamesIn(edit.device);
    for (const auto &[name, count] : NamesIn(edit.consumer))
    {
        EXPECT_EQ(count, 1) << name;
    }
    for (const auto &[name, count] : before)
    {
        EXPECT_NE(edit.consumer.graph->Find(name), genapi::noNode) << name;
    }
}

TEST_P(EachDescription, LosesNoReference)
{
    const Edit edit(Fixture(GetParam()));
    const auto missingIn = [](const Parsed &document)
    {
        std::set<std::string> missing;
        for (genapi::NodeId id = 0; id < document.graph->Size(); ++id)
        {
            for (const auto &property : document.graph->PropertiesOf(id))
            {
                if (IsReference(property.tag) && property.target == genapi::noNode)
                {
                    missing.emplace(property.Text());
                }
            }
        }
        return missing;
    };
    EXPECT_EQ(missingIn(edit.consumer), missingIn(edit.device));
}

TEST_P(EachDescription, CanBeEditedAgain)
{
    const Edit once(Fixture(GetParam()));
    const Edit twice(once.result.document);
    EXPECT_EQ(once.result.registers.empty(), twice.result.registers.empty());
    if (!once.result.registers.empty())
    {
        EXPECT_NE(twice.result.base, once.result.base);
        EXPECT_NE(twice.result.hash, once.result.hash);
        for (const auto &entry : twice.result.registers)
        {
            EXPECT_EQ(once.consumer.graph->Find(entry.node), genapi::noNode) << entry.node;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, EachDescription, testing::ValuesIn(AllFixtures()),
                         [](const auto &name) { return name.param; });

TEST(DescriptionEditor, HidesFurtherNodesOfAReplacedName)
{
    const Edit edit(DescriptionOf(
        PixelFormatNode(EntryNode("Mono12p", 0x010C0047)) +
        "<Enumeration Name=\"PixelFormat\"><EnumEntry Name=\"A\"><Value>1</Value></EnumEntry>"
        "<Value>1</Value></Enumeration><Integer Name=\"PixelFormat\"><Value>2</Value></Integer>"));
    const auto &graph = *edit.consumer.graph;
    EXPECT_EQ(graph[graph.Find("PixelFormat")].kind, genapi::NodeKind::Enumeration);
    EXPECT_NE(edit.result.document.find("Name=\"QvrAnyPixelFormatTwin1\""), std::string::npos);
    EXPECT_NE(edit.result.document.find("Name=\"QvrAnyPixelFormatTwin2\""), std::string::npos);
    const auto first = edit.result.document.find("Name=\"PixelFormat\"");
    EXPECT_EQ(edit.result.document.find("Name=\"PixelFormat\"", first + 1), std::string::npos);
}

} // namespace
} // namespace GenTL::internal
