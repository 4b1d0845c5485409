// The features of a module by name, over a port whose registers a test sets.

#include "consumer/features.h"

#include "descriptions.h"
#include "support/failure.h"
#include "support/fake_file_device.h"
#include "support/fake_gentl_proxy.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using internal::FailureOf;
using internal::FakeGenTLProxy;

/// A module with the nodes that a test gives, and a memory for their registers.
class FeaturesTest : public testing::Test
{
protected:
    FeaturesTest()
    {
        m_calls->onGCGetPortURL = [this](PORT_HANDLE, char *url, size_t *size)
        {
            return AnswerUrl(fmt::format("local:a.xml;{:x};{:x}", descriptionAddress, m_description.size()),
                             url, size);
        };
        m_calls->onGCReadPort = [this](PORT_HANDLE, uint64_t address, void *buffer, size_t *size)
        {
            const auto *const from = address >= descriptionAddress
                                         ? m_description.data() + (address - descriptionAddress)
                                         : reinterpret_cast<const char *>(memory.data() + address);
            *size -= std::min(*size, address >= descriptionAddress ? size_t{0} : missingBytes);
            std::memcpy(buffer, from, *size);
            return GC_ERR_SUCCESS;
        };
        m_calls->onGCWritePort = [this](PORT_HANDLE, uint64_t address, const void *buffer, size_t *size)
        {
            std::memcpy(memory.data() + address, buffer, *size);
            return GC_ERR_SUCCESS;
        };
    }

    /// @param features the names of the nodes in the category Root, without the brackets of a list
    Features Open(const std::vector<std::string> &features, const std::string &nodes)
    {
        m_description =
            fmt::format("<RegisterDescription><Category Name=\"Root\">{}</Category>{}<Port Name=\"Device\"/>"
                        "<Port Name=\"Chunk\"><ChunkID>C7</ChunkID></Port>"
                        "<Port Name=\"Event\"><EventID>9001</EventID></Port></RegisterDescription>",
                        FeatureList(features), nodes);
        return Features(std::make_shared<Port>(m_calls, nullptr, internal::ModuleType::RemoteDevice));
    }

    FakeGenTLProxy &Calls() { return *m_calls; }

    std::array<uint8_t, 256> memory{};
    size_t missingBytes = 0; ///< by how many bytes a read comes too short

private:
    static constexpr uint64_t descriptionAddress = 0x100000;

    std::shared_ptr<FakeGenTLProxy> m_calls = std::make_shared<FakeGenTLProxy>();
    std::string m_description;
};

/// A register of two bytes, big-endian.
std::string BigRegister(const std::string &name, const std::string &address, const std::string &access,
                        const std::string &port = "Device", const std::string &sign = "Unsigned")
{
    return fmt::format(
        "<IntReg Name=\"{}\"><Address>{}</Address><Length>2</Length><AccessMode>{}</AccessMode>"
        "<pPort>{}</pPort><Sign>{}</Sign><Endianess>BigEndian</Endianess></IntReg>",
        name, address, access, port, sign);
}

TEST_F(FeaturesTest, GoThroughAConverterToABigEndianRegister)
{
    const auto features =
        Open({"Temperature"}, "<Float Name=\"Temperature\"><pValue>Converter</pValue></Float>"
                              "<Converter Name=\"Converter\"><FormulaTo>FROM*4</FormulaTo><FormulaFrom>TO/4"
                              "</FormulaFrom><pValue>Quarters</pValue><Slope>Increasing</Slope></Converter>" +
                                  BigRegister("Quarters", "0x10", "RW", "Device", "Signed"));
    memory[0x10] = 0xFF;
    memory[0x11] = 0xCE;
    EXPECT_EQ(features.Get("Temperature"), -12.5);
    features.Set("Temperature", "20.25");
    EXPECT_EQ(memory[0x10], 0);
    EXPECT_EQ(memory[0x11], 81);
    EXPECT_EQ(features.Allowed("Temperature"), "it takes -8192 to 8191.75");
}

