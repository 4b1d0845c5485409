#include "support/simulator/simulator.h"

#include <gmock/gmock.h>

#include <cctype>
#include <cmath>
#include <set>

namespace simulator_test
{
namespace
{

/// Expects every reference of the description to lead to a node, and every name to be unique.
void ExpectConsistent(PORT_HANDLE port)
{
    const Nodes nodes(port);
    const pugi::xml_node root = nodes.Document().child("RegisterDescription");
    EXPECT_STREQ("1", root.attribute("SchemaMajorVersion").value());
    std::set<std::string> names;
    for (const pugi::xpath_node found : root.select_nodes(
             ".//*[@Name and not(self::EnumEntry) and not(self::pVariable) and not(self::Constant)]"))
    {
        const std::string name = found.node().attribute("Name").value();
        EXPECT_TRUE(names.insert(name).second) << name << " is there twice";
    }
    size_t references = 0;
    for (const pugi::xpath_node found : root.select_nodes(".//*"))
    {
        const std::string element = found.node().name();
        if (element.size() > 1 && element[0] == 'p' && std::isupper(element[1]) != 0)
        {
            ++references;
            EXPECT_TRUE(names.contains(found.node().text().get()))
                << element << " to " << found.node().text().get();
        }
    }
    EXPECT_GT(references, 0U);
}

/// Expects every feature to have the texts that a feature tree shows.
void ExpectTexts(PORT_HANDLE port)
{
    const Nodes nodes(port);
    const pugi::xml_node root = nodes.Document().child("RegisterDescription");
    size_t features = 0;
    for (const pugi::xpath_node found : root.select_nodes("Category/pFeature"))
    {
        const std::string name = found.node().text().get();
        const pugi::xml_node node = root.find_node([&](pugi::xml_node candidate)
                                                   { return candidate.attribute("Name").value() == name; });
        if (std::string(node.name()) != "Category")
        {
            ++features;
            for (const char *text : {"ToolTip", "Description", "DisplayName"})
            {
                EXPECT_STRNE("", node.child(text).text().get()) << text << " of " << name;
            }
        }
    }
    EXPECT_GT(features, 0U);
}

/// Expects each register of the module to be readable at its address with its length.
void ExpectReadable(PORT_HANDLE port)
{
    const Nodes nodes(port);
    const std::string modulePort =
        nodes.Document().child("RegisterDescription").find_child_by_attribute("NameSpace", "Standard")
            ? nodes.Document().child("RegisterDescription").last_child().attribute("Name").value()
            : "";
    size_t registers = 0;
    for (const pugi::xml_node node : nodes.Document().child("RegisterDescription"))
    {
        if (node.child("Address") && modulePort == node.child("pPort").text().get())
        {
            std::vector<uint8_t> bytes(node.child("Length").text().as_uint());
            size_t size = bytes.size();
            EXPECT_OK(Tl().GCReadPort(port, std::stoull(node.child("Address").text().get(), nullptr, 16),
                                      bytes.data(), &size))
                << node.attribute("Name").value();
            ++registers;
        }
    }
    EXPECT_GT(registers, 0U);
}

using SimulatorDescription = CameraTest;

TEST_F(SimulatorDescription, IsConsistentForEveryModule)
{
    AnnounceBuffers(1);
    for (const PORT_HANDLE port : {m_system, m_interface, m_device, m_port, m_stream, m_buffers[0]})
    {
        const std::string module =
            AskText([&](auto *type, void *out, size_t *size)
                    { return Tl().GCGetPortInfo(port, PORT_INFO_MODULE, type, out, size); });
        SCOPED_TRACE(module);
        ExpectConsistent(port);
        ExpectTexts(port);
        ExpectReadable(port);
    }
}

TEST_F(SimulatorDescription, IsConsistentForEveryCamera)
{
    const std::pair<const char *, const char *> cameras[] = {{"SIM-GIGE-0", "SIM-SIM0004"},
                                                             {"SIM-GIGE-1", "SIM-SIM0005"},
                                                             {"SIM-GIGE-1", "SIM-SIM0006"},
                                                             {"SIM-GIGE-1", "SIM-SIM0007"}};
    ASSERT_OK(Tl().DevClose(m_device));
    ASSERT_OK(Tl().IFClose(m_interface));
    for (const auto &[interfaceId, deviceId] : cameras)
    {
        SCOPED_TRACE(deviceId);
        OpenCamera(interfaceId, deviceId);
        ExpectConsistent(m_port);
        ExpectReadable(m_port);
        ASSERT_OK(Tl().IFClose(m_interface));
    }
}

TEST_F(SimulatorDescription, MatchesItsUrl)
{
    const std::string url =
        AskText([&](auto *type, void *out, size_t *size)
                { return Tl().GCGetPortURLInfo(m_port, 0, URL_INFO_URL, type, out, size); });
    EXPECT_TRUE(url.starts_with("local:///OVRA-M1.zip;100000;")) << url;
    char text[256];
    size_t size = sizeof text;
    ASSERT_OK(Tl().GCGetPortURL(m_port, text, &size));
    EXPECT_EQ(url, text);
    size = 5;
    EXPECT_CODE(GC_ERR_BUFFER_TOO_SMALL, Tl().GCGetPortURL(m_port, text, &size));
    INFO_DATATYPE type = 0;
    EXPECT_CODE(GC_ERR_INVALID_INDEX, Tl().GCGetPortURLInfo(m_port, 1, URL_INFO_URL, &type, nullptr, &size));
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE,
                Tl().GCGetPortURLInfo(m_port, 0, URL_INFO_FILE_SHA1_HASH, &type, nullptr, &size));
}

TEST_F(SimulatorDescription, StreamHasDroppedFrameCount)
{
    const Nodes stream(m_stream);
    EXPECT_EQ(0, stream.Get("StreamDroppedFrameCount"));
    EXPECT_EQ("Stream0", stream.GetText("StreamID"));
    EXPECT_EQ(4, stream.Get("StreamAnnounceBufferMinimum"));
}

TEST_F(SimulatorDescription, WritesChunkIdsAsWholeBytes)
{
    size_t ids = 0;
    for (const pugi::xpath_node found : m_camera->Document().select_nodes("//ChunkID"))
    {
        const std::string id = found.node().text().get();
        EXPECT_EQ(0U, id.size() % 2) << id;
        EXPECT_EQ(std::string::npos, id.find_first_not_of("0123456789ABCDEF")) << id;
        ++ids;
    }
    EXPECT_EQ(5U, ids);
}

using SimulatorFeatures = CameraTest;

TEST_F(SimulatorFeatures, IdentifyTheCamera)
{
    EXPECT_EQ("OVRA-M1", m_camera->GetText("DeviceModelName"));
    EXPECT_EQ("QVR", m_camera->GetText("DeviceVendorName"));
    EXPECT_EQ("SIM0002", m_camera->GetText("DeviceSerialNumber"));
    ASSERT_OK(m_camera->Set("TimestampLatch", 1));
    EXPECT_EQ(0, m_camera->Get("TimestampLatch"));
    EXPECT_GT(m_camera->Get("TimestampLatchValue"), 0);
}

TEST_F(SimulatorFeatures, KeepTheRegionOnTheSensor)
{
    EXPECT_EQ(1280, m_camera->Get("Width"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("OffsetX", 1));
    ASSERT_OK(m_camera->Set("Width", 1000));
    ASSERT_OK(m_camera->Set("OffsetX", 280));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("Width", 1001));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("Width", 15));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("OffsetX", 281));
    EXPECT_EQ(1000, m_camera->Get("Width"));
}

