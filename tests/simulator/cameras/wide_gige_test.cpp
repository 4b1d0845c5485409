#include "support/simulator/wide_camera.h"

#include <set>

namespace simulator_test
{
namespace
{

class WideGigE : public WideCameraTest
{
protected:
    void SetUp() override
    {
        WideCameraTest::SetUp();
        Open("SIM-WIDE-GIGE", "SIM-SIM0008");
    }

    GC_ERROR UrlInfo(URL_INFO_CMD command) const
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        return Tl().GCGetPortURLInfo(m_port, 0, command, &type, nullptr, &size);
    }
};

TEST_F(WideGigE, HasAZippedDescriptionWithBytesBehindIt)
{
    const auto file = DescriptionFile();
    EXPECT_TRUE(file.starts_with("PK"));
    EXPECT_EQ(0U, file.size() % 4096);
    EXPECT_EQ('\xFF', file.back());
    const auto root = m_nodes->Document().child("RegisterDescription");
    EXPECT_STREQ("Wideworld", root.attribute("VendorName").value());
    EXPECT_STREQ("WIDE_G2", root.attribute("ModelName").value());
}

TEST_F(WideGigE, HasRegistersOfFourBigEndianBytes)
{
    size_t registers = 0;
    for (const auto &found :
         m_nodes->Document().select_nodes("//*[pPort='Device' and Address and not(self::StringReg)]"))
    {
        const auto place = m_nodes->RegisterOf(found.node());
        const std::string name = found.node().attribute("Name").value();
        EXPECT_TRUE(place.bigEndian) << name;
        EXPECT_EQ(4U, place.length) << name;
        std::vector<uint8_t> bytes(place.length);
        size_t size = bytes.size();
        EXPECT_OK(Tl().GCReadPort(m_port, place.address, bytes.data(), &size)) << name;
        ++registers;
    }
    EXPECT_GT(registers, 30U);
}

TEST_F(WideGigE, RefersToItsOwnNodesOnly)
{
    std::set<std::string> names;
    for (const auto &found :
         m_nodes->Document().select_nodes("//*[@Name and not(self::EnumEntry) and not(self::pVariable)]"))
    {
        EXPECT_TRUE(names.insert(found.node().attribute("Name").value()).second);
    }
    for (const auto &found : m_nodes->Document().select_nodes(
             "//pValue|//pFeature|//pVariable|//pIsImplemented|//pIsAvailable|//pIsLocked|//pMax|//pPort"
             "|//pSelected|//pInvalidator"))
    {
        EXPECT_TRUE(names.contains(found.node().text().get())) << found.node().text().get();
    }
}

TEST_F(WideGigE, AnswersUrlInfoCommandsUpToSixOnly)
{
    EXPECT_CODE(GC_ERR_SUCCESS, UrlInfo(URL_INFO_URL));
    EXPECT_CODE(GC_ERR_SUCCESS, UrlInfo(URL_INFO_SCHEMA_VER_MINOR));
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE, UrlInfo(URL_INFO_FILE_SHA1_HASH));
    for (URL_INFO_CMD command = URL_INFO_FILE_REGISTER_ADDRESS; command <= URL_INFO_FILENAME; ++command)
    {
        EXPECT_CODE(GC_ERR_INVALID_PARAMETER, UrlInfo(command));
    }
}

TEST_F(WideGigE, ShowsValuesWithTheHighestByteFirst)
{
    uint8_t width[4] = {};
    size_t size = sizeof width;
    ASSERT_OK(Tl().GCReadPort(m_port, 0x10010, width, &size));
    EXPECT_EQ((std::vector<uint8_t>{0, 0, 1600 >> 8, 1600 & 0xFF}),
              std::vector<uint8_t>(width, width + size));
    EXPECT_EQ(1200, m_nodes->Get("Height"));
    EXPECT_FLOAT_EQ(10000.0F, m_nodes->GetFloat("ExposureTime"));
    EXPECT_EQ("WIDE-G2", m_nodes->GetText("DeviceModelName"));
    EXPECT_EQ("Wideworld", m_nodes->GetText("DeviceVendorName"));
    ASSERT_OK(m_nodes->SetFloat("ExposureTime", 250.5F));
    EXPECT_FLOAT_EQ(250.5F, m_nodes->GetFloat("ExposureTime"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_nodes->Set("Width", 1604));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_nodes->Set("Width", 1598));
    EXPECT_EQ(1600, m_nodes->Get("Width"));
}