/// A camera with a file of ten bytes, read in blocks of four.
class DeviceFiles : public FeaturesTest
{
protected:
    DeviceFiles()
    {
        Calls().onGCReadPort = [this, others = Calls().onGCReadPort](PORT_HANDLE port, uint64_t address,
                                                                     void *buffer, size_t *size) -> GC_ERROR
        {
            if (!internal::FakeFileDevice::Has(address))
            {
                return others(port, address, buffer, size);
            }
            // Of a buffer that holds less than the register, the rest is 0.
            size_t answered = *size;
            std::memset(buffer, 0, *size);
            device.Read(address, buffer, &answered);
            return GC_ERR_SUCCESS;
        };
        Calls().onGCWritePort = [this](PORT_HANDLE, uint64_t address, const void *buffer, size_t *size)
        {
            device.Write(address, buffer, size);
            return GC_ERR_SUCCESS;
        };
        device.file = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    }

    static std::string Nodes()
    {
        auto nodes = internal::FakeFileDevice::Nodes();
        const std::string command = "<Command Name=\"FileOperationExecute\">";
        return nodes.insert(nodes.find(command) + command.size(), "<CommandValue>1</CommandValue>");
    }

    std::string FailureOfReading()
    {
        const auto features = Open({"FileSelector"}, Nodes());
        return FailureOf([&] { features.Files().ReadFile("UserSet"); }).text;
    }

    internal::FakeFileDevice device;
};

TEST_F(DeviceFiles, AreReadInBlocks)
{
    const auto features = Open({"FileSelector"}, Nodes());
    EXPECT_EQ(features.Files().ReadFile("UserSet"), device.file);
    EXPECT_EQ(device.operations,
              (std::vector<std::string>{"open 1 for 2", "read 0+4", "read 4+4", "read 8+2", "close"}));
}

TEST_F(DeviceFiles, AreNotReadWhenTheDeviceDoesNotOpenThem)
{
    device.statusOf = [](int) { return internal::FakeFileDevice::failure; };
    EXPECT_EQ(FailureOfReading(), "The device refuses to open the file UserSet for reading");
    EXPECT_EQ(device.operations, std::vector<std::string>{"open 1 for 2"});
}

TEST_F(DeviceFiles, AreClosedWhenABlockIsRefused)
{
    device.statusOf = [](int reads)
    { return reads == 2 ? internal::FakeFileDevice::failure : internal::FakeFileDevice::success; };
    EXPECT_EQ(FailureOfReading(), "The device refuses the bytes from 4 on of the 10 of UserSet");
    EXPECT_EQ(device.operations, (std::vector<std::string>{"open 1 for 2", "read 0+4", "read 4+4", "close"}));
}

TEST_F(DeviceFiles, AreClosedWhenATransferFails)
{
    device.onTransfer = [](int) { throw std::runtime_error("unplugged"); };
    EXPECT_NE(FailureOfReading().find("unplugged"), std::string::npos);
    EXPECT_EQ(device.operations.back(), "close");
}

TEST_F(FeaturesTest, FollowAnIndexToTheRegisterOfItsSlot)
{
    const auto features =
        Open({"Slot", "Value"}, "<Integer Name=\"Slot\"><Value>0</Value><Max>3</Max></Integer>"
                                "<Integer Name=\"Value\"><pValue>Table</pValue></Integer>"
                                "<IntReg Name=\"Table\"><Address>0x20</Address><pIndex>Slot"
                                "</pIndex><Length>2</Length><AccessMode>RW</AccessMode>"
                                "<pPort>Device</pPort></IntReg>");
    features.Set("Slot", "2");
    features.Set("Value", "0x1234");
    EXPECT_EQ(memory[0x24], 0x34);
    EXPECT_EQ(memory[0x25], 0x12);
    features.Set("Slot", "1");
    EXPECT_EQ(features.GetInteger("Value"), 0);
}

TEST_F(FeaturesTest, AreReadOnlyWhenAFormulaIsBehindThem)
{
    const auto features =
        Open({"Payload"}, "<Integer Name=\"Payload\"><pValue>Product</pValue></Integer><IntSwissKnife "
                          "Name=\"Product\"><pVariable Name=\"W\">Width</pVariable><Formula>W * 3</Formula>"
                          "</IntSwissKnife>" +
                              BigRegister("Width", "0x10", "RW"));
    memory[0x11] = 7;
    EXPECT_EQ(features.GetInteger("Payload"), 21);
    EXPECT_TRUE(features.IsReadOnly("Payload"));
}

TEST_F(FeaturesTest, LeaveALockToTheDevice)
{
    const auto features =
        Open({"Width"}, "<Integer Name=\"Width\"><pIsLocked>Yes</pIsLocked><pValue>WidthReg"
                        "</pValue></Integer><Integer Name=\"Yes\"><Value>1</Value></Integer>" +
                            BigRegister("WidthReg", "0x10", "RW"));
    EXPECT_FALSE(features.IsReadOnly("Width"));
    features.Set("Width", "5");
    EXPECT_EQ(memory[0x11], 5);
}

