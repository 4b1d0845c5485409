// The descriptions as the proxy producer's own reader sees them. The reader knows fewer elements than GenApi.

#include "nodemap/node_access.h"
#include "support/simulator/simulator.h"

#include <algorithm>

namespace simulator_test
{
namespace
{

using namespace internal::nodemap;

/// A port of the simulator for the reader. Functions that the reader does not need fail the test.
class DirectPort : public internal::IPort
{
public:
    explicit DirectPort(PORT_HANDLE port) : m_port(port) {}

    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        EXPECT_OK(Tl().GCReadPort(m_port, address, buffer, size)) << address;
    }
    void WriteRegisters(uint64_t address, const void *buffer, size_t *size) override
    {
        EXPECT_OK(Tl().GCWritePort(m_port, address, buffer, size)) << address;
    }
    void GetPortURL(char *, size_t *) override { Unexpected(); }
    void GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unexpected(); }
    void GetNumPortURLs(uint32_t *) override { Unexpected(); }
    void GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unexpected(); }
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unexpected(); }
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unexpected(); }
    internal::ModuleType GetModuleType() const override { return internal::ModuleType::RemoteDevice; }

private:
    static void Unexpected() { ADD_FAILURE() << "The reader reads and writes registers only"; }

    PORT_HANDLE m_port;
};

class SimulatorThroughReader : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        Read(m_port);
    }

    void Read(PORT_HANDLE handle)
    {
        m_reader = std::make_unique<NodeMapParser>(ReadDescription(handle));
        m_direct = std::make_unique<DirectPort>(handle);
        ASSERT_TRUE(m_reader->IsValid());
    }

    const NodeInfo &Node(const std::string &name) { return m_reader->FindNode(name); }

    std::unique_ptr<NodeMapParser> m_reader;
    std::unique_ptr<DirectPort> m_direct;
};

TEST_F(SimulatorThroughReader, HasTheFeaturesOfACamera)
{
    EXPECT_EQ(1280U, ReadUnsigned32(*m_direct, Node("Width")));
    EXPECT_EQ(1024U, ReadUnsigned32(*m_direct, Node("Height")));
    EXPECT_EQ(1280U * 1024, ReadUnsigned(*m_direct, Node("PayloadSize")));
    EXPECT_EQ(10000.0F, ReadFloat(*m_direct, *m_reader, Node("ExposureTime")));
    EXPECT_EQ("Mono8", GetEnumEntry(*m_direct, *m_reader, Node("PixelFormat")));
    EXPECT_EQ(4U, Node("PixelFormat").Length);
    EXPECT_EQ(Endianess::Little, Node("PixelFormat").Endianess);
    EXPECT_EQ(1280, GetBoundValue(*m_direct, *m_reader, Node("SensorWidth").Value));
}

TEST_F(SimulatorThroughReader, OffersAllPixelFormats)
{
    const std::vector<std::string> expected = {"Mono8",   "Mono10",       "Mono12",      "Mono10p",
                                               "Mono12p", "Mono10g40QVR", "Mono12g24QVR"};
    EXPECT_EQ(expected, GetAvailableEnumEntries(*m_direct, *m_reader, Node("PixelFormat")));
    SetEnumEntry(*m_direct, *m_reader, Node("PixelFormat"), "Mono12g24QVR");
    EXPECT_EQ("Mono12g24QVR", GetEnumEntry(*m_direct, *m_reader, Node("PixelFormat")));
}

TEST_F(SimulatorThroughReader, EntryConditionsReadRegisters)
{
    const auto entries = Node("PixelFormat").EnumEntries;
    ASSERT_GE(entries.size(), 6U);
    for (const auto &entry : entries)
    {
        EXPECT_EQ(GenNodeType::StructEntry, m_reader->GetNodeType(entry.pIsAvailable));
        EXPECT_EQ(GenNodeType::Converter, m_reader->GetNodeType(entry.pIsImplemented));
        const uint64_t address = m_reader->FindStructEntry(entry.pIsAvailable).Register.Address;
        EXPECT_TRUE(m_reader->TryFindNodeByAddress(address).has_value());
    }
}

TEST_F(SimulatorThroughReader, BinningWorksForEverySelection)
{
    for (const std::string prefix : {"Binning", "Decimation"})
    {
        const auto entries = GetAvailableEnumEntries(*m_direct, *m_reader, Node(prefix + "Selector"));
        EXPECT_EQ(std::vector<std::string>{"Sensor"}, entries);
        SetEnumEntry(*m_direct, *m_reader, Node(prefix + "Selector"), "Sensor");
        EXPECT_EQ(1U, ReadUnsigned32(*m_direct, Node(prefix + "Horizontal")));
        EXPECT_EQ(1U, ReadUnsigned32(*m_direct, Node(prefix + "Vertical")));
    }
}

TEST_F(SimulatorThroughReader, StreamHasDroppedFrameCount)
{
    Read(m_stream);
    const NodeInfo &node = Node("StreamDroppedFrameCount");
    EXPECT_TRUE(IsTrue(*m_direct, *m_reader, node.pIsAvailable));
    EXPECT_TRUE(IsTrue(*m_direct, *m_reader, node.pIsImplemented));
    EXPECT_EQ(0, ReadInteger(*m_direct, node));
}

TEST_F(SimulatorThroughReader, HasForwardedSystemFeatures)
{
    Read(m_system);
    const std::pair<const char *, uint64_t> expected[] = {{"InterfaceCount", 4},
                                                          {"InterfaceSelector", 4},
                                                          {"InterfaceDisplayName", 128},
                                                          {"InterfaceID", 128},
                                                          {"InterfaceType", 4},
                                                          {"GevInterfaceDefaultIPAddress", 4},
                                                          {"GevInterfaceDefaultSubnetMask", 4},
                                                          {"GevInterfaceDefaultGateway", 4},
                                                          {"GevInterfaceMACAddress", 8},
                                                          {"NetworkAdapterCount", 4}};
    for (const auto &[name, length] : expected)
    {
        EXPECT_EQ(length, Node(name).Length) << name;
        EXPECT_EQ(Endianess::Little, Node(name).Endianess) << name;
    }
}

} // namespace
} // namespace simulator_test
