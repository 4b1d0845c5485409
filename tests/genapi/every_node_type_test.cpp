#include "genapi/graph_walks.h"
#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

class EveryNodeType : public testing::Test
{
protected:
    EveryNodeType()
    {
        port.Set(0x10, {0, 0, 0x02, 0x80});             // 640 columns
        port.Set(0x14, {0, 0, 0, 2});                   // running
        port.Set(0x18, {0x40, 0x59, 0, 0, 0, 0, 0, 0}); // 100.0
        port.Set(0x20, {0x40, 0x69, 0, 0, 0, 0, 0, 0}); // 200.0
        port.Set(0x40, {'L', 'e', 'f', 't', 0});
        port.Set(0x50, {9, 8, 7});
        port.Set(0x60, {3});
        port.Set(0x68, {0xD0, 0x01}); // level -3, has the fast mode
        port.Set(0x70, {0x7B, 0x00}); // 12.3 dB
        port.Set(0x80, {1});          // fast
    }

    static pugi::xml_document Load()
    {
        pugi::xml_document document;
        const auto path = std::filesystem::path(QVR_SOURCE_DIR) / "tests/genapi/every_node_type.xml";
        EXPECT_TRUE(document.load_file(path.c_str())) << path;
        return document;
    }

    const pugi::xml_document document = Load();
    const NodeGraph graph{document};
    MemoryRegisters port;
    GraphFeatures features{graph, port};
};

TEST_F(EveryNodeType, IsInTheDocument)
{
    std::set<NodeKind> kinds;
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        kinds.insert(graph[id].kind);
    }
    EXPECT_EQ(kinds.size(), static_cast<size_t>(NodeKind::SmartFeature) + 1);
}

TEST_F(EveryNodeType, IsRead)
{
    const std::pair<const char *, const char *> texts[] = {
        {"Width", "640"},       {"WidthMax", "4096"}, {"IsRunning", "true"}, {"RunningBits", "2"},
        {"Gain", "12.3"},       {"Exposure", "100"},  {"Mode", "Fast"},      {"Start", "1"},
        {"DeviceName", "Left"}, {"Vendor", "Tests"},  {"HasFast", "1"},      {"Level", "-3"},
        {"Ratio", "0.15625"},   {"Rest", "3463"}, // 4096 - 640 + 7
    };
    for (const auto &[name, text] : texts)
    {
        EXPECT_EQ(features.ReadText(name), text) << name;
    }
    EXPECT_THAT(features.ReadBytes("Table"), ElementsAre(9, 8, 7));
    features.WriteInteger("Selector", 1);
    EXPECT_EQ(features.ReadFloat("Exposure"), 200);
    EXPECT_EQ(features.LimitsOf<int64_t>("Width"), (Limits<int64_t>{8, 640, 8}));
    EXPECT_EQ(features.LimitsOf<double>("GainConverter"), (Limits<double>{-3276.8, 3276.7, {}}));
}

TEST_F(EveryNodeType, IsWritten)
{
    features.WriteInteger("Width", 1024);
    EXPECT_THAT(port.Get(0x10, 4), ElementsAre(0, 0, 4, 0));
    features.WriteFloat("Gain", 20.04);
    EXPECT_THAT(port.Get(0x70, 2), ElementsAre(200, 0));
    features.WriteText("Mode", "Slow");
    EXPECT_THAT(port.Get(0x80, 1), ElementsAre(0));
    features.Execute("Start");
    EXPECT_THAT(port.Get(0x64, 4), ElementsAre(1, 0, 0, 0));
    features.WriteInteger("Level", 5);
    EXPECT_THAT(port.Get(0x68, 2), ElementsAre(0x50, 0x01));
    features.WriteFloat("Exposure", -2);
    EXPECT_THAT(port.Get(0x18, 2), ElementsAre(0xC0, 0));
    features.WriteInteger("TLParamsLocked", 1);
    EXPECT_EQ(FailureOf([&] { features.WriteInteger("Width", 8); }),
              (Failure{"Width: not writable: pIsLocked TLParamsLocked is true", GC_ERR_ACCESS_DENIED}));
}

TEST_F(EveryNodeType, FailsWhereItHasNoValue)
{
    for (const auto *const name :
         {"Rom", "Text", "Key", "Lock", "Smart", "CircleA", "Dangling", "ChunkReg", "Nothing"})
    {
        EXPECT_EQ(FailureOf([&] { features.ReadInteger(name); }).code, GC_ERR_ERROR) << name;
        EXPECT_FALSE(features.AccessOf(name).readable) << name;
    }
}

/// Schema 1.0 has no String, no Constant and no Expression: limits and texts come from other nodes.
TEST_F(EveryNodeType, IsReadInTheFormsOfSchema10)
{
    RegisterDevice device(
        Element("Integer", "Width",
                "<pValue>WidthReg</pValue><pMin>Least</pMin><pMax>Most</pMax><pInc>Least</pInc>"
                "<Representation>Linear</Representation>") +
        Element("Integer", "Least", "<Value>8</Value>") + Element("Integer", "Most", "<Value>1000</Value>") +
        Register("IntReg", "WidthReg", 0x10, 4, "<Endianess>BigEndian</Endianess>") +
        Element("StringReg", "Name",
                "<Address>0x40</Address><Length>16</Length><AccessMode>RO</AccessMode>") +
        Element("SwissKnife", "Half", "<pVariable Name=\"W\">Width</pVariable><Formula>W*0.5</Formula>"));
    device.port.bytes = port.bytes;
    EXPECT_EQ(device.features.ReadInteger("Width"), 640);
    EXPECT_EQ(device.features.LimitsOf<int64_t>("Width"), (Limits<int64_t>{8, 1000, 8}));
    EXPECT_EQ(device.features.ReadText("Name"), "Left");
    EXPECT_EQ(device.features.ReadFloat("Half"), 320);
}

} // namespace
} // namespace GenTL::internal::genapi
