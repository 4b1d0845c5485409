#include "genapi/graph_walks.h"

#include "register_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Labels(const NodeGraph &graph, const std::vector<NodeId> &nodes)
{
    std::vector<std::string> labels;
    for (const auto id : nodes)
    {
        labels.push_back(graph.Label(id));
    }
    return labels;
}

TEST(ValueChain, GoesDownToTheRegisters)
{
    RegisterDevice device(
        Element("Integer", "F",
                "<pIsAvailable>Cond</pIsAvailable><pValue>C</pValue><pValueCopy>Copy</pValueCopy>") +
        Element(
            "IntConverter", "C",
            "<pVariable Name=\"V\">Var</pVariable><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
            "<pValue>Indexed</pValue>") +
        Element("Integer", "Indexed",
                "<pIndex>Sel</pIndex><pValueIndexed "
                "Index=\"1\">Reg</pValueIndexed><pValueDefault>Entry</pValueDefault>") +
        Element("Integer", "Sel", "<Value>1</Value>") + Element("Integer", "Var", "<Value>1</Value>") +
        Element("Integer", "Cond", "<Value>1</Value>") + Register("IntReg", "Reg", 0, 4) +
        Register("IntReg", "Copy", 4, 4) +
        "<StructReg><Address>8</Address><Length>4</Length><StructEntry "
        "Name=\"Entry\"><Bit>0</Bit></StructEntry>"
        "</StructReg>");
    EXPECT_THAT(Labels(device.graph, ValueChain(device.graph, device.graph.Find("F"))),
                ElementsAre("F", "C", "Indexed", "Reg", "Entry", "StructReg without name", "Copy"));
}

TEST(ValueChain, EndsInACircle)
{
    RegisterDevice device(Element("Integer", "A", "<pValue>B</pValue>") +
                          Element("Integer", "B", "<pValue>A</pValue>"));
    EXPECT_EQ(ValueChain(device.graph, device.graph.Find("A")).size(), 2U);
    EXPECT_THAT(ValueChain(device.graph, noNode), IsEmpty());
}

TEST(StaticRanges, AreThoseThatTheDocumentStates)
{
    RegisterDevice device(
        Register("IntReg", "A", 0x10, 4) +
        Element("IntReg", "Sum", "<Address>0x100</Address><Address>0x20</Address><Length>8</Length>") +
        Element("IntReg", "Computed", "<pAddress>A</pAddress><Length>4</Length>") +
        Element("Register", "Long", "<Address>0x200</Address><pLength>A</pLength>") +
        "<StructReg><Address>0x300</Address><Length>2</Length>"
        "<StructEntry Name=\"E\"><Bit>0</Bit></StructEntry></StructReg>" +
        Element("Integer", "NoRegister", "<Value>1</Value>"));
    std::vector<std::pair<uint64_t, uint64_t>> ranges;
    for (const auto &range : StaticRanges(device.graph))
    {
        ranges.emplace_back(range.address, range.length);
    }
    EXPECT_THAT(ranges, ElementsAre(std::pair(0x10, 4), std::pair(0x120, 8), std::pair(0x200, 1),
                                    std::pair(0x300, 2)));
}

TEST(WritableLiterals, AreThoseThatBindOtherNodes)
{
    const auto literal = [](const std::string &name, const std::string &more = {})
    { return Element("Integer", name, more + "<Value>1</Value>"); };
    RegisterDevice device(
        Element("Integer", "F",
                "<pIsImplemented>Implemented</pIsImplemented><pIsAvailable>Knife</pIsAvailable>"
                "<pIsLocked>Locked</pIsLocked><pValue>Reg</pValue><pMax>Max</pMax>") +
        Element("IntSwissKnife", "Knife", "<pVariable Name=\"V\">Behind</pVariable><Formula>V</Formula>") +
        Element("Integer", "Behind", "<pValue>Variable</pValue>") + literal("Variable") +
        literal("Implemented") + literal("Locked") + literal("Max") + literal("Index") + literal("Address") +
        literal("Offset") + literal("Unrelated") +
        literal("Fixed", "<ImposedAccessMode>RO</ImposedAccessMode>") +
        Element(
            "IntReg", "Reg",
            "<pAddress>Address</pAddress><pAddress>Fixed</pAddress><pIndex pOffset=\"Offset\">Index</pIndex>"
            "<Length>4</Length>") +
        Element(
            "Enumeration", "E",
            "<EnumEntry "
            "Name=\"A\"><pIsAvailable>OfEntry</pIsAvailable><Value>1</Value></EnumEntry><Value>1</Value>") +
        literal("OfEntry"));
    const auto &graph = device.graph;
    const auto behind = [&](std::vector<NodeId> features)
    { return Labels(graph, WritableLiteralsBehind(graph, features)); };
    EXPECT_THAT(behind({graph.Find("F")}),
                ElementsAre("Variable", "Implemented", "Index", "Address", "Offset"));
    EXPECT_THAT(behind({graph.Find("E")}), ElementsAre("OfEntry"));
    EXPECT_THAT(behind({graph.Find("Behind")}), IsEmpty()) << "the value of a feature itself binds nothing";
    EXPECT_THAT(behind({graph.Find("Behind"), graph.Find("Knife")}), ElementsAre("Variable"))
        << "reached in both ways";
    EXPECT_THAT(behind({noNode}), IsEmpty());
}

} // namespace
} // namespace GenTL::internal::genapi
