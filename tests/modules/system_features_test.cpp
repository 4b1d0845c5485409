#include "modules/system_features.h"

#include "nodemap/descriptions.h"
#include "nodemap/nodemap_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

template <typename Predicate>
std::vector<std::string> NamesOf(Predicate predicate)
{
    std::vector<std::string> names;
    for (const auto &row : SystemFeatures())
    {
        if (predicate(row))
        {
            names.emplace_back(row.Name);
        }
    }
    return names;
}

TEST(SystemFeatures, FollowEachOtherWithoutAGap)
{
    uint64_t end = 0;
    for (const auto &row : SystemFeatures())
    {
        EXPECT_EQ(row.Address, end) << row.Name;
        end = row.Address + row.Size;
    }
    EXPECT_EQ(end, 0x4A0U);
}

TEST(SystemFeatures, AgreeWithTheDescription)
{
    const nodemap::NodeMapParser description(nodemap::SystemDescription());
    ASSERT_TRUE(description.IsValid());
    for (const auto &row : SystemFeatures())
    {
        const auto &node = description.FindFeatureNode(std::string(row.Name));
        EXPECT_EQ(node.Address, row.Address) << row.Name;
        EXPECT_EQ(node.Length, row.Size) << row.Name;
        EXPECT_EQ(node.Endianess, nodemap::Endianess::Little) << row.Name;
        EXPECT_EQ(static_cast<int32_t>(node.AccessMode), row.Access) << row.Name;
        EXPECT_EQ(node.Type == "StringReg", row.Kind == nodemap::RegisterKind::String) << row.Name;
    }
}

TEST(SystemFeatures, ReadThroughWhereTheInterfaceIsDescribed)
{
    EXPECT_THAT(NamesOf([](const auto &row) { return row.OnRead != nullptr; }),
                UnorderedElementsAreArray(readThroughFeatures));
}

TEST(SystemFeatures, ActOnAWriteOfCommandAndSelectorOnly)
{
    EXPECT_THAT(NamesOf([](const auto &row) { return row.OnWrite != nullptr; }),
                ElementsAre("InterfaceUpdateList", "InterfaceSelector"));
}

TEST(SystemFeatures, AreWritableWhereAConsumerMayWrite)
{
    EXPECT_THAT(NamesOf([](const auto &row) { return row.Access != 1; }),
                ElementsAre("InterfaceUpdateList", "InterfaceUpdateTimeout", "InterfaceSelector"));
}

} // namespace
} // namespace GenTL::internal