TEST_F(SimulatorFeatures, RefuseValuesOffTheIncrement)
{
    ASSERT_OK(Tl().IFClose(m_interface));
    OpenCamera("SIM-GIGE-0", "SIM-SIM0001");
    EXPECT_EQ(2448, m_camera->Get("Width"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("Width", 2446));
    EXPECT_OK(m_camera->Set("Width", 2444));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("Height", 2047));
    EXPECT_OK(m_camera->Set("Height", 2046));
}

TEST_F(SimulatorFeatures, ShrinkTheRegionWithBinning)
{
    ASSERT_OK(m_camera->Set("BinningHorizontal", 2));
    EXPECT_EQ(640, m_camera->Get("WidthMax"));
    EXPECT_EQ(640, m_camera->Get("Width"));
    ASSERT_OK(m_camera->Set("DecimationVertical", 4));
    EXPECT_EQ(256, m_camera->Get("Height"));
    EXPECT_EQ(640 * 256, m_camera->Get("PayloadSize"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("BinningHorizontal", 5));
}

TEST_F(SimulatorFeatures, PayloadSizeFitsEveryPixelFormat)
{
    SetRegion(17, 3);
    const std::map<std::string, int64_t> sizes = {
        {"Mono8", 51},   {"Mono10", 102},      {"Mono12", 102},      {"Mono10p", 64},
        {"Mono12p", 77}, {"Mono10g40QVR", 64}, {"Mono12g24QVR", 77},
    };
    for (const auto &[format, size] : sizes)
    {
        ASSERT_OK(m_camera->SetEntry("PixelFormat", format));
        EXPECT_EQ(size, m_camera->Get("PayloadSize")) << format;
    }
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("PixelFormat", 0x02180014));
}

