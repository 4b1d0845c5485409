#include "support/plain_pixels.h"
#include "support/simulator/wide_camera.h"

#include <gmock/gmock.h>

#include <bit>
#include <set>

namespace simulator_test
{
namespace
{

class WideUsb : public WideCameraTest
{
protected:
    void SetUp() override
    {
        WideCameraTest::SetUp();
        Open("SIM-WIDE-USB", "SIM-SIM0009");
    }

    std::vector<uint8_t> ReadBytes(uint64_t address, size_t length) const
    {
        std::vector<uint8_t> bytes(length);
        size_t size = length;
        EXPECT_OK(Tl().GCReadPort(m_port, address, bytes.data(), &size)) << address;
        return bytes;
    }
};

TEST_F(WideUsb, HasAPlainDescriptionWithAByteOrderMark)
{
    const auto file = DescriptionFile();
    EXPECT_TRUE(file.starts_with("\xEF\xBB\xBF<?xml"));
    EXPECT_TRUE(file.ends_with("</RegisterDescription>\n"));
    EXPECT_STREQ("Größe über alles: 10 µm", m_nodes->Node("DeviceNote").child("Value").text().get());
}

TEST_F(WideUsb, UsesEveryKindOfNode)
{
    for (const std::string kind :
         {"Category",       "Integer",      "IntReg",     "MaskedIntReg",  "StructReg",
          "StructEntry",    "Boolean",      "Command",    "Enumeration",   "EnumEntry",
          "Float",          "FloatReg",     "String",     "StringReg",     "Register",
          "Converter",      "IntConverter", "SwissKnife", "IntSwissKnife", "Port",
          "Node",           "Group",        "ConfRom",    "TextDesc",      "IntKey",
          "AdvFeatureLock", "SmartFeature", "pIndex",     "ValueIndexed",  "pValueIndexed",
          "ValueDefault",   "pAddress",     "pLength",    "Constant",      "Expression",
          "pCommandValue",  "Extension",    "pInc"})
    {
        EXPECT_FALSE(m_nodes->Document().select_node(("//" + kind).c_str()).node().empty()) << kind;
    }
}

TEST_F(WideUsb, RefersToItsOwnNodesOnly)
{
    std::set<std::string> names;
    for (const auto &found : m_nodes->Document().select_nodes(
             "//*[@Name and not(self::EnumEntry) and not(self::pVariable) and not(self::Constant)"
             " and not(self::Expression)]"))
    {
        EXPECT_TRUE(names.insert(found.node().attribute("Name").value()).second);
    }
    for (const auto &found :
         m_nodes->Document().select_nodes("//*[starts-with(name(), 'p') and string-length(name()) > 1]"))
    {
        EXPECT_TRUE(names.contains(found.node().text().get())) << found.node().text().get();
    }
}

TEST_F(WideUsb, HasARegisterBehindEachAddress)
{
    size_t registers = 0;
    for (const auto &found : m_nodes->Document().select_nodes(
             "//*[pPort='Device' and (Length or pLength) and (Address or pAddress)]"))
    {
        const auto place = m_nodes->RegisterOf(found.node());
        EXPECT_EQ(place.length, ReadBytes(place.address, place.length).size());
        ++registers;
    }
    EXPECT_GT(registers, 50U);
}

TEST_F(WideUsb, ShowsRegistersInBothByteOrders)
{
    EXPECT_EQ((std::vector<uint8_t>{800 & 0xFF, 800 >> 8, 0, 0}), ReadBytes(0x20010, 4));
    EXPECT_EQ((std::vector<uint8_t>{0, 0, 600 >> 8, 600 & 0xFF}), ReadBytes(0x20014, 4));
    ASSERT_OK(m_nodes->SetFloat("Gain", 6.5F));
    EXPECT_EQ(NumberBytes(std::bit_cast<uint32_t>(6.5F), 4, true), ReadBytes(0x20058, 4));
    ASSERT_OK(m_nodes->SetFloat("ExposureTime", 500.0F));
    EXPECT_EQ(NumberBytes(std::bit_cast<uint32_t>(500.0F), 4, false), ReadBytes(0x20054, 4));
}

TEST_F(WideUsb, HasTheValuesThatItsOddNodesRead)
{
    EXPECT_EQ(NumberBytes(static_cast<uint32_t>(-125), 4, true), ReadBytes(0x20090, 4));
    EXPECT_EQ(NumberBytes(std::bit_cast<uint64_t>(3.3), 8, true), ReadBytes(0x20098, 8));
    EXPECT_EQ(1, m_nodes->Get("DeviceLinkReady"));
    EXPECT_EQ(2, m_nodes->Get("DeviceLinkLanes"));
    EXPECT_EQ(1, m_nodes->Get("LineInput"));
    EXPECT_EQ((600 + 8) * 25 / 2, m_nodes->Get("ReadoutTime"));
    EXPECT_EQ((std::vector<uint8_t>{'1', '3', '9', '4'}), ReadBytes(0xFFFFF0000404, 4));
}

TEST_F(WideUsb, KeepsAValueForEachSlot)
{
    for (int64_t slot = 0; slot < 4; ++slot)
    {
        ASSERT_OK(m_nodes->Set("UserSlotSelector", slot));
        ASSERT_OK(m_nodes->Set("UserSlotValue", 10 + slot));
        ASSERT_OK(m_nodes->Set("SequencerStep", 20 + slot));
        ASSERT_OK(m_nodes->Set("SequencerDuration", 30 + slot));
    }
    for (unsigned slot = 0; slot < 4; ++slot)
    {
        const auto number = static_cast<uint8_t>(slot);
        EXPECT_EQ((std::vector<uint8_t>{static_cast<uint8_t>(10 + number), 0, 0, 0}),
                  ReadBytes(0x21000U + slot * 4, 4));
        EXPECT_EQ((std::vector<uint8_t>{0, 0, 0, static_cast<uint8_t>(20 + number),
                                        static_cast<uint8_t>(30 + number), 0, 0, 0}),
                  ReadBytes(0x21200U + slot * 8, 8));
    }
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_nodes->Set("UserSlotSelector", 4));
}

TEST_F(WideUsb, ChangesTheLengthOfUserData)
{
    EXPECT_EQ(16U, m_nodes->RegisterOf(m_nodes->Node("UserData")).length);
    ASSERT_OK(m_nodes->Set("UserDataLength", 40));
    const auto place = m_nodes->RegisterOf(m_nodes->Node("UserData"));
    EXPECT_EQ(40U, place.length);
    std::vector<uint8_t> bytes(place.length);
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<uint8_t>(i + 1);
    }
    size_t size = bytes.size();
    ASSERT_OK(Tl().GCWritePort(m_port, place.address, bytes.data(), &size));
    EXPECT_EQ(bytes, ReadBytes(place.address, place.length));
}

