#include "genapi/node_graph.h"

#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

TEST(NodeGraph, FindsTheNodesOfAllGroups)
{
    RegisterDevice device(
        "<Group Comment=\"a\"><Integer Name=\"I\"/><Group><Float Name=\"F\"/></Group></Group>"
        "<Extension><Integer Name=\"Hidden\"/></Extension><Unknown Name=\"U\"/><String Name=\"S\"/>");
    const auto &graph = device.graph;
    EXPECT_EQ(graph.Size(), 3U);
    EXPECT_EQ(graph[graph.Find("I")].kind, NodeKind::Integer);
    EXPECT_EQ(graph[graph.Find("F")].kind, NodeKind::Float);
    EXPECT_EQ(graph[graph.Find("S")].kind, NodeKind::String);
    EXPECT_EQ(graph.Find("Hidden"), noNode);
    EXPECT_EQ(graph.Find("U"), noNode);
    EXPECT_EQ(graph.Find(""), noNode);
}

TEST(NodeGraph, TakesTheFirstOfTwoNodesWithOneName)
{
    RegisterDevice device(
        "<Integer Name=\"I\"><Value>1</Value></Integer><Float Name=\"I\"><Value>2</Value></Float>");
    EXPECT_EQ(device.graph.Size(), 2U);
    EXPECT_EQ(device.features.ReadInteger("I"), 1);
}

TEST(NodeGraph, KeepsTheOrderOfPropertiesAndResolvesReferences)
{
    RegisterDevice device(
        "<Category Name=\"Root\"><ToolTip>t</ToolTip><pFeature> B\n</pFeature><pFeature>Gone</pFeature>"
        "<pFeature>A</pFeature></Category><Integer Name=\"A\"/><Integer Name=\"B\"/>");
    const auto &graph = device.graph;
    const auto properties = graph.PropertiesOf(graph.Find("Root"));
    ASSERT_EQ(properties.size(), 3U);
    EXPECT_EQ(properties[0].target, graph.Find("B"));
    EXPECT_EQ(properties[0].Text(), "B");
    EXPECT_EQ(properties[1].target, noNode);
    EXPECT_EQ(properties[1].Text(), "Gone");
    EXPECT_EQ(properties[2].target, graph.Find("A"));
    EXPECT_EQ(properties[2].tag, Tag::pFeature);
}

TEST(NodeGraph, HoldsNestedNodesUnderTheirParent)
{
    RegisterDevice device(
        "<Enumeration Name=\"E\"><EnumEntry "
        "Name=\"A\"><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>"
        "<StructReg><Address>4</Address><StructEntry Name=\"S\"><Bit>1</Bit></StructEntry></StructReg>"
        "<IntReg Name=\"R\"><IntSwissKnife><Formula>1</Formula></IntSwissKnife></IntReg>");
    const auto &graph = device.graph;
    const auto *const entry = graph.Find(graph.Find("E"), Tag::EnumEntry);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(graph[entry->target].name, "A");
    EXPECT_EQ(graph[entry->target].parent, graph.Find("E"));
    EXPECT_EQ(graph.Find("A"), noNode) << "two enumerations may have entries of one name";
    const auto structEntry = graph.Find("S");
    EXPECT_EQ(graph[graph[structEntry].parent].kind, NodeKind::StructReg);
    EXPECT_EQ(graph.FindInherited(structEntry, Tag::Address)->Text(), "4");
    EXPECT_EQ(graph.Find(structEntry, Tag::Address), nullptr);
    const auto *const formula = graph.Find(graph.Find("R"), Tag::IntSwissKnife);
    EXPECT_EQ(graph.Label(formula->target), "IntSwissKnife in R");
    EXPECT_EQ(graph.Label(graph[structEntry].parent), "StructReg without name");
}

TEST(NodeGraph, IgnoresThePrefixOfANamespace)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(
        "<?xml version=\"1.0\"?><!-- c --><g:RegisterDescription xmlns:g=\"urn:x\"><g:Group>"
        "<g:Integer Name=\"I\"><g:Value>5</g:Value></g:Integer></g:Group>"
        "</g:RegisterDescription>"));
    const NodeGraph graph(document);
    MemoryRegisters port;
    GraphFeatures features(graph, port);
    EXPECT_EQ(features.ReadInteger("I"), 5);
    const NodeGraph ofRoot(document.document_element());
    EXPECT_EQ(ofRoot.Size(), graph.Size());
}

TEST(NodeGraph, OfAnEmptyDocumentIsEmpty)
{
    const pugi::xml_document document;
    EXPECT_EQ(NodeGraph(document).Size(), 0U);
}

TEST(Elements, AreFoundByTheirNames)
{
    std::set<std::string_view> names;
    for (auto kind = NodeKind::Node; kind <= NodeKind::SmartFeature;
         kind = static_cast<NodeKind>(static_cast<int>(kind) + 1))
    {
        EXPECT_EQ(KindOf(NameOf(kind)), kind);
        names.insert(NameOf(kind));
    }
    EXPECT_EQ(names.size(), 26U);
    for (auto tag = Tag::AccessMode; tag <= Tag::IntSwissKnife;
         tag = static_cast<Tag>(static_cast<int>(tag) + 1))
    {
        EXPECT_EQ(TagOf(NameOf(tag)), tag);
        EXPECT_EQ(IsReference(tag), NameOf(tag).starts_with('p')) << NameOf(tag);
    }
    for (const auto *const other : {"", "x", "Group", "integer", "pvalue", "Description"})
    {
        EXPECT_EQ(KindOf(other), std::nullopt) << other;
        EXPECT_EQ(TagOf(other), std::nullopt) << other;
    }
    EXPECT_EQ(WithArticle(NodeKind::IntReg), "an IntReg");
    EXPECT_EQ(WithArticle(NodeKind::Float), "a Float");
}

TEST(NodeGraph, JoinsTextsThatCommentsAndSectionsSplit)
{
    RegisterDevice device("<Integer Name=\"I\"><Value>0x<!-- a -->1<![CDATA[2]]>3</Value></Integer>"
                          "<Integer Name=\"J\"><pValue>\n<!-- K -->I<!-- --></pValue></Integer>"
                          "<IntSwissKnife Name=\"F\"><pVariable Name=\"A\">I</pVariable>"
                          "<Formula>A <!-- less --> - <![CDATA[1 > 2 ? 3 :]]> 4</Formula></IntSwissKnife>");
    EXPECT_EQ(device.features.ReadInteger("I"), 0x123);
    EXPECT_EQ(device.features.ReadInteger("J"), 0x123);
    EXPECT_EQ(device.features.ReadInteger("F"), 3);
}

} // namespace
} // namespace GenTL::internal::genapi