TEST_F(FeaturesTest, CanBeWrittenWhenNoAccessModeForbidsIt)
{
    const auto features =
        Open({"Width"}, "<IntReg Name=\"Width\"><Address>0x10</Address><Length>1</Length></IntReg>");
    features.Set("Width", "6");
    EXPECT_EQ(memory[0x10], 6);
}

TEST_F(FeaturesTest, CanBeWriteOnly)
{
    const auto features = Open({"Key"}, "<Integer Name=\"Key\"><pValue>KeyReg</pValue></Integer>" +
                                            BigRegister("KeyReg", "0x10", "WO"));
    EXPECT_EQ(features.Get("Key"), "(write only)");
    features.Set("Key", "9");
    EXPECT_EQ(memory[0x11], 9);
}

TEST_F(FeaturesTest, KeepAWriteWithinTheirLimits)
{
    const auto features =
        Open({"Width"}, "<Integer Name=\"Width\"><pValue>WidthReg</pValue><Min>16</Min><Max>64"
                        "</Max><Inc>16</Inc></Integer>" +
                            BigRegister("WidthReg", "0x10", "RW"));
    EXPECT_EQ(FailureOf([&] { features.Set("Width", "80"); }).code, GC_ERR_INVALID_VALUE);
    EXPECT_EQ(FailureOf([&] { features.Set("Width", "17"); }).code, GC_ERR_INVALID_VALUE);
    EXPECT_EQ(memory[0x11], 0);
    EXPECT_EQ(features.Allowed("Width"), "it takes 16 to 64 in steps of 16");
}

TEST_F(FeaturesTest, HaveNoLimitsWhereTheDescriptionHasNone)
{
    const auto features =
        Open({"Any", "Ratio", "Text"},
             "<Integer Name=\"Any\"><Value>1</Value></Integer><Float Name=\"Ratio\"><Value>1"
             "</Value></Float><StringReg Name=\"Text\"><Address>0x20</Address><Length>4"
             "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>");
    EXPECT_EQ(features.Allowed("Any"), "");
    EXPECT_EQ(features.Allowed("Ratio"), "");
    EXPECT_EQ(features.Allowed("Text"), "");
    EXPECT_EQ(FailureOf([&] { features.Set("Text", "12345"); }).text, "it takes at most 4 characters");
    features.Set("Text", "1234");
    EXPECT_EQ(features.Get("Text"), "1234");
}

TEST_F(FeaturesTest, SeeWhatTheDeviceHasChanged)
{
    const auto features = Open({"Width"}, BigRegister("Width", "0x10", "RW"));
    EXPECT_EQ(features.Get("Width"), 0);
    memory[0x11] = 8;
    EXPECT_EQ(features.Get("Width"), 8);
    memory[0x11] = 9;
    EXPECT_EQ(features.Values({})["Width"], 9);
}

TEST_F(FeaturesTest, AreNotMadeOfFewerBytesThanTheyHave)
{
    const auto features = Open({"Width"}, BigRegister("Width", "0x10", "RW"));
    missingBytes = 1;
    const auto failure = FailureOf([&] { features.Get("Width"); });
    EXPECT_EQ(failure.code, GC_ERR_IO);
    EXPECT_NE(failure.text.find("only 1 of 2 bytes came"), std::string::npos) << failure.text;
}

TEST_F(FeaturesTest, OfAnEventHaveNoValue)
{
    const auto features = Open({"EventTime"}, BigRegister("EventTime", "0", "RO", "Event"));
    EXPECT_EQ(features.WhyWithoutValue("EventTime"), "only with an event");
    EXPECT_EQ(FailureOf([&] { features.Set("EventTime", "1"); }).text, "only with an event");
}

class ChunkFeatures : public FeaturesTest
{
protected:
    /// A feature that multiplies the value in a chunk by a register of the device.
    Features OpenWithFactor()
    {
        return Open({"ChunkGain"}, "<Float Name=\"ChunkGain\"><pValue>Product</pValue></Float><SwissKnife "
                                   "Name=\"Product\"><pVariable Name=\"RAW\">Raw</pVariable><pVariable "
                                   "Name=\"F\">Factor</pVariable><Formula>RAW * F</Formula></SwissKnife>" +
                                       BigRegister("Raw", "2", "RO", "Chunk") +
                                       BigRegister("Factor", "2", "RO"));
    }
};

