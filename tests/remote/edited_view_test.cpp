#include "edited_device.h"

#include "support/failure.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace edited;
using tarn::common::PixelFormat;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint64_t formatAddress = 0x108;
constexpr uint32_t mono8Code = 0x01080001;
constexpr uint32_t mono10pCode = 0x010A0046;
constexpr uint32_t mono12pCode = 0x010C0047;
constexpr uint32_t mono12Code = 0x01100005;

std::string BigEndian(const std::string &name, uint64_t address)
{
    return fmt::format(
        "<IntReg Name=\"{}\"><Address>0x{:X}</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>",
        name, address);
}

std::string Available(const std::string &node)
{
    return "<pIsAvailable>" + node + "</pIsAvailable>";
}

/// Width and Height at 0x100, PixelFormat at 0x108 with these entries.
std::string Camera(const std::string &entries, const std::string &more = "", const std::string &head = "")
{
    return DescriptionOf(
        "<Integer Name=\"Width\"><pValue>WidthReg</pValue></Integer>" + BigEndian("WidthReg", 0x100) +
        "<Integer Name=\"Height\"><pValue>HeightReg</pValue></Integer>" + BigEndian("HeightReg", 0x104) +
        "<Enumeration Name=\"PixelFormat\">" + head + entries +
        "<pValue>PixelFormatReg</pValue></Enumeration>" + BigEndian("PixelFormatReg", formatAddress) +
        BigEndian("Packed", 0x200) + BigEndian("Unpacked", 0x204) + more);
}

std::string AllEntries()
{
    return EntryNode("Mono8", mono8Code) + EntryNode("Mono12p", mono12pCode, Available("Packed")) +
           EntryNode("Mono12", mono12Code, Available("Unpacked"));
}

/// A camera of 100 x 10 pixels that has Mono12 itself and packed.
struct ViewOfFormats : testing::Test
{
    ViewOfFormats() { Prepare(camera); }

    static void Prepare(EditedDevice &device)
    {
        device.port.Set(0x100, 100);
        device.port.Set(0x104, 10);
        device.port.Set(formatAddress, mono8Code);
        device.port.Set(0x200, 1);
        device.port.Set(0x204, 1);
    }

    /// The camera changes a register by itself, and says so.
    void Change(uint64_t address, uint32_t value)
    {
        camera.port.Set(address, value);
        camera.device.Invalidate();
        camera.consumer.Invalidate();
    }

    uint32_t OnDevice() { return camera.port.Get(formatAddress); }
    Failure WriteFailure(const std::string &format)
    {
        return FailureOf([&] { camera.consumer.WriteText("PixelFormat", format); });
    }

    EditedDevice camera{Camera(AllEntries())};
};

TEST_F(ViewOfFormats, ShowsTheDevicesFormatAtFirst)
{
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono8");
    Change(formatAddress, mono12pCode);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12p");
    Change(formatAddress, 0x12345);
    EXPECT_EQ(camera.consumer.ReadInteger("PixelFormat"), 0x12345) << "a value that is no entry";
    EXPECT_THAT(camera.port.writes, IsEmpty());
}

TEST_F(ViewOfFormats, SetsTheDeviceToTheRequestedFormatIfItHasIt)
{
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(OnDevice(), mono12Code);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
    EXPECT_EQ(camera.consumer.ReadText("DevicePixelFormat"), "Mono12");
}

TEST_F(ViewOfFormats, SetsTheDeviceToThePackedFormatOtherwise)
{
    Change(0x204, 0);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(OnDevice(), mono12pCode);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
    EXPECT_EQ(camera.consumer.ReadText("DevicePixelFormat"), "Mono12p");
    camera.consumer.WriteText("PixelFormat", "Mono12p");
    EXPECT_EQ(OnDevice(), mono12pCode);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12p");
}

TEST_F(ViewOfFormats, FollowsAFormatThatChangesBehindTheConsumersBack)
{
    Change(0x204, 0);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    Change(formatAddress, mono8Code);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono8");
    Change(formatAddress, mono12pCode);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12") << "the conversion is remembered";
}

TEST_F(ViewOfFormats, WritesNothingWhenTheDevicesFormatStays)
{
    Change(formatAddress, mono12Code);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_THAT(camera.port.writes, IsEmpty());
    Change(0x204, 0);
    Change(formatAddress, mono12pCode);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_THAT(camera.port.writes, IsEmpty());
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
}

