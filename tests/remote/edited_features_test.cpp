#include "edited_device.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace GenTL::internal
{
namespace
{

using namespace edited;

/// What a reader says of a feature, as a text.
std::string AnswerFor(genapi::GraphFeatures &features, const std::string &name)
{
    const auto access = features.AccessOf(name);
    auto answer = fmt::format("{}{}{}{}{} ", access.implemented, access.available, access.locked,
                              access.readable, access.writable);
    const auto add = [&answer](auto read)
    {
        try
        {
            answer += fmt::format("{} ", read());
        }
        catch (const GenTLException &exception)
        {
            answer += fmt::format("error {} ", exception.Code());
        }
    };
    add([&] { return features.ReadInteger(name); });
    add([&] { return features.ReadFloat(name); });
    add([&] { return features.ReadText(name); });
    add(
        [&]
        {
            const auto limits = features.LimitsOf<double>(name);
            return fmt::format("{}..{}/{}", limits.min, limits.max, limits.increment.value_or(0));
        });
    add(
        [&]
        {
            std::string entries;
            for (const auto &entry : features.EntriesOf(name))
            {
                entries +=
                    fmt::format("{}={}:{}{} ", entry.name, entry.value, entry.implemented, entry.available);
            }
            return entries;
        });
    return answer;
}

/// The features of the device that get another name in the edited description.
const std::set<std::string> &ReplacedNames()
{
    static const std::set<std::string> names{"PixelFormat",
                                             "PayloadSize",
                                             "PixelSize",
                                             "Scan3dOutputMode",
                                             "Scan3dCoordinateSelector",
                                             "Scan3dCoordinateScale",
                                             "Scan3dCoordinateOffset",
                                             "Scan3dAxisMin",
                                             "Scan3dAxisMax",
                                             "Scan3dInvalidDataFlag",
                                             "Scan3dInvalidDataValue"};
    return names;
}

struct EveryFeature : testing::TestWithParam<std::string>
{
    void Compare(uint64_t pattern, int64_t format)
    {
        EditedDevice camera(Fixture(GetParam()));
        camera.port.pattern = pattern;
        if (camera.edit.device.graph->Find("PixelFormatReg") != genapi::noNode)
        {
            camera.device.WriteInteger("PixelFormatReg", format);
        }
        const auto &graph = *camera.edit.device.graph;
        for (genapi::NodeId id = 0; id < graph.Size(); ++id)
        {
            const std::string name(graph[id].name);
            if (name.empty() || ReplacedNames().contains(name) || graph.Find(name) != id)
            {
                continue;
            }
            EXPECT_EQ(AnswerFor(camera.consumer, name), AnswerFor(camera.device, name)) << name;
        }
    }
};

TEST_P(EveryFeature, HasTheSameValueUnlessReplaced)
{
    for (const uint64_t pattern : {0U, 1U, 77U})
    {
        for (const auto format : {0x01080001, 0x010C0047, 5})
        {
            SCOPED_TRACE(fmt::format("pattern {}, format {:#x}", pattern, format));
            Compare(pattern, format);
        }
    }
}

TEST_P(EveryFeature, HasTheDevicesValueUnderTheDevicesName)
{
    EditedDevice camera(Fixture(GetParam()));
    camera.port.pattern = 3;
    size_t moved = 0;
    for (const auto &name : ReplacedNames())
    {
        // All new names get the same suffix.
        for (const std::string suffix : {"", "_2"})
        {
            const auto newName = "Device" + name + suffix;
            if (camera.edit.device.graph->Find(name) == genapi::noNode || !camera.consumer.Has(newName) ||
                camera.device.Has(newName))
            {
                continue;
            }
            EXPECT_EQ(camera.consumer.ReadFloat(newName), camera.device.ReadFloat(name)) << newName;
            EXPECT_FALSE(camera.consumer.AccessOf(newName).writable) << newName;
            ++moved;
        }
    }
    EXPECT_EQ(moved != 0, !camera.edit.result.registers.empty());
}

TEST_P(EveryFeature, IsReadableThroughASecondEdit)
{
    // The first edit as the device of the second one.
    EditedDevice once(Fixture(GetParam()));
    EditedDevice twice(once.edit.result.document);
    const auto &graph = *once.edit.device.graph;
    for (genapi::NodeId id = 0; id < graph.Size(); ++id)
    {
        EXPECT_TRUE(graph[id].name.empty() || graph[id].kind == genapi::NodeKind::EnumEntry ||
                    twice.consumer.Has(graph[id].name))
            << graph[id].name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, EveryFeature, testing::ValuesIn(AllFixtures()),
                         [](const auto &name) { return name.param; });

} // namespace
} // namespace GenTL::internal