TEST_F(ChunkFeatures, AreReadBesideTheRegistersOfTheDevice)
{
    const auto features = OpenWithFactor();
    memory[3] = 10;
    const std::array<uint8_t, 4> chunk{0, 0, 1, 2};
    EXPECT_EQ(features.ChunkValues({{0xC7, chunk}}), (Json{{"ChunkGain", 2580.0}}));
    const std::array<uint8_t, 4> next{0, 0, 0, 3};
    EXPECT_EQ(features.ChunkValues({{0xC7, next}}), (Json{{"ChunkGain", 30.0}}));
    EXPECT_EQ(features.ChunkValues({{0xC8, next}}), Json::object());
    EXPECT_EQ(features.WhyWithoutValue("ChunkGain"), "only with a frame");
}

TEST_F(ChunkFeatures, SayWhenTheChunkIsTooShort)
{
    const auto features = OpenWithFactor();
    const std::array<uint8_t, 3> chunk{};
    const auto values = features.ChunkValues({{0xC7, chunk}});
    const auto error = values["ChunkGain"].value("error", "");
    EXPECT_NE(error.find("the chunk is too short"), std::string::npos) << values;
}

TEST_F(FeaturesTest, AreThoseThatHaveAValue)
{
    const auto features =
        Open({"Group", "Missing", "Device", "Old"},
             "<Category Name=\"Group\"><pFeature>Last</pFeature><pFeature>First</pFeature></Category>"
             "<Group Comment=\"\"><Integer Name=\"First\"><Value>1</Value></Integer></Group>"
             "<IntSwissKnife Name=\"Last\"><Formula>2</Formula></IntSwissKnife><ConfRom Name=\"Old\"/>");
    EXPECT_EQ(features.Names(), (std::vector<std::string>{"Last", "First"}));
    EXPECT_FALSE(features.Has("Old"));
    EXPECT_EQ(features.Values({}), (Json{{"Last", 2}, {"First", 1}}));
}

/// Two integers and a text, of which only the first has a value now.
constexpr auto patternNodes =
    "<Integer Name=\"GainRaw\"><Value>3</Value></Integer>"
    "<Integer Name=\"GainAuto\"><pIsAvailable>No</pIsAvailable><Value>1</Value></Integer>"
    "<Integer Name=\"Width\"><Value>64</Value></Integer><Integer Name=\"No\"><Value>0</Value></Integer>";

TEST_F(FeaturesTest, AreNamedByPatterns)
{
    const auto features = Open({"GainRaw", "Width", "GainAuto"}, patternNodes);
    EXPECT_EQ(features.Values({"Gain*"}),
              (Json{{"GainRaw", 3}, {"GainAuto", {{"text", "not available now"}}}}));
    EXPECT_EQ(features.Values({"W?dth", "G*w"}), (Json{{"Width", 64}, {"GainRaw", 3}}));
    EXPECT_EQ(features.Values({"Gein*"}), (Json{{"Gein*", {{"error", "No feature matches \"Gein*\""}}}}));
}

TEST_F(FeaturesTest, AreDescribedAsNumbers)
{
    const auto features =
        Open({"Width", "Ratio", "Fixed"},
             "<Integer Name=\"Width\"><ToolTip>Short.</ToolTip><Description>How wide it is.</Description>"
             "<DisplayName>The width</DisplayName><Visibility>Expert</Visibility><pValue>WidthReg</pValue>"
             "<Min>16</Min><Max>64</Max><Inc>4</Inc><Unit>px</Unit></Integer>" +
                 BigRegister("WidthReg", "0x10", "RW") +
                 "<Float Name=\"Ratio\"><ToolTip>A ratio.</ToolTip><Value>1.5</Value><Min>0.5</Min></Float>"
                 "<Integer Name=\"Fixed\"><pValue>FixedReg</pValue></Integer>" +
                 BigRegister("FixedReg", "0x20", "RO"));
    memory[0x11] = 20;
    EXPECT_EQ(
        features.Values({}, Extent::Details),
        (Json{{"Width",
               {{"value", 20},
                {"type", "Integer"},
                {"unit", "px"},
                {"min", 16},
                {"max", 64},
                {"increment", 4},
                {"access", "RW"},
                {"visibility", "Expert"},
                {"displayName", "The width"},
                {"description", "How wide it is."}}},
              {"Ratio",
               {{"value", 1.5},
                {"type", "Float"},
                {"min", 0.5},
                {"access", "RW"},
                {"visibility", "Beginner"},
                {"description", "A ratio."}}},
              {"Fixed", {{"value", 0}, {"type", "Integer"}, {"access", "RO"}, {"visibility", "Beginner"}}}}));
}