TEST_F(ViewOfFormats, TakesThePackedFormatWhenTheTransportSaysSo)
{
    camera.consumer.WriteText("PixelFormat", "Mono12");
    camera.consumer.WriteText("PixelFormatTransport", "Packed");
    EXPECT_EQ(OnDevice(), mono12pCode);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
    EXPECT_EQ(camera.consumer.ReadText("PixelFormatTransport"), "Packed");
    camera.consumer.WriteText("PixelFormatTransport", "Requested");
    EXPECT_EQ(OnDevice(), mono12Code);
}

TEST_F(ViewOfFormats, KeepsTheTransportWhenTheFormatCannotFollow)
{
    camera.consumer.WriteText("PixelFormat", "Mono12");
    camera.port.broken.insert(formatAddress);
    EXPECT_EQ(FailureOf([&] { camera.consumer.WriteText("PixelFormatTransport", "Packed"); }).code,
              GC_ERR_IO);
    camera.port.broken.clear();
    EXPECT_EQ(camera.consumer.ReadText("PixelFormatTransport"), "Requested");
}

TEST_F(ViewOfFormats, OffersWhatTheDeviceOrAConversionOffers)
{
    const auto offered = [this] { return EditedDevice::AvailableIn(camera.consumer, "PixelFormat"); };
    EXPECT_THAT(offered(), ElementsAre("Mono8", "Mono12p", "Mono12"));
    Change(0x204, 0);
    EXPECT_THAT(offered(), ElementsAre("Mono8", "Mono12p", "Mono12")) << "made from Mono12p";
    Change(0x200, 0);
    EXPECT_THAT(offered(), ElementsAre("Mono8"));
    EXPECT_EQ(WriteFailure("Mono12").code, GC_ERR_INVALID_VALUE);
}

TEST_F(ViewOfFormats, RefusesFormatsDuringAnAcquisition)
{
    camera.delivery.isRunning = true;
    EXPECT_EQ(WriteFailure("Mono12").code, GC_ERR_ACCESS_DENIED);
    EXPECT_THAT(WriteFailure("Mono12").text,
                HasSubstr("PixelFormat cannot be written while acquisition runs"));
    EXPECT_EQ(FailureOf([&] { camera.consumer.WriteText("PixelFormatTransport", "Packed"); }).code,
              GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(OnDevice(), mono8Code);
}

TEST_F(ViewOfFormats, GivesTheCauseWhenTheDeviceRefusesAFormat)
{
    camera.port.broken.insert(formatAddress);
    EXPECT_THAT(WriteFailure("Mono12").text, HasSubstr("PixelFormat = Mono12: "));
    EXPECT_THAT(WriteFailure("Mono12").text, HasSubstr("no answer"));
    EXPECT_EQ(WriteFailure("Mono12").code, GC_ERR_IO);
}

TEST_F(ViewOfFormats, AddsTheConversionToThePayloadSize)
{
    Change(0x204, 0);
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 1000);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 2000);
    camera.streamPayloadSize = 1600;
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 2100) << "1500 bytes become 2000";
}

TEST_F(ViewOfFormats, ReadsTheDeviceOnceForAllConditions)
{
    EditedDevice::AvailableIn(camera.consumer, "PixelFormat");
    const auto reads = camera.port.reads.size();
    EditedDevice::AvailableIn(camera.consumer, "PixelFormat");
    EXPECT_LE(camera.port.reads.size(), reads + 2) << "the consumer's own reads of two conditions at most";
}

TEST(ViewOfReadOnlyFormat, MayStillBeConverted)
{
    EditedDevice camera(Camera(AllEntries(), "", "<ImposedAccessMode>RO</ImposedAccessMode>"));
    ViewOfFormats::Prepare(camera);
    camera.port.Set(formatAddress, mono12pCode);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
    EXPECT_THAT(camera.port.writes, IsEmpty());
    const auto failure = FailureOf([&] { camera.consumer.WriteText("PixelFormat", "Mono8"); });
    EXPECT_THAT(failure.text, HasSubstr("PixelFormat = Mono8: the device's format cannot be written: "));
    EXPECT_EQ(failure.code, GC_ERR_ACCESS_DENIED);
}

TEST(ViewOfConvertedFormat, IsWrittenThroughTheDevicesChain)
{
    EditedDevice camera(Fixture("format_behind_converter"));
    camera.port.Set(formatAddress, mono8Code - 0x01000000);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono8");
    camera.consumer.WriteText("PixelFormat", "Mono10p");
    EXPECT_EQ(camera.port.Get(formatAddress), mono10pCode - 0x01000000);
}

TEST(ViewOfOddFormats, HasEntriesWithoutCodes)
{
    EditedDevice camera(Fixture("values_that_are_no_codes"));
    camera.port.Set(0x100, 100);
    camera.port.Set(0x104, 10);
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(camera.port.Get(formatAddress), 1U) << "Mono12p has the value 1";
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12");
    camera.consumer.WriteText("PixelFormat", "BayerGB12p");
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "BayerGB12p");
}

