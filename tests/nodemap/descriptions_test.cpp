#include "nodemap/descriptions.h"

#include "datastream/datastream_features.h"
#include "modules/system_features.h"
#include "nodemap/nodemap_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// A register of the owning module's table.
struct Row
{
    std::string name;
    std::string element;
    uint64_t address;
    uint64_t length;
    std::string access = "RO";
    std::string cachable = "";
    std::string pollingTime = "";
    std::vector<std::string> invalidators = {};
    std::string implemented = "";
    std::string representation = "";

    friend bool operator==(const Row &, const Row &) = default;
    friend void PrintTo(const Row &row, std::ostream *stream) { *stream << row.name; }
};

struct Module
{
    std::string name;
    std::string_view text;
    std::string modelName;
    std::string toolTip;
    std::string productGuid;
    std::string versionGuid;
    std::string port;
    uint64_t registerSize;
    std::span<const RegisterDefinition> definitions;
    std::vector<Row> rows;

    friend void PrintTo(const Module &module, std::ostream *stream) { *stream << module.name; }
};

const std::vector<std::string> onUpdate{"InterfaceUpdateListReg"};
const std::vector<std::string> onSelection{"InterfaceUpdateListReg", "InterfaceSelectorReg"};

const std::vector<Row> systemRegisters{
    {"TLID", "StringReg", 0x0, 64},
    {"TLVendorName", "StringReg", 0x40, 64},
    {"TLModelName", "StringReg", 0x80, 64},
    {"TLVersion", "StringReg", 0xC0, 32},
    {"TLFileName", "StringReg", 0xE0, 64},
    {"TLDisplayName", "StringReg", 0x120, 64},
    {"TLPath", "StringReg", 0x160, 512},
    {"TLTypeReg", "IntReg", 0x360, 4},
    {"GenTLVersionMajorReg", "IntReg", 0x364, 4},
    {"GenTLVersionMinorReg", "IntReg", 0x368, 4},
    {"GenTLSFNCVersionMajorReg", "IntReg", 0x36C, 4},
    {"GenTLSFNCVersionMinorReg", "IntReg", 0x370, 4},
    {"InterfaceUpdateListReg", "IntReg", 0x374, 4, "RW"},
    {"InterfaceUpdateTimeoutReg", "IntReg", 0x378, 4, "RW"},
    {"InterfaceCountReg", "IntReg", 0x37C, 4, "RO", "NoCache", "", onUpdate},
    {"InterfaceSelectorReg", "IntReg", 0x380, 4, "RW"},
    {"InterfaceID", "StringReg", 0x384, 128, "RO", "NoCache", "", onSelection},
    {"InterfaceDisplayName", "StringReg", 0x404, 128, "RO", "NoCache", "", onSelection},
    {"InterfaceTypeReg", "IntReg", 0x484, 4, "RO", "", "", onSelection},
    {"NetworkAdapterCountReg", "IntReg", 0x488, 4, "RO", "NoCache", "", onSelection, "IsInterfaceGEV"},
    {"GevInterfaceMACAddressReg", "IntReg", 0x48C, 8, "RO", "", "", onSelection, "IsInterfaceGEV",
     "MACAddress"},
    {"GevInterfaceDefaultIPAddressReg", "IntReg", 0x494, 4, "RO", "", "", onSelection, "IsInterfaceGEV",
     "IPV4Address"},
    {"GevInterfaceDefaultSubnetMaskReg", "IntReg", 0x498, 4, "RO", "", "", onSelection, "IsInterfaceGEV",
     "IPV4Address"},
    {"GevInterfaceDefaultGatewayReg", "IntReg", 0x49C, 4, "RO", "", "", onSelection, "IsInterfaceGEV",
     "IPV4Address"},
};