TEST_F(FeaturesTest, AreDescribedWithTheirEntries)
{
    const auto features =
        Open({"Mode"},
             "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Off\"><ToolTip>Nothing.</ToolTip><Value>0"
             "</Value></EnumEntry><EnumEntry Name=\"On\"><pIsAvailable>No</pIsAvailable><Value>5</Value>"
             "</EnumEntry><Value>0</Value></Enumeration><Integer Name=\"No\"><Value>0</Value></Integer>");
    const auto mode = features.Values({"Mode"}, Extent::Details)["Mode"];
    EXPECT_EQ(mode["type"], "Enumeration");
    EXPECT_EQ(mode["value"], "Off");
    EXPECT_EQ(mode["entries"],
              (Json{{{"name", "Off"}, {"value", 0}, {"available", true}, {"description", "Nothing."}},
                    {{"name", "On"}, {"value", 5}, {"available", false}}}));
}

TEST_F(FeaturesTest, AreDescribedWithTheirLocks)
{
    const auto features =
        Open({"Width", "Height", "Free", "Odd", "TLParamsLocked"},
             "<Integer Name=\"Width\"><pIsLocked>TLParamsLocked</pIsLocked><Value>64</Value></Integer>"
             "<Integer Name=\"Height\"><pValue>HeightReg</pValue></Integer>"
             "<IntReg Name=\"HeightReg\"><pIsLocked>Locked</pIsLocked><Address>0x20</Address><Length>1"
             "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"
             "<IntSwissKnife Name=\"Locked\"><pVariable Name=\"L\">TLParamsLocked</pVariable><Formula>L*2"
             "</Formula></IntSwissKnife>"
             "<Integer Name=\"Free\"><Value>1</Value></Integer>"
             "<Integer Name=\"Odd\"><pIsLocked>Nowhere</pIsLocked><Value>1</Value></Integer>"
             "<Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>");
    const auto open = features.Values({}, Extent::Details);
    EXPECT_EQ(open["Width"]["lockedBy"], "TLParamsLocked");
    EXPECT_EQ(open["Width"]["locked"], false);
    EXPECT_EQ(open["Width"]["access"], "RW");
    EXPECT_EQ(open["Height"]["lockedBy"], "Locked");
    EXPECT_FALSE(open["Free"].contains("lockedBy"));
    EXPECT_EQ(open["Odd"]["lockedBy"], "Nowhere");
    EXPECT_FALSE(open["Odd"].contains("locked")) << "nobody knows";
    features.Set("TLParamsLocked", "1");
    const auto closed = features.Values({"Width", "Height", "Free"}, Extent::Details);
    EXPECT_EQ(closed["Width"]["locked"], true);
    EXPECT_EQ(closed["Width"]["access"], "RO");
    EXPECT_EQ(closed["Height"]["access"], "RO");
    EXPECT_EQ(closed["Free"]["access"], "RW");
}

TEST_F(FeaturesTest, AreDescribedWithTheirSelectors)
{
    const auto features =
        Open({"Slot", "Row", "Value", "Free"},
             "<Integer Name=\"Slot\"><Value>0</Value><pSelected>Row</pSelected><pSelected>Value</pSelected>"
             "</Integer><Integer Name=\"Row\"><Value>0</Value><pSelected>Value</pSelected></Integer>"
             "<Integer Name=\"Value\"><Value>0</Value></Integer>"
             "<Integer Name=\"Free\"><Value>0</Value></Integer>");
    const auto details = features.Values({}, Extent::Details);
    EXPECT_EQ(details["Slot"]["selects"], (Json{"Row", "Value"}));
    EXPECT_EQ(details["Value"]["selectedBy"], (Json{"Slot", "Row"}));
    EXPECT_EQ(details["Row"]["selectedBy"], Json{"Slot"});
    EXPECT_FALSE(details["Slot"].contains("selectedBy"));
    EXPECT_FALSE(details["Free"].contains("selects"));
}

