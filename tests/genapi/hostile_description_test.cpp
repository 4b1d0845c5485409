#include "genapi/node_graph.h"

#include "register_device.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal::genapi
{
namespace
{

std::string Levels(const std::string &element, int count, const std::string &inside)
{
    return Repeated("<" + element + ">", count) + inside + Repeated("</" + element + ">", count);
}

TEST(Description, HasAtMost200Levels)
{
    const Failure failure{"The description has more than 200 levels of elements", GC_ERR_ERROR};
    // The root is the first level.
    const std::pair<std::string, std::string> cases[] = {
        {Levels("Group", 198, "<Integer Name=\"I\"/>"), Levels("Group", 199, "<Integer Name=\"I\"/>")},
        {Levels("Unknown", 199, ""), Levels("Unknown", 200, "")},
        {Levels("IntSwissKnife", 199, ""), Levels("IntSwissKnife", 200, "")},
        {Element("Integer", "I", Levels("Value", 198, "")),
         Element("Integer", "I", Levels("Value", 199, ""))},
        {"", Levels("Unknown", 100000, "")},
        {"", Levels("EnumEntry", 100000, "")},
    };
    for (const auto &[allowed, refused] : cases)
    {
        EXPECT_EQ(FailureOf([&, text = allowed] { RegisterDevice device(text); }), Failure{});
        EXPECT_EQ(FailureOf([&, text = refused] { RegisterDevice device(text); }), failure);
    }
}

TEST(Description, HasAtMost200000Nodes)
{
    RegisterDevice largest(Repeated("<Node/>", 200000));
    EXPECT_EQ(largest.graph.Size(), 200000U);
    EXPECT_EQ(FailureOf([] { RegisterDevice device(Repeated("<Node/>", 200001)); }),
              (Failure{"The description has more than 200000 nodes", GC_ERR_ERROR}));
}

TEST(Description, MayHaveNodesThatStandNowhere)
{
    RegisterDevice device("<EnumEntry Name=\"Lost\"><Value>3</Value></EnumEntry>"
                          "<StructEntry Name=\"Alone\"><Bit>1</Bit></StructEntry><IntSwissKnife/><Integer/>"
                          "<StructReg Name=\"S\"><EnumEntry Name=\"X\"/></StructReg>");
    EXPECT_EQ(device.features.ReadInteger("Lost"), 3);
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Alone"); }),
              (Failure{"Alone: a length of 0 bytes", GC_ERR_ERROR}));
}

} // namespace
} // namespace GenTL::internal::genapi