TEST_F(WideGigE, KeepsItsNetworkSettings)
{
    EXPECT_EQ(0xC0A80C15, m_nodes->Get("GevCurrentIPAddress"));
    EXPECT_OK(m_nodes->Set("GevPersistentIPAddress", 0x0A000102));
    EXPECT_EQ(1, m_nodes->Get("GevCurrentIPConfigurationDHCPBit"));
    const uint8_t withoutDhcp[4] = {0, 0, 0, 4};
    const uint8_t withoutLinkLocal[4] = {0, 0, 0, 2};
    size_t size = 4;
    EXPECT_OK(Tl().GCWritePort(m_port, 0x14, withoutDhcp, &size));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, Tl().GCWritePort(m_port, 0x14, withoutLinkLocal, &size));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_nodes->Set("GevCurrentIPAddress", 1));
    ASSERT_OK(Tl().DevClose(m_device));
    ASSERT_OK(Tl().IFOpenDevice(m_interface, "SIM-SIM0008", DEVICE_ACCESS_CONTROL, &m_device));
    ASSERT_OK(Tl().DevGetPort(m_device, &m_port));
    m_nodes = std::make_unique<DescribedNodes>(RegistersOf(m_port), UnzipLoosely(DescriptionFile()));
    EXPECT_EQ(0x0A000102, m_nodes->Get("GevPersistentIPAddress"));
    EXPECT_EQ(0, m_nodes->Get("GevCurrentIPConfigurationDHCPBit"));
    EXPECT_EQ(1, m_nodes->Get("GevCurrentIPConfigurationLLABit"));
    EXPECT_EQ(0xC0A80C15, m_nodes->Get("GevCurrentIPAddress"));
}

TEST_F(WideGigE, HasNoRegisterBetweenThoseOfItsDescription)
{
    uint8_t byte = 0;
    size_t size = 1;
    for (const uint64_t address : {0x1000U, 0x10038U, 0x10078U, 0x1008CU})
    {
        EXPECT_CODE(GC_ERR_INVALID_ADDRESS, Tl().GCReadPort(m_port, address, &byte, &size)) << address;
    }
}

TEST_F(WideGigE, CodesThePixelFormatInItsRegister)
{
    EXPECT_EQ(0x08, m_nodes->Get("PixelFormatReg"));
    EXPECT_EQ(0x01080001, m_nodes->Get("PixelFormat"));
    ASSERT_OK(m_nodes->SetEntry("PixelFormat", "Mono12Packed"));
    EXPECT_EQ(0x1C, m_nodes->Get("PixelFormatReg"));
    EXPECT_EQ(0x010C0006, m_nodes->Get("PixelFormat"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_nodes->Set("PixelFormatReg", 0x01080001));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_nodes->Set("PixelFormatReg", 0x5A)); // BayerRG10Packed
    EXPECT_EQ(0x1C, m_nodes->Get("PixelFormatReg"));
}

TEST_F(WideGigE, RefusesTheEntriesThatItsFormulasHide)
{
    using Formats = std::set<std::string>;
    const auto available = [&]
    {
        Formats names;
        for (const auto entry : m_nodes->Node("PixelFormat").children("EnumEntry"))
        {
            const std::string name = entry.attribute("Name").value();
            const bool isAvailable = m_nodes->IsAvailable("PixelFormat", name);
            EXPECT_EQ(isAvailable, m_nodes->SetEntry("PixelFormat", name) == GC_ERR_SUCCESS) << name;
            if (isAvailable)
            {
                names.insert(name);
            }
        }
        return names;
    };
    const Formats all = {"Mono8", "Mono10Packed", "Mono12Packed", "BayerRG8", "BayerRG12Packed"};
    EXPECT_EQ(all, available());
    ASSERT_OK(m_nodes->SetEntry("SensorReadout", "Fast"));
    EXPECT_EQ((Formats{"Mono8", "Mono10Packed", "BayerRG8"}), available());
    ASSERT_OK(m_nodes->Set("PackedFormatsEnable", 0));
    EXPECT_EQ((Formats{"Mono8", "BayerRG8"}), available());
    ASSERT_OK(m_nodes->SetEntry("SensorReadout", "Precise"));
    EXPECT_EQ((Formats{"Mono8", "BayerRG8"}), available());
    ASSERT_OK(m_nodes->Set("PackedFormatsEnable", 1));
    EXPECT_EQ(all, available());
}