Module System()
{
    return {"System",
            SystemDescription(),
            "DefaultBrand_GenTL_System",
            "Varkel GenTL System interface",
            "150B7630-9777-472E-98AD-662BADCA19B6",
            "0C1D96C4-7E80-43BD-A4DA-BBAB91CF8A19",
            "TLPort",
            0x4A0,
            SystemFeatures(),
            systemRegisters};
}

Module DataStream()
{
    return {"DataStream",
            DataStreamDescription(),
            "DefaultBrand_GenTL_DataStream",
            "Varkel GenTL DataStream interface",
            "73A412C5-AA11-4550-83F1-AC170EF9E7E7",
            "2AB9BE04-AD3B-415B-9DA0-11EE9B3B9BB1",
            "StreamPort",
            0xA0,
            DatastreamFeatures(),
            {
                {"StreamID", "StringReg", 0x0, 64},
                {"StreamTypeReg", "IntReg", 0x40, 8},
                {"StreamAnnouncedBufferCountReg", "IntReg", 0x48, 8, "RO", "NoCache", "5000"},
                {"StreamDeliveredFrameCountReg", "IntReg", 0x50, 8, "RO", "NoCache", "1000"},
                {"StreamIncompleteFrameCountReg", "IntReg", 0x58, 8, "RO", "NoCache", "1000"},
                {"StreamDroppedFrameCountReg",
                 "IntReg",
                 0x60,
                 8,
                 "RO",
                 "NoCache",
                 "1000",
                 {},
                 "StreamDroppedFrameCountImplementedReg"},
                {"StreamDroppedFrameCountImplementedReg", "IntReg", 0x68, 4},
                {"StreamLostFrameCountReg", "IntReg", 0x6C, 8, "RO", "NoCache", "1000"},
                {"StreamInputBufferCountReg", "IntReg", 0x74, 8, "RO", "NoCache", "1000"},
                {"StreamOutputBufferCountReg", "IntReg", 0x7C, 8, "RO", "NoCache", "1000"},
                {"StreamStartedFrameCountReg", "IntReg", 0x84, 8, "RO", "NoCache", "1000"},
                {"PayloadSizeReg", "IntReg", 0x8C, 8, "RO", "NoCache"},
                {"StreamIsGrabbingReg", "IntReg", 0x94, 4, "RO", "NoCache", "1000"},
                {"StreamBufferHandlingModeReg", "IntReg", 0x98, 8, "RW", "NoCache", "1000"},
            }};
}

std::string Child(const pugi::xml_node &node, const char *name)
{
    return node.child(name).text().get();
}

std::vector<std::string> Children(const pugi::xml_node &node, const char *name)
{
    std::vector<std::string> texts;
    for (const auto &child : node.children(name))
    {
        texts.emplace_back(child.text().get());
    }
    return texts;
}

class DescriptionTest : public testing::TestWithParam<Module>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_document.load_buffer(GetParam().text.data(), GetParam().text.size()));
        root = m_document.child("RegisterDescription");
        for (const auto &node : root.children())
        {
            const std::string name = node.attribute("Name").value();
            EXPECT_TRUE(nodes.try_emplace(name, node).second) << name << " is there twice";
        }
    }

    pugi::xml_node Node(const std::string &name)
    {
        EXPECT_TRUE(nodes.contains(name)) << name;
        return nodes[name];
    }

    pugi::xml_node root;
    std::map<std::string, pugi::xml_node> nodes;

private:
    pugi::xml_document m_document;
};

std::string NameOf(const testing::TestParamInfo<Module> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Modules, DescriptionTest, testing::Values(System(), DataStream()), NameOf);

TEST(Descriptions, HaveTheirSizes)
{
    EXPECT_EQ(SystemDescription().size(), 27618U);
    EXPECT_EQ(DataStreamDescription().size(), 24472U);
}