TEST_F(SimulatorFeatures, HaveBitsForEveryPixelFormat)
{
    const pugi::xml_node node = m_camera->Node("PixelFormat");
    int64_t bit = 1;
    for (const pugi::xml_node entry : node.children("EnumEntry"))
    {
        const std::string name = entry.attribute("Name").value();
        EXPECT_EQ("PixelFormat" + name + "Implemented", entry.child("pIsImplemented").text().get());
        EXPECT_EQ("PixelFormat" + name + "Available", entry.child("pIsAvailable").text().get());
        EXPECT_NE(0, m_camera->Get("PixelFormatImplementedReg") & bit) << name;
        bit <<= 1;
    }
    EXPECT_EQ(bit - 1, m_camera->Get("PixelFormatImplementedReg"));
}

TEST_F(SimulatorFeatures, RefuseAnAbsentPixelFormat)
{
    ASSERT_OK(Tl().DevClose(m_device));
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(m_interface, "SIM-SIM0003", DEVICE_ACCESS_CONTROL, &device));
    ASSERT_OK(Tl().DevGetPort(device, &port));
    const Nodes foreign(port);
    EXPECT_EQ(0x1F, foreign.Get("PixelFormatImplementedReg"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, foreign.SetEntry("PixelFormat", "Mono12g24QVR"));
    EXPECT_OK(foreign.SetEntry("PixelFormat", "Mono12p"));
}

TEST_F(SimulatorFeatures, RefuseValuesOutOfRange)
{
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetFloat("ExposureTime", 0.0F));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetFloat("ExposureTime", NAN));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetFloat("Gain", 24.5F));
    EXPECT_OK(m_camera->SetFloat("Gain", 24.0F));
    EXPECT_EQ(24.0F, m_camera->GetFloat("Gain"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("ChunkModeActive", 2));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("TestPattern", 100));
}

TEST_F(SimulatorFeatures, KeepAValueForEachSelection)
{
    ASSERT_OK(m_camera->SetEntry("ChunkSelector", "Gain"));
    EXPECT_EQ(0, m_camera->Get("ChunkEnable"));
    ASSERT_OK(m_camera->Set("ChunkEnable", 1));
    ASSERT_OK(m_camera->SetEntry("ChunkSelector", "Timestamp"));
    EXPECT_EQ(0, m_camera->Get("ChunkEnable"));
    ASSERT_OK(m_camera->SetEntry("ChunkSelector", "Gain"));
    EXPECT_EQ(1, m_camera->Get("ChunkEnable"));
    ASSERT_OK(m_camera->SetEntry("ChunkSelector", "Image"));
    EXPECT_EQ(1, m_camera->Get("ChunkEnable"));
}

TEST_F(SimulatorFeatures, KeepTheImageChunkEnabled)
{
    const std::string lock = m_camera->Node("ChunkEnable").child("pIsLocked").text().get();
    std::vector<std::string> chunks;
    for (const pugi::xml_node entry : m_camera->Node("ChunkSelector").children("EnumEntry"))
    {
        const std::string chunk = entry.attribute("Name").value();
        chunks.push_back(chunk);
        ASSERT_OK(m_camera->SetEntry("ChunkSelector", chunk));
        ASSERT_OK(m_camera->Set("ChunkEnable", 1)) << chunk;
        EXPECT_OK(m_camera->Set("ChunkEnable", 0)) << chunk;
        EXPECT_EQ(chunk == "Image" ? 1 : 0, m_camera->Get("ChunkEnable")) << chunk;
        EXPECT_EQ(chunk == "Image" ? 1 : 0, m_camera->Get(lock)) << chunk;
    }
    EXPECT_THAT(chunks, testing::ElementsAre("Image", "FrameID", "Timestamp", "ExposureTime", "Gain",
                                             "ImageChecksum"));
}

TEST_F(SimulatorFeatures, LockChunksWithTheImageLayout)
{
    const std::string lock = m_camera->Node("ChunkEnable").child("pIsLocked").text().get();
    std::vector<std::string> chunks;
    ASSERT_OK(m_camera->SetEntry("ChunkSelector", "Gain"));
    ASSERT_OK(m_camera->Set("TLParamsLocked", 1));
    EXPECT_EQ(1, m_camera->Get(lock));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->Set("ChunkEnable", 1));
}

} // namespace
} // namespace simulator_test
