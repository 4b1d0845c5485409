#include "port/module_type.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

TEST(ModuleType, PrintsItsName)
{
    EXPECT_EQ(fmt::format("{}", ModuleType::System), "System");
    EXPECT_EQ(fmt::format("{}", ModuleType::Interface), "Interface");
    EXPECT_EQ(fmt::format("{}", ModuleType::Device), "Device");
    EXPECT_EQ(fmt::format("{}", ModuleType::RemoteDevice), "RemoteDevice");
    EXPECT_EQ(fmt::format("{}", ModuleType::Buffer), "Buffer");
    EXPECT_EQ(fmt::format("{}", ModuleType::Event), "Event");
    EXPECT_EQ(fmt::format("{}", ModuleType::DataStream), "DataStream");
}

TEST(ModuleType, PrintsAnUnknownValueAsANumber)
{
    EXPECT_EQ(fmt::format("{}", static_cast<ModuleType>(7)), "7");
    EXPECT_EQ(fmt::format("{}", static_cast<ModuleType>(-1)), "-1");
}

TEST(ModuleType, KeepsItsValues)
{
    EXPECT_EQ(static_cast<int>(ModuleType::System), 0);
    EXPECT_EQ(static_cast<int>(ModuleType::Interface), 1);
    EXPECT_EQ(static_cast<int>(ModuleType::Device), 2);
    EXPECT_EQ(static_cast<int>(ModuleType::RemoteDevice), 3);
    EXPECT_EQ(static_cast<int>(ModuleType::Buffer), 4);
    EXPECT_EQ(static_cast<int>(ModuleType::Event), 5);
    EXPECT_EQ(static_cast<int>(ModuleType::DataStream), 6);
}

} // namespace
} // namespace GenTL::internal