TEST_F(WideGigE, LeavesAFormatThatBecameUnavailable)
{
    ASSERT_OK(m_nodes->SetEntry("PixelFormat", "Mono12Packed"));
    ASSERT_OK(m_nodes->SetEntry("SensorReadout", "Fast"));
    EXPECT_EQ(0x08, m_nodes->Get("PixelFormatReg"));
}

TEST_F(WideGigE, SendsEveryFormatAsTheStandardPacksIt)
{
    SetSize(64, 4);
    ASSERT_OK(m_nodes->SetEntry("TestPattern", "GreyHorizontalRamp"));
    const std::pair<const char *, unsigned> formats[] = {
        {"Mono8", 8}, {"Mono10Packed", 10}, {"Mono12Packed", 12}, {"BayerRG8", 8}, {"BayerRG12Packed", 12}};
    for (const auto &[format, bits] : formats)
    {
        ASSERT_OK(m_nodes->SetEntry("PixelFormat", format));
        const auto bytes = Grab();
        EXPECT_EQ(bytes.size(), static_cast<size_t>(m_nodes->Get("PayloadSize"))) << format;
        const auto samples = bits == 8 ? std::vector<uint16_t>(bytes.begin(), bytes.end())
                                       : internal::SamplesOfPairs(bytes, bits, bytes.size() / 3 * 2);
        ASSERT_EQ(64U * 4, samples.size()) << format;
        for (size_t i = 0; i < samples.size(); ++i)
        {
            ASSERT_EQ(i % 64 * ((1U << bits) - 1) / 63, samples[i]) << format << ", pixel " << i;
        }
    }
}

TEST_F(WideGigE, ComputesThePayloadSizeThatTheStreamHas)
{
    const auto payload = [&] { return StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE); };
    SetSize(36, 6);
    for (const char *const format : {"Mono8", "Mono12Packed"})
    {
        ASSERT_OK(m_nodes->SetEntry("PixelFormat", format));
        ASSERT_OK(m_nodes->Set("ChunkModeActive", 0));
        EXPECT_EQ(payload(), static_cast<size_t>(m_nodes->Get("PayloadSize"))) << format;
        ASSERT_OK(m_nodes->Set("ChunkModeActive", 1));
        for (const char *const chunk : {"FrameID", "ExposureTime"})
        {
            ASSERT_OK(m_nodes->SetEntry("ChunkSelector", chunk));
            ASSERT_OK(m_nodes->Set("ChunkEnable", 1));
            EXPECT_EQ(payload(), static_cast<size_t>(m_nodes->Get("PayloadSize"))) << format;
        }
    }
}

TEST_F(WideGigE, TellsTimeInTicks)
{
    constexpr uint64_t ticksPerSecond = 125000000;
    EXPECT_EQ(ticksPerSecond,
              Ask<uint64_t>(
                  [&](auto *type, void *out, size_t *size)
                  { return Tl().DevGetInfo(m_device, DEVICE_INFO_TIMESTAMP_FREQUENCY, type, out, size); }));
    EXPECT_EQ(static_cast<int64_t>(ticksPerSecond), m_nodes->Get("TimestampTickFrequency"));
    SetSize(64, 4);
    const auto latch = [&]
    {
        EXPECT_OK(m_nodes->Set("TimestampLatch", 1));
        return static_cast<uint64_t>(m_nodes->Get("TimestampLatchValue"));
    };
    const auto before = latch();
    WithFrame(
        [&](BUFFER_HANDLE buffer)
        {
            const auto stamp = BufferInfo<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP);
            EXPECT_LE(before, stamp);
            EXPECT_LE(stamp, latch());
            uint64_t nanoseconds = 0;
            size_t size = sizeof nanoseconds;
            INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
            EXPECT_CODE(GC_ERR_NOT_AVAILABLE, Tl().DSGetBufferInfo(m_stream, buffer, BUFFER_INFO_TIMESTAMP_NS,
                                                                   &type, &nanoseconds, &size));
        });
}