TEST_F(FeaturesTest, AreDescribedWithoutAValue)
{
    const auto features =
        Open({"Key", "Hidden", "Missing", "Do", "Text", "Broken"},
             "<Integer Name=\"Key\"><pValue>KeyReg</pValue></Integer>" + BigRegister("KeyReg", "0x10", "WO") +
                 "<Integer Name=\"Hidden\"><pIsAvailable>No</pIsAvailable><Value>1</Value></Integer>"
                 "<Integer Name=\"No\"><Value>0</Value></Integer>"
                 "<Command Name=\"Do\"><Value>0</Value><CommandValue>1</CommandValue></Command>"
                 "<StringReg Name=\"Text\"><Address>0x20</Address><Length>4</Length>"
                 "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>"
                 "<Integer Name=\"Broken\"><pValue>Nowhere</pValue></Integer>");
    const auto details = features.Values({}, Extent::Details);
    EXPECT_EQ(details["Key"]["access"], "WO");
    EXPECT_EQ(details["Hidden"]["access"], "NA");
    EXPECT_EQ(details["Hidden"]["text"], "not available now");
    EXPECT_FALSE(details["Hidden"].contains("value"));
    EXPECT_EQ(details["Do"]["type"], "Command");
    EXPECT_EQ(details["Text"]["maxLength"], 4);
    EXPECT_TRUE(details["Broken"].contains("error")) << details;
    EXPECT_EQ(features.Values({"Nope"}, Extent::Details)["Nope"].size(), 1U);
}

/// A device with a file, whose answers are literals of the description.
std::string FileNodes(const std::string &status, int size, int taken)
{
    const auto choice =
        [](const std::string &name, const std::vector<std::string> &entries, const std::string &value = "0")
    {
        std::string nodes;
        for (size_t i = 0; i < entries.size(); ++i)
        {
            nodes += fmt::format("<EnumEntry Name=\"{}\"><Value>{}</Value></EnumEntry>", entries[i], i);
        }
        return fmt::format("<Enumeration Name=\"{}\">{}<Value>{}</Value></Enumeration>", name, nodes, value);
    };
    const auto number = [](const std::string &name, int value)
    { return fmt::format("<Integer Name=\"{}\"><Value>{}</Value><Max>2</Max></Integer>", name, value); };
    return choice("FileSelector", {"UserFile"}) + choice("FileOpenMode", {"Read", "Write"}) +
           choice("FileOperationSelector", {"Open", "Close", "Read", "Write"}) +
           choice("FileOperationStatus", {"Success", "Failure"}, status) + number("FileAccessOffset", 0) +
           number("FileAccessLength", 2) + number("FileSize", size) + number("FileOperationResult", taken) +
           "<Command Name=\"FileOperationExecute\"><Value>0</Value><CommandValue>1</CommandValue></Command>"
           "<Register Name=\"FileAccessBuffer\"><Address>0x40</Address><Length>8</Length><AccessMode>RW"
           "</AccessMode><pPort>Device</pPort></Register>";
}

TEST_F(FeaturesTest, ReplaceAFileInBlocks)
{
    const auto features = Open({"FileSelector"}, FileNodes("0", 4, 2));
    const std::array<uint8_t, 4> content{1, 2, 3, 4};
    features.Files().WriteFile("UserFile", content);
    EXPECT_EQ(memory[0x40], 3);
    EXPECT_EQ(memory[0x41], 4);
    EXPECT_EQ(memory[0x42], 0);
    EXPECT_EQ(features.GetInteger("FileAccessOffset"), 2);
}

TEST_F(FeaturesTest, TellWhyAFileIsNotReplaced)
{
    const std::array<uint8_t, 4> content{};
    const auto failureOf = [&](const std::string &nodes)
    {
        const auto features = Open({"FileSelector"}, nodes);
        return FailureOf([&] { features.Files().WriteFile("UserFile", content); }).text;
    };
    EXPECT_EQ(failureOf(FileNodes("0", 5, 2)),
              "The device took 4 bytes of UserFile, but now gives the file a size of 5");
    EXPECT_EQ(failureOf(FileNodes("1", 4, 2)), "The device refuses to open the file UserFile for writing");
    EXPECT_EQ(failureOf(FileNodes("0", 4, 1)),
              "The device refuses the bytes from 0 on of the 4 for UserFile: it took 1 of 2");
}

} // namespace
} // namespace gentlctl