TEST_P(DescriptionTest, IsItsFileByteForByte)
{
    std::ifstream file(std::string(QVR_SOURCE_DIR "/src/nodemap/descriptions/") + GetParam().name + ".xml",
                       std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(GetParam().text, text);
}

TEST_P(DescriptionTest, IsPlainText)
{
    for (const char c : GetParam().text)
    {
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << static_cast<int>(c);
    }
    EXPECT_EQ(GetParam().text.find(" \n"), std::string_view::npos) << "blanks at the end of a line";
    EXPECT_EQ(GetParam().text.find("\n\n\n"), std::string_view::npos) << "two empty lines";
}

TEST_P(DescriptionTest, HasTheRootOfItsModule)
{
    const std::map<std::string, std::string> expected{
        {"ModelName", GetParam().modelName},
        {"VendorName", "DefaultBrand"},
        {"ToolTip", GetParam().toolTip},
        {"StandardNameSpace", "None"},
        {"SchemaMajorVersion", "1"},
        {"SchemaMinorVersion", "1"},
        {"SchemaSubMinorVersion", "0"},
        {"MajorVersion", "1"},
        {"MinorVersion", "0"},
        {"SubMinorVersion", "0"},
        {"ProductGuid", GetParam().productGuid},
        {"VersionGuid", GetParam().versionGuid},
        {"xmlns", "http://www.genicam.org/GenApi/Version_1_1"},
    };
    for (const auto &[name, value] : expected)
    {
        EXPECT_EQ(root.attribute(name.c_str()).value(), value) << name;
    }
}

TEST_P(DescriptionTest, HasTheRegistersOfItsModule)
{
    std::vector<Row> found;
    for (const auto &[name, node] : nodes)
    {
        if (node.child("Address"))
        {
            found.push_back({name, node.name(), node.child("Address").text().as_ullong(),
                             node.child("Length").text().as_ullong(), Child(node, "AccessMode"),
                             Child(node, "Cachable"), Child(node, "PollingTime"),
                             Children(node, "pInvalidator"), Child(node, "pIsImplemented"),
                             Child(node, "Representation")});
            EXPECT_EQ(Child(node, "pPort"), GetParam().port) << name;
            const bool isInteger = found.back().element == "IntReg";
            EXPECT_EQ(Child(node, "Sign"), isInteger ? "Unsigned" : "") << name;
            EXPECT_EQ(Child(node, "Endianess"), isInteger ? "LittleEndian" : "") << name;
        }
    }
    std::ranges::sort(found, {}, &Row::address);
    EXPECT_EQ(found, GetParam().rows);
}

TEST_P(DescriptionTest, HasRegistersWithoutAGapUpToTheDocument)
{
    uint64_t end = 0;
    for (const auto &row : GetParam().rows)
    {
        EXPECT_EQ(row.address, end) << row.name;
        end = row.address + row.length;
    }
    EXPECT_EQ(end, GetParam().registerSize);
}

TEST_P(DescriptionTest, AgreesWithTheTableOfItsModule)
{
    ASSERT_EQ(GetParam().definitions.size(), GetParam().rows.size());
    for (size_t i = 0; i < GetParam().rows.size(); ++i)
    {
        const auto &row = GetParam().rows[i];
        const auto &definition = GetParam().definitions[i];
        const bool isText = row.element == "StringReg";
        EXPECT_EQ(std::string(definition.Name) + (isText ? "" : "Reg"), row.name);
        EXPECT_EQ(definition.Address, row.address) << row.name;
        EXPECT_EQ(definition.Size, row.length) << row.name;
        EXPECT_EQ(definition.Access, row.access == "RW" ? 3 : 1) << row.name;
        EXPECT_EQ(definition.Kind, isText ? RegisterKind::String : RegisterKind::Number) << row.name;
        EXPECT_EQ(definition.Used, row.implemented != "IsInterfaceGEV") << row.name;
    }
}

TEST_P(DescriptionTest, NamesNoNodeThatIsNotThere)
{
    for (const auto &[name, node] : nodes)
    {
        for (const auto &xpath : node.select_nodes(".//*[starts-with(name(), 'p')]"))
        {
            EXPECT_TRUE(nodes.contains(xpath.node().text().get()))
                << name << ": " << xpath.node().name() << " " << xpath.node().text().get();
        }
    }
}

TEST_P(DescriptionTest, ReachesEveryVisibleFeatureFromRoot)
{
    std::set<std::string> reached;
    std::vector<std::string> todo{"Root"};
    while (!todo.empty())
    {
        const auto name = todo.back();
        todo.pop_back();
        EXPECT_TRUE(reached.insert(name).second) << name << " stands in two categories";
        const auto features = Children(Node(name), "pFeature");
        todo.insert(todo.end(), features.begin(), features.end());
    }
    static const std::set<std::string> features{"Category", "Integer", "Float",    "Enumeration",
                                                "Boolean",  "Command", "StringReg"};
    for (const auto &[name, node] : nodes)
    {
        const bool isVisible = features.contains(node.name()) && Child(node, "Visibility") != "Invisible";
        EXPECT_EQ(reached.contains(name), isVisible) << name;
    }
}

TEST_P(DescriptionTest, SpeaksToThePersonBeforeTheFeatureTree)
{
    for (const auto &xpath :
         root.select_nodes("//*[@Name and not(self::IntReg) and not(name() = 'pVariable')]"))
    {
        const auto node = xpath.node();
        EXPECT_NE(Child(node, "ToolTip"), "") << node.attribute("Name").value();
        EXPECT_NE(Child(node, "DisplayName"), "") << node.attribute("Name").value();
        if (Child(node, "Visibility") != "Invisible")
        {
            EXPECT_NE(Child(node, "Description"), "") << node.attribute("Name").value();
        }
        for (const auto *child : {"ToolTip", "Description", "DisplayName"})
        {
            EXPECT_EQ(Child(node, child).find("  "), std::string::npos) << node.attribute("Name").value();
        }
    }
}

/// The order of the children of an element, by the GenApi schema.
/// @throws std::out_of_range for an element that the descriptions do not use
std::vector<std::string> SchemaOrder(const std::string &element)
{
    std::vector<std::string> order{"Extension",         "ToolTip",      "Description",  "DisplayName",
                                   "Visibility",        "DocuURL",      "IsDeprecated", "EventID",
                                   "pIsImplemented",    "pIsAvailable", "pIsLocked",    "pBlockPolling",
                                   "ImposedAccessMode", "pError",       "pAlias",       "pCastAlias"};
    static const std::map<std::string, std::vector<std::string>> own{
        {"Category", {"pFeature"}},
        {"Integer",
         {"pInvalidator", "Streamable", "Value", "pValue", "Min", "pMin", "Max", "pMax", "Inc", "pInc",
          "Unit", "Representation", "pSelected"}},
        {"Boolean", {"Streamable", "Value", "pValue", "OnValue", "OffValue", "pSelected"}},
        {"Command", {"Value", "pValue", "CommandValue", "pCommandValue", "PollingTime"}},
        {"Enumeration",
         {"pInvalidator", "Streamable", "EnumEntry", "Value", "pValue", "pSelected", "PollingTime"}},
        {"EnumEntry", {"Value"}},
        {"IntReg",
         {"Streamable", "Address", "Length", "AccessMode", "pPort", "Cachable", "PollingTime", "pInvalidator",
          "Sign", "Endianess", "Unit", "Representation", "pSelected"}},
        {"StringReg",
         {"Streamable", "Address", "Length", "AccessMode", "pPort", "Cachable", "PollingTime",
          "pInvalidator"}},
        {"IntSwissKnife",
         {"pInvalidator", "Streamable", "pVariable", "Constant", "Expression", "Formula", "Unit",
          "Representation"}},
        {"Port", {"ChunkID", "pChunkID", "SwapEndianess"}},
    };
    order.insert(order.end(), own.at(element).begin(), own.at(element).end());
    return order;
}

TEST_P(DescriptionTest, HasItsElementsInTheOrderOfTheSchema)
{
    for (const auto &xpath : root.select_nodes("//*[@Name and not(name() = 'pVariable')]"))
    {
        const auto node = xpath.node();
        const auto order = SchemaOrder(node.name());
        auto place = order.begin();
        for (const auto &child : node.children())
        {
            const auto found = std::find(place, order.end(), child.name());
            ASSERT_NE(found, order.end()) << child.name() << " of " << node.attribute("Name").value();
            place = found;
        }
    }
}

TEST_P(DescriptionTest, IsReadByTheParser)
{
    const NodeMapParser parser(GetParam().text);
    ASSERT_TRUE(parser.IsValid());
    for (const auto &row : GetParam().rows)
    {
        const auto &node = parser.FindRegisterNode(row.name);
        EXPECT_EQ(node.Address, row.address);
        EXPECT_EQ(node.Length, row.length);
        EXPECT_EQ(node.Endianess, Endianess::Little);
        EXPECT_EQ(parser.TryFindNodeByAddress(row.address)->Name, row.name);
        // A plain view has the register of its name.
        const auto feature = row.name.substr(0, row.name.rfind("Reg"));
        if (feature != row.name && nodes.contains(feature))
        {
            EXPECT_EQ(parser.FindInterfaceNode(feature).Address, row.address) << feature;
            EXPECT_EQ(parser.FindInterfaceNode(feature).Length, row.length) << feature;
            EXPECT_EQ(Child(Node(feature), "pValue"), row.name);
        }
    }
}

std::vector<std::string> EntriesOf(const pugi::xml_node &node)
{
    std::vector<std::string> entries;
    for (const auto &entry : node.children("EnumEntry"))
    {
        auto text = std::string(entry.attribute("Name").value()) + "=" + Child(entry, "Value");
        const auto condition = Child(entry, "pIsImplemented");
        entries.push_back(condition.empty() ? text : text + " if " + condition);
    }
    return entries;
}

class SystemDescriptionTest : public DescriptionTest
{
};

INSTANTIATE_TEST_SUITE_P(Module, SystemDescriptionTest, testing::Values(System()), NameOf);

TEST_P(SystemDescriptionTest, HasItsCategories)
{
    EXPECT_THAT(Children(Node("Root"), "pFeature"), ElementsAre("SystemInformation", "InterfaceEnumeration"));
    EXPECT_THAT(Children(Node("SystemInformation"), "pFeature"),
                ElementsAre("TLID", "TLVendorName", "TLModelName", "TLVersion", "TLFileName", "TLDisplayName",
                            "TLPath", "TLType", "GenTLVersionMajor", "GenTLVersionMinor",
                            "GenTLSFNCVersionMajor", "GenTLSFNCVersionMinor"));
    EXPECT_THAT(Children(Node("InterfaceEnumeration"), "pFeature"),
                ElementsAre("InterfaceUpdateList", "InterfaceUpdateTimeout", "InterfaceCount",
                            "InterfaceSelector", "InterfaceID", "InterfaceDisplayName", "InterfaceType",
                            "NetworkAdapterCount", "GevInterfaceMACAddress", "GevInterfaceDefaultIPAddress",
                            "GevInterfaceDefaultSubnetMask", "GevInterfaceDefaultGateway"));
}

TEST_P(SystemDescriptionTest, HasItsFeatures)
{
    for (const auto *name : {"TLType", "InterfaceType"})
    {
        EXPECT_STREQ(Node(name).name(), "Enumeration");
        EXPECT_THAT(EntriesOf(Node(name)),
                    ElementsAre("GigEVision=0", "USB3Vision=4", "Mixed=5", "Custom=1000"));
    }
    EXPECT_STREQ(Node("InterfaceUpdateList").name(), "Command");
    EXPECT_EQ(Child(Node("InterfaceUpdateList"), "CommandValue"), "1");
    EXPECT_EQ(Child(Node("InterfaceUpdateTimeout"), "Unit"), "ms");
    const auto selector = Node("InterfaceSelector");
    EXPECT_EQ(Child(selector, "Min"), "0");
    EXPECT_EQ(Child(selector, "pMax"), "InterfaceIndexMaxFunc");
    EXPECT_EQ(Child(selector, "Inc"), "1");
    EXPECT_THAT(Children(selector, "pSelected"),
                ElementsAre("InterfaceID", "InterfaceDisplayName", "InterfaceType", "NetworkAdapterCount",
                            "GevInterfaceMACAddress", "GevInterfaceDefaultIPAddress",
                            "GevInterfaceDefaultSubnetMask", "GevInterfaceDefaultGateway"));
    EXPECT_EQ(Child(Node("NetworkAdapterCount"), "pIsAvailable"), "IsInterfaceGEV");
    for (const auto *name : {"GevInterfaceMACAddress", "GevInterfaceDefaultIPAddress",
                             "GevInterfaceDefaultSubnetMask", "GevInterfaceDefaultGateway"})
    {
        EXPECT_EQ(Child(Node(name), "pIsImplemented"), "IsInterfaceGEV");
        EXPECT_EQ(Child(Node(name), "pIsAvailable"), "IsSingleAdapterInterface");
    }
}

TEST_P(SystemDescriptionTest, HasItsFormulas)
{
    const std::vector<std::vector<std::string>> formulas{
        {"InterfaceIndexMaxFunc", "CNT", "InterfaceCountReg", "CNT - 1"},
        {"IsInterfaceGEV", "TYP", "InterfaceTypeReg", "TYP = 0"},
        {"IsSingleAdapterInterface", "CNT", "NetworkAdapterCountReg", "CNT = 1"}};
    const NodeMapParser parser(GetParam().text);
    for (const auto &formula : formulas)
    {
        const auto node = Node(formula[0]);
        EXPECT_STREQ(node.name(), "IntSwissKnife");
        EXPECT_EQ(Child(node, "Visibility"), "Invisible");
        const auto &record = parser.FindConverter(formula[0]);
        EXPECT_THAT(record.Variables, UnorderedElementsAre(testing::Pair(formula[1], formula[2])));
        EXPECT_EQ(record.Formula, formula[3]);
    }
}

TEST_P(SystemDescriptionTest, MarksWhatIsNotStandard)
{
    for (const auto *name : {"InterfaceCount", "InterfaceIndexMaxFunc", "InterfaceType", "IsInterfaceGEV",
                             "NetworkAdapterCount", "IsSingleAdapterInterface"})
    {
        EXPECT_STREQ(Node(name).attribute("NameSpace").value(), "Custom") << name;
    }
    for (const auto *name :
         {"Root", "SystemInformation", "InterfaceEnumeration", "TLType", "GenTLVersionMajor",
          "GenTLSFNCVersionMinor", "InterfaceUpdateList", "InterfaceUpdateTimeout", "InterfaceSelector",
          "GevInterfaceMACAddress", "GevInterfaceDefaultGateway", "TLPort"})
    {
        EXPECT_STREQ(Node(name).attribute("NameSpace").value(), "Standard") << name;
    }
    EXPECT_EQ(Child(Node("TLPort"), "Visibility"), "Invisible");
}

class DataStreamDescriptionTest : public DescriptionTest
{
};

INSTANTIATE_TEST_SUITE_P(Module, DataStreamDescriptionTest, testing::Values(DataStream()), NameOf);

TEST_P(DataStreamDescriptionTest, HasItsCategories)
{
    EXPECT_EQ(Child(Node("Root"), "ImposedAccessMode"), "RO");
    EXPECT_THAT(Children(Node("Root"), "pFeature"),
                ElementsAre("StreamInformation", "BufferHandlingControl"));
    EXPECT_THAT(Children(Node("StreamInformation"), "pFeature"), ElementsAre("StreamID", "StreamType"));
    EXPECT_THAT(Children(Node("BufferHandlingControl"), "pFeature"),
                ElementsAre("StreamBufferHandlingMode", "StreamAnnouncedBufferCount",
                            "StreamAnnounceBufferMinimum", "StreamDeliveredFrameCount",
                            "StreamIncompleteFrameCount", "StreamDroppedFrameCount", "StreamLostFrameCount",
                            "StreamDiscardedFrameCount", "StreamInputBufferCount", "StreamOutputBufferCount",
                            "StreamStartedFrameCount", "PayloadSize", "StreamIsGrabbing"));
}

TEST_P(DataStreamDescriptionTest, HasItsFeatures)
{
    EXPECT_THAT(EntriesOf(Node("StreamType")), ElementsAre("GigEVision=0", "USB3Vision=4"));
    const auto mode = Node("StreamBufferHandlingMode");
    EXPECT_EQ(Child(mode, "pIsLocked"), "StreamIsGrabbing");
    EXPECT_THAT(EntriesOf(mode),
                ElementsAre("OldestFirst=1", "OldestFirstOverwrite=2 if False", "NewestOnly=4 if False"));
    EXPECT_EQ(Child(Node("StreamAnnounceBufferMinimum"), "Value"), "2");
    EXPECT_EQ(Child(Node("StreamAnnounceBufferMinimum"), "ImposedAccessMode"), "RO");
    EXPECT_EQ(Child(Node("StreamUnderrunFrameCount"), "IsDeprecated"), "Yes");
    EXPECT_EQ(Child(Node("StreamUnderrunFrameCount"), "Visibility"), "Invisible");
    EXPECT_EQ(Child(Node("StreamUnderrunFrameCount"), "pValue"), "StreamLostFrameCountReg");
    const auto discarded = Node("StreamDiscardedFrameCount");
    EXPECT_EQ(Child(discarded, "pIsImplemented"), "False");
    EXPECT_EQ(Child(discarded, "pInvalidator"), "StreamBufferHandlingMode");
    EXPECT_EQ(Child(discarded, "Value"), "0");
    EXPECT_EQ(Child(Node("PayloadSize"), "Unit"), "B");
    const auto grabbing = Node("StreamIsGrabbing");
    EXPECT_STREQ(grabbing.name(), "Boolean");
    EXPECT_EQ(Child(grabbing, "OnValue"), "1");
    EXPECT_EQ(Child(grabbing, "OffValue"), "0");
    for (const auto &[name, value] : {std::pair{"False", "0"}, {"True", "1"}})
    {
        EXPECT_EQ(Child(Node(name), "Value"), value);
        EXPECT_EQ(Child(Node(name), "ImposedAccessMode"), "RO");
        EXPECT_EQ(Child(Node(name), "Visibility"), "Invisible");
    }
}

TEST_P(DataStreamDescriptionTest, MarksWhatIsNotStandard)
{
    const std::set<std::string> custom{"StreamIncompleteFrameCount",
                                       "StreamDroppedFrameCount",
                                       "StreamUnderrunFrameCount",
                                       "StreamDiscardedFrameCount",
                                       "False",
                                       "True"};
    for (const auto &[name, node] : nodes)
    {
        if (std::string(node.name()) != "IntReg")
        {
            EXPECT_EQ(node.attribute("NameSpace").value(),
                      std::string(custom.contains(name) ? "Custom" : "Standard"))
                << name;
        }
    }
    EXPECT_EQ(Child(Node("StreamPort"), "Visibility"), "Invisible");
}

TEST_P(DataStreamDescriptionTest, DoesNotOfferCommentedOutFeatures)
{
    for (const std::string name : {"StreamControl", "LossHandlingMode", "LossHandlingExtent"})
    {
        EXPECT_FALSE(nodes.contains(name));
        EXPECT_NE(GetParam().text.find(name), std::string_view::npos);
    }
}

} // namespace
} // namespace GenTL::internal::nodemap