TEST(ViewOfPixelSize, FollowsTheDeliveredFormat)
{
    EditedDevice camera(Fixture("gige_vision_1_formats"));
    camera.port.Set(0x110, 12);
    camera.port.Set(formatAddress, 0x010C0006);
    EXPECT_EQ(camera.consumer.ReadText("PixelSize"), "Bpp12");
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(camera.consumer.ReadText("PixelSize"), "Bpp16");
    EXPECT_EQ(camera.consumer.ReadText("DevicePixelSize"), "Bpp12");
}

TEST(ViewOfComponents, KeepsAConversionForEachComponent)
{
    EditedDevice camera(Fixture("format_that_selects"));
    camera.port.Set(0x100, 100);
    camera.port.Set(0x104, 10);
    camera.port.Set(formatAddress, mono12pCode);
    camera.port.Set(0x10C, 1500);
    camera.port.Set(0x150, 1);
    camera.consumer.WriteText("PixelFormatTransport", "Packed");
    camera.consumer.WriteText("PixelFormat", "Mono12");
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 2000);
    camera.consumer.WriteText("ComponentSelector", "Range");
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12p") << "only intensity is converted";
    EXPECT_EQ(camera.consumer.ReadInteger("PayloadSize"), 2000) << "intensity still counts";
    EXPECT_THAT(
        camera.delivery.conversions,
        ElementsAre(testing::Pair(testing::Pair(Component::Image2D, static_cast<PixelFormat>(mono12pCode)),
                                  static_cast<PixelFormat>(mono12Code))));
}

TEST(ViewOfLiterals, SharesThemWithTheDevicesFeatures)
{
    EditedDevice camera(Fixture("writable_literals"));
    camera.port.Set(0x300, 640);
    camera.port.Set(0x310, 320);
    EXPECT_EQ(camera.consumer.ReadInteger("Width"), 640);
    camera.consumer.WriteText("RegionSelector", "Region1");
    EXPECT_EQ(camera.consumer.ReadInteger("Width"), 320);
    EXPECT_EQ(camera.device.ReadInteger("Width"), 320);
    EXPECT_EQ(camera.consumer.ReadFloat("Threshold"), 2.5);
    camera.consumer.WriteFloat("Threshold", 7.25);
    EXPECT_EQ(camera.device.ReadFloat("Threshold"), 7.25);
    EXPECT_THAT(camera.port.writes, IsEmpty());
}

/// Accesses of the port itself.
struct ViewOfPort : ViewOfFormats
{
    Failure ReadFailure(uint64_t address, size_t size)
    {
        std::vector<uint8_t> bytes(size);
        return FailureOf([&] { camera.view.ReadPort(address, bytes.data(), &size); });
    }

    uint64_t base = camera.edit.result.base;
};

TEST_F(ViewOfPort, GivesTheDocumentAtItsUrl)
{
    const auto &edited = camera.edit.result.document;
    std::string text(edited.size(), '\0');
    size_t size = text.size();
    camera.view.ReadPort(base, text.data(), &size);
    EXPECT_EQ(text, edited);
    EXPECT_EQ(size, edited.size());
    EXPECT_EQ(ReadFailure(base, edited.size() + 1).code, GC_ERR_INVALID_ADDRESS);
    EXPECT_THAT(camera.port.reads, IsEmpty());
}

TEST_F(ViewOfPort, LeavesAllElseToTheDevice)
{
    EXPECT_EQ(ReadFailure(0x100, 12), Failure());
    EXPECT_THAT(camera.port.reads, ElementsAre(EndlessPort::Access{0x100, 12}));
    size_t size = 3;
    camera.view.WritePort(0x101, "abc", &size);
    EXPECT_THAT(camera.port.writes, ElementsAre(EndlessPort::Access{0x101, 3}));
    camera.port.broken.insert(0x500);
    EXPECT_EQ(ReadFailure(0x500, 4), (Failure{"no answer", GC_ERR_IO}));
}

TEST_F(ViewOfPort, ReadsTheDeviceAgainAfterAWrite)
{
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono8");
    const std::array<uint8_t, 4> bytes{0x01, 0x0C, 0x00, 0x47};
    size_t size = bytes.size();
    camera.view.WritePort(formatAddress, bytes.data(), &size);
    EXPECT_EQ(camera.consumer.ReadText("PixelFormat"), "Mono12p");
}