TEST_F(WideGigE, ClosesEachChunkWithItsIdAndLength)
{
    SetSize(36, 2);
    ASSERT_OK(m_nodes->SetEntry("PixelFormat", "Mono12Packed")); // 108 bytes
    ASSERT_OK(m_nodes->Set("ChunkModeActive", 1));
    for (const char *const chunk : {"FrameID", "ExposureTime"})
    {
        ASSERT_OK(m_nodes->SetEntry("ChunkSelector", chunk));
        ASSERT_OK(m_nodes->Set("ChunkEnable", 1));
    }
    const auto bytes = Grab(2);
    const std::span<const uint8_t> all = bytes;
    ASSERT_EQ(108U + 8 + 8 + 8 + 4 + 8, all.size());
    const auto number = [&](size_t offset, size_t length)
    { return NumberOf(all.subspan(offset, length), true); };
    EXPECT_EQ(std::pair(uint64_t{1}, uint64_t{108}), std::pair(number(108, 4), number(112, 4)));
    EXPECT_EQ(2U, number(116, 8)); // the second frame
    EXPECT_EQ(std::pair(uint64_t{2}, uint64_t{8}), std::pair(number(124, 4), number(128, 4)));
    EXPECT_EQ(10000.0F, std::bit_cast<float>(static_cast<uint32_t>(number(132, 4))));
    EXPECT_EQ(std::pair(uint64_t{4}, uint64_t{4}), std::pair(number(136, 4), number(140, 4)));
}

TEST_F(WideGigE, SaysThatItsPortIsBigEndian)
{
    const auto flag = [&](PORT_INFO_CMD command)
    {
        return Ask<bool8_t>([&](auto *type, void *out, size_t *size)
                            { return Tl().GCGetPortInfo(m_port, command, type, out, size); });
    };
    EXPECT_EQ(1, flag(PORT_INFO_BIG_ENDIAN));
    EXPECT_EQ(0, flag(PORT_INFO_LITTLE_ENDIAN));
    EXPECT_EQ("Wideworld",
              AskText([&](auto *type, void *out, size_t *size)
                      { return Tl().GCGetPortInfo(m_port, PORT_INFO_VENDOR, type, out, size); }));
}

TEST(SimulatorWideWorld, IsThereOnRequestOnly)
{
    const auto interfaces = []
    {
        TL_HANDLE system = nullptr;
        uint32_t count = 0;
        EXPECT_OK(Tl().GCInitLib());
        EXPECT_OK(Tl().TLOpen(&system));
        EXPECT_OK(Tl().TLUpdateInterfaceList(system, nullptr, 0));
        EXPECT_OK(Tl().TLGetNumInterfaces(system, &count));
        IF_HANDLE opened = nullptr;
        const bool isThere = Tl().TLOpenInterface(system, "SIM-WIDE-GIGE", &opened) == GC_ERR_SUCCESS;
        EXPECT_OK(Tl().GCCloseLib());
        return std::pair(count, isThere);
    };
    EXPECT_EQ(std::pair(2U, false), interfaces());
    {
        const GenTL::internal::EnvironmentVariable off("QVR_SIM_WIDE", "0");
        EXPECT_EQ(std::pair(2U, false), interfaces());
    }
    const GenTL::internal::EnvironmentVariable on("QVR_SIM_WIDE", "1");
    EXPECT_EQ(std::pair(4U, true), interfaces());
}

using SimulatorWideInterfaces = WideCameraTest;

TEST_F(SimulatorWideInterfaces, HaveTransportsOfTheirOwn)
{
    const auto type = [&](const char *id)
    {
        return AskText(
            [&](auto *infoType, void *out, size_t *size)
            { return Tl().TLGetInterfaceInfo(m_system, id, INTERFACE_INFO_TLTYPE, infoType, out, size); });
    };
    EXPECT_EQ("GEV", type("SIM-GIGE-0"));
    EXPECT_EQ("GEV", type("SIM-WIDE-GIGE"));
    EXPECT_EQ("U3V", type("SIM-WIDE-USB"));
    EXPECT_EQ("Mixed", AskText([&](auto *infoType, void *out, size_t *size)
                               { return Tl().TLGetInfo(m_system, TL_INFO_TLTYPE, infoType, out, size); }));
    const Nodes system(m_system);
    EXPECT_EQ(0, system.Get("InterfaceType"));
    ASSERT_OK(system.Set("InterfaceSelector", 3));
    const auto entry =
        system.Node("InterfaceType").find_child_by_attribute("EnumEntry", "Name", "USB3Vision");
    EXPECT_EQ(entry.child("Value").text().as_llong(), system.Get("InterfaceType"));
}

} // namespace
} // namespace simulator_test