TEST_F(WideUsb, ConvertsTheLineDebouncerTime)
{
    ASSERT_OK(m_nodes->Set("LineDebouncerTime", 80));
    EXPECT_EQ(10, m_nodes->Get("LineDebouncerRaw"));
    EXPECT_EQ(80, m_nodes->Get("LineDebouncerTime"));
}

TEST_F(WideUsb, OffersTheFormatsThatItSends)
{
    std::vector<std::string> names;
    for (const auto entry : m_nodes->Node("PixelFormat").children("EnumEntry"))
    {
        const std::string name = entry.attribute("Name").value();
        names.push_back(name);
        EXPECT_EQ(name != "Mono16", m_nodes->IsAvailable("PixelFormat", name)) << name;
        EXPECT_EQ(name != "Mono16", m_nodes->SetEntry("PixelFormat", name) == GC_ERR_SUCCESS) << name;
    }
    EXPECT_THAT(names, testing::ElementsAre("Mono8", "Mono10", "Mono12p", "RGB8", "Mono16"));
}

TEST_F(WideUsb, SendsEveryFormat)
{
    struct Sent
    {
        const char *format;
        unsigned maximum;
        size_t components;
    };
    SetSize(64, 4);
    ASSERT_OK(m_nodes->SetEntry("TestPattern", "GreyHorizontalRamp"));
    for (const auto &sent : std::initializer_list<Sent>{
             {"Mono8", 255, 1}, {"Mono10", 1023, 1}, {"Mono12p", 4095, 1}, {"RGB8", 255, 3}})
    {
        ASSERT_OK(m_nodes->SetEntry("PixelFormat", sent.format));
        const auto bytes = Grab();
        const internal::PlainImage image(internal::FormatByName(sent.format), 64, 4, bytes);
        ASSERT_EQ(image.Bytes(), bytes) << sent.format;
        for (size_t i = 0; i < 64 * 4 * sent.components; ++i)
        {
            ASSERT_EQ(i / sent.components % 64 * sent.maximum / 63, image.Sample(i))
                << sent.format << ", sample " << i;
        }
    }
}

TEST_F(WideUsb, ClosesEachChunkWithLittleEndianNumbers)
{
    SetSize(36, 2);
    ASSERT_OK(m_nodes->Set("ChunkModeActive", 1));
    ASSERT_OK(m_nodes->SetEntry("ChunkSelector", "FrameID"));
    ASSERT_OK(m_nodes->Set("ChunkEnable", 1));
    const auto bytes = Grab(3);
    const std::span<const uint8_t> all = bytes;
    ASSERT_EQ(72U + 8 + 8 + 8, all.size());
    const auto number = [&](size_t offset, size_t length)
    { return NumberOf(all.subspan(offset, length), false); };
    EXPECT_EQ(std::pair(uint64_t{1}, uint64_t{72}), std::pair(number(72, 4), number(76, 4)));
    EXPECT_EQ(3U, number(80, 8)); // the third frame
    EXPECT_EQ(std::pair(uint64_t{2}, uint64_t{8}), std::pair(number(88, 4), number(92, 4)));
}

TEST_F(WideUsb, IsOfTheTransportOfItsInterface)
{
    SetSize(64, 4);
    const auto device = AskText([&](auto *type, void *out, size_t *size)
                                { return Tl().DevGetInfo(m_device, DEVICE_INFO_TLTYPE, type, out, size); });
    const auto stream = AskText([&](auto *type, void *out, size_t *size)
                                { return Tl().DSGetInfo(m_stream, STREAM_INFO_TLTYPE, type, out, size); });
    EXPECT_EQ("U3V", device);
    EXPECT_EQ("U3V", stream);
    WithFrame(
        [&](BUFFER_HANDLE buffer)
        {
            EXPECT_EQ("U3V", AskText(
                                 [&](auto *type, void *out, size_t *size) {
                                     return Tl().DSGetBufferInfo(m_stream, buffer, BUFFER_INFO_TLTYPE, type,
                                                                 out, size);
                                 }));
            EXPECT_EQ(BufferInfo<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP),
                      BufferInfo<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP_NS));
        });
}

} // namespace
} // namespace simulator_test