TEST_F(ViewOfPort, ChecksItsArguments)
{
    uint32_t value = 0;
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { camera.view.ReadPort(0, &value, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { camera.view.WritePort(0, nullptr, &size); }),
              (Failure{"pBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { camera.view.ReadPort(0, &value, &size); }),
              (Failure{"*piSize must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(ViewOfPort, RefusesAValueWithoutEntry)
{
    const auto formatRegister = base + RegisterWindow::RegistersOffset(camera.edit.result.document.size());
    const int64_t value = 99;
    size_t size = sizeof value;
    EXPECT_EQ(FailureOf([&] { camera.view.WritePort(formatRegister, &value, &size); }),
              (Failure{"PixelFormat has no entry of the value 99", GC_ERR_INVALID_VALUE}));
}

TEST_F(ViewOfPort, LogsARegisterOfTheDeviceInsideTheWindow)
{
    const LogCapture log;
    camera.registers.WatchWindow(base);
    uint32_t value = 0;
    camera.registers.Read(base + 0x10, &value, sizeof value);
    camera.registers.Read(base + 0x10, &value, sizeof value);
    EXPECT_THAT(log.Lines(),
                ElementsAre("warning: The device has a register at 0x7151000000000010, where the "
                            "consumer gets another one"));
}

TEST_F(ViewOfPort, HasOneUrlWithAllItsInfos)
{
    const auto &result = camera.edit.result;
    const auto name = fmt::format("Cam_qvrany_{:08x}.xml", result.hash.first >> 32U);
    const auto url =
        fmt::format("local:///{};{:X};{:X}?SchemaVersion=1.1.0", name, base, result.document.size());
    std::string text(300, '\0');
    size_t size = text.size();
    camera.view.GetPortUrl(text.data(), &size);
    EXPECT_EQ(text.substr(0, size - 1), url);
    const auto info = [&](URL_INFO_CMD command)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        std::array<char, 300> bytes{};
        size_t length = bytes.size();
        camera.view.GetPortUrlInfo(0, command, &type, bytes.data(), &length);
        int32_t small = 0;
        uint64_t large = 0;
        std::memcpy(&small, bytes.data(), sizeof small);
        std::memcpy(&large, bytes.data(), sizeof large);
        return type == INFO_DATATYPE_STRING  ? std::string(bytes.data())
               : type == INFO_DATATYPE_INT32 ? std::to_string(small)
                                             : fmt::format("{:#x}", large);
    };
    EXPECT_EQ(info(URL_INFO_URL), url);
    EXPECT_EQ(info(URL_INFO_FILENAME), name);
    EXPECT_EQ(info(URL_INFO_FILE_REGISTER_ADDRESS), fmt::format("{:#x}", base));
    EXPECT_EQ(info(URL_INFO_FILE_SIZE), fmt::format("{:#x}", result.document.size()));
    EXPECT_EQ(info(URL_INFO_SCHEME), "0");
    EXPECT_EQ(info(URL_INFO_SCHEMA_VER_MINOR), "1");
    EXPECT_EQ(info(URL_INFO_FILE_VER_MAJOR), "1");
    EXPECT_EQ(FailureOf([&] { info(URL_INFO_FILE_SHA1_HASH); }).code, GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(FailureOf([&] { info(77); }).code, GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(FailureOf([&] { camera.view.GetPortUrlInfo(1, URL_INFO_URL, nullptr, nullptr, &size); }).code,
              GC_ERR_INVALID_PARAMETER);
}

TEST(EditedUrl, NamesAFileOfItsOwnForEachContent)
{
    const auto urlOf = [](const std::string &document, const std::string &name)
    {
        const Edit edit(document);
        return EditedUrl(edit.result, edit.device.tree.document_element(), name).Text();
    };
    const auto url = urlOf(Fixture("conditions"), "folder/My Cam (2).v1.zip");
    EXPECT_THAT(url, HasSubstr("local:///My_Cam__2_.v1_qvrany_"));
    EXPECT_NE(url.substr(0, 50), urlOf(Fixture("swapped_port"), "folder/My Cam (2).v1.zip").substr(0, 50));
    EXPECT_THAT(urlOf(Fixture("schema_1_0"), std::string(60, 'a') + ".xml"),
                HasSubstr("local:///" + std::string(40, 'a') + "_qvrany_"));
    EXPECT_THAT(urlOf(Fixture("schema_1_0"), ""), HasSubstr("local:///device_qvrany_"));
    EXPECT_THAT(urlOf(Fixture("schema_1_0"), "a.xml"), HasSubstr("?SchemaVersion=1.0.0"));
}

} // namespace
} // namespace GenTL::internal
