#include "edited_fixture.h"

#include "remote/element_places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace edited;

using Names = std::vector<std::string_view>;

// The order of children in the schemas 1.0 and 1.1 of GenApi. 1.0 lacks some of them, but has the rest in the
// same order.
const Names everyNode{"Extension",         "ToolTip",      "Description",  "DisplayName",
                      "Visibility",        "DocuURL",      "IsDeprecated", "EventID",
                      "pIsImplemented",    "pIsAvailable", "pIsLocked",    "pBlockPolling",
                      "ImposedAccessMode", "pError",       "pAlias",       "pCastAlias"};
const Names feature{"pInvalidator", "Streamable"};
const Names registerHead{"Streamable", "Address",  "IntSwissKnife", "pAddress",
                         "pIndex",     "Length",   "pLength",       "AccessMode",
                         "pPort",      "Cachable", "PollingTime",   "pInvalidator"};
const Names limits{"Min", "pMin", "Max", "pMax", "Inc", "pInc"};
const Names presentation{"Unit", "Representation", "DisplayNotation", "DisplayPrecision"};
const Names variables{"pVariable", "Constant", "Expression"};

Names Joined(std::initializer_list<Names> parts)
{
    Names all;
    for (const auto &part : parts)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

const std::map<std::string_view, Names> orders{
    {"Category", Joined({everyNode, {"pInvalidator", "pFeature"}})},
    {"Integer", Joined({everyNode, feature, {"Value", "pValue"}, limits, presentation, {"pSelected"}})},
    {"Float", Joined({everyNode, feature, {"Value", "pValue"}, limits, presentation})},
    {"Boolean", Joined({everyNode, feature, {"Value", "pValue", "OnValue", "OffValue", "pSelected"}})},
    {"Enumeration",
     Joined({everyNode, feature, {"EnumEntry", "Value", "pValue", "pSelected", "PollingTime"}})},
    {"EnumEntry", Joined({everyNode, {"Value", "NumericValue", "Symbolic", "IsSelfClearing"}})},
    {"IntReg", Joined({everyNode, registerHead, {"Sign", "Endianess"}, presentation, {"pSelected"}})},
    {"MaskedIntReg",
     Joined(
         {everyNode, registerHead, {"LSB", "MSB", "Bit", "Sign", "Endianess"}, presentation, {"pSelected"}})},
    {"FloatReg", Joined({everyNode, registerHead, {"Endianess"}, presentation})},
    {"StructReg", Joined({everyNode, registerHead, {"Sign", "Endianess", "StructEntry"}})},
    {"StructEntry",
     Joined(
         {everyNode, {"AccessMode", "Cachable", "PollingTime", "Streamable", "LSB", "MSB", "Bit", "Sign"}})},
    {"SwissKnife", Joined({everyNode, feature, variables, {"Formula"}, presentation})},
    {"IntSwissKnife", Joined({everyNode, feature, variables, {"Formula"}, presentation})},
    {"Converter",
     Joined(
         {everyNode, feature, variables, {"FormulaTo", "FormulaFrom", "pValue"}, presentation, {"Slope"}})},
    {"IntConverter",
     Joined(
         {everyNode, feature, variables, {"FormulaTo", "FormulaFrom", "pValue"}, presentation, {"Slope"}})},
    {"Port", Joined({everyNode, {"ChunkID", "pChunkID", "SwapEndianess", "CacheChunkData"}})},
};

/// The first child that stands in the wrong place, as "parent: child"; empty if all are in order.
std::string FirstOutOfOrder(const pugi::xml_node &element)
{
    const auto name = LocalName(element);
    const auto order = orders.find(name);
    auto last = order != orders.end() ? order->second.begin() : Names::const_iterator{};
    for (const auto &child : element.children())
    {
        if (child.type() != pugi::node_element)
        {
            continue;
        }
        if (order != orders.end())
        {
            last = std::find(last, order->second.end(), LocalName(child));
            if (last == order->second.end())
            {
                return fmt::format("{} {}: {}", name, element.attribute("Name").value(), LocalName(child));
            }
        }
        if (const auto below = FirstOutOfOrder(child); !below.empty())
        {
            return below;
        }
    }
    return {};
}

struct ElementOrder : testing::TestWithParam<std::string>
{
};

TEST_P(ElementOrder, IsThatOfTheSchema)
{
    const Edit edit(Fixture(GetParam()));
    EXPECT_EQ(FirstOutOfOrder(edit.device.tree), "") << "in the device's document";
    EXPECT_EQ(FirstOutOfOrder(edit.consumer.tree), "");
    EXPECT_EQ(FirstOutOfOrder(Edit(edit.result.document).consumer.tree), "") << "after a second edit";
}

TEST_P(ElementOrder, HasNewNodesOfBothSchemas)
{
    const Edit edit(Fixture(GetParam()));
    const auto group = edit.consumer.tree.document_element().last_child();
    if (edit.result.registers.empty())
    {
        return; // nothing is new
    }
    const Names kinds{"Category", "Enumeration", "Integer", "Float", "Boolean", "IntReg", "FloatReg"};
    EXPECT_FALSE(group.children().empty());
    for (const auto &node : group.children())
    {
        EXPECT_NE(std::ranges::find(kinds, LocalName(node)), kinds.end()) << LocalName(node);
    }
}

INSTANTIATE_TEST_SUITE_P(All, ElementOrder, testing::ValuesIn(AllFixtures()),
                         [](const auto &name) { return name.param; });

struct MisplacedChild
{
    std::string nodes;
    std::string found;
};

TEST(ElementOrderCheck, FindsAMisplacedChild)
{
    for (const auto &[nodes, found] :
         {MisplacedChild{"<Integer Name=\"A\"><Value>1</Value><ToolTip>t</ToolTip></Integer>",
                         "Integer A: ToolTip"},
          MisplacedChild{"<IntReg Name=\"B\"><pInvalidator>A</pInvalidator><pPort>P</pPort></IntReg>",
                         "IntReg B: pPort"},
          MisplacedChild{"<Category Name=\"C\"><pFeatures>A</pFeatures></Category>",
                         "Category C: pFeatures"}})
    {
        EXPECT_EQ(FirstOutOfOrder(Parsed(DescriptionOf(nodes)).tree), found);
    }
}

} // namespace
} // namespace GenTL::internal
