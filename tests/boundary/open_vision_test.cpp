// Lower buffers that claim more memory than they have, with the vision module of this project: such a frame
// fails, and later frames arrive.

#include "consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <array>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::HasSubstr;

constexpr uint64_t mono8 = 0x01080001;
constexpr uint32_t mono10 = 0x01100003;
constexpr uint64_t mono10Packed = 0x4000000F; // a vendor-specific format, 4 pixels in 5 bytes
constexpr uint64_t depth16 = 0x011000B8;
constexpr uint64_t confidence8 = 0x010800C6;
constexpr uint64_t pixelFormatAddress = 0x10C;

const Exports &ProducerOverTheOpenModule()
{
    static void *const vision = dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW);
    EXPECT_NE(vision, nullptr) << dlerror();
    static const Exports exports(dlopen(QVR_LIB_DIR "/qvr_proxygentl.cti", RTLD_NOW | RTLD_LOCAL));
    return exports;
}

std::string IntegerNode(const std::string &name, uint64_t address, const std::string &access)
{
    return fmt::format("<Integer Name=\"{0}\"><pValue>{0}Reg</pValue></Integer>"
                       "<IntReg Name=\"{0}Reg\"><Address>{1}</Address><Length>4</Length>"
                       "<AccessMode>{2}</AccessMode><pPort>P</pPort><Sign>Unsigned</Sign>"
                       "<Endianess>LittleEndian</Endianess></IntReg>",
                       name, address, access);
}

std::string EnumerationNode(const std::string &name, uint64_t address,
                            const std::vector<std::pair<std::string, uint64_t>> &entries)
{
    auto node = IntegerNode(name + "Code", address, "RW") + "<Enumeration Name=\"" + name + "\">";
    for (const auto &[entry, value] : entries)
    {
        node += fmt::format("<EnumEntry Name=\"{}\"><Value>{}</Value></EnumEntry>", entry, value);
    }
    return node + "<pValue>" + name + "CodeReg</pValue></Enumeration>";
}

std::string Description(const std::string &nodes)
{
    return "<RegisterDescription xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">" +
           IntegerNode("Width", 0x100, "RW") + IntegerNode("Height", 0x104, "RW") +
           IntegerNode("PayloadSize", 0x108, "RO") + nodes + "<Port Name=\"P\"/></RegisterDescription>";
}

/// A camera whose packed format the producer unpacks to Mono10.
std::string PlainCamera()
{
    return Description(
        EnumerationNode("PixelFormat", pixelFormatAddress, {{"Mono8", mono8}, {"Packed", mono10Packed}}));
}

/// A depth camera. Its ComponentSelector reads as 1.
std::string DepthCamera()
{
    return Description(
        EnumerationNode("PixelFormat", pixelFormatAddress,
                        {{"Mono8", mono8}, {"Coord3D_C16", depth16}, {"Confidence8", confidence8}}) +
        EnumerationNode("ComponentSelector", 0x200, {{"Intensity", 1}, {"Range", 2}, {"Confidence", 4}}) +
        "<Float Name=\"Scan3dCoordinateScale\"><Value>1.0</Value></Float>");
}

class MemoryThatIsNotThere : public testing::Test
{
protected:
    MemoryThatIsNotThere()
        : ctiPath("PROXY_TL_CTI_PATH", lower.Path()), level("PROXY_TL_LOG_LEVEL", "error"),
          pattern("PROXY_TL_LOG_PATTERN", "%v")
    {
        lower->payloadSize = 128;
        spdlog::drop("gentli_proxy");
        spdlog::register_logger(std::make_shared<spdlog::logger>(
            "gentli_proxy", std::make_shared<spdlog::sinks::ostream_sink_mt>(log)));
    }

    void TearDown() override
    {
        gentl.GCCloseLib();
        spdlog::drop("gentli_proxy");
        spdlog::set_default_logger(before);
    }

    void Open(const std::string &description)
    {
        lower->deviceXml = description;
        ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << log.str();
        TL_HANDLE system = nullptr;
        ASSERT_EQ(gentl.TLOpen(&system), GC_ERR_SUCCESS) << log.str();
        IF_HANDLE interface = nullptr;
        ASSERT_EQ(gentl.TLOpenInterface(system, "if0", &interface), GC_ERR_SUCCESS) << log.str();
        ASSERT_EQ(gentl.IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device), GC_ERR_SUCCESS)
            << log.str();
        ASSERT_EQ(gentl.DevOpenDataStream(device, "Stream1", &stream), GC_ERR_SUCCESS) << log.str();
        ASSERT_EQ(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS) << log.str();
        for (int i = 0; i < 2; ++i)
        {
            BUFFER_HANDLE buffer = nullptr;
            ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 4096, nullptr, &buffer), GC_ERR_SUCCESS);
            ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
        }
    }

    void UseUnpacker()
    {
        PORT_HANDLE port = nullptr;
        ASSERT_EQ(gentl.DevGetPort(device, &port), GC_ERR_SUCCESS);
        size_t size = sizeof mono10;
        ASSERT_EQ(gentl.GCWritePort(port, pixelFormatAddress, &mono10, &size), GC_ERR_SUCCESS) << log.str();
    }

    template <typename T>
    T Info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        T value{};
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        EXPECT_EQ(gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size), GC_ERR_SUCCESS);
        return value;
    }

    /// Grabs one frame in an acquisition of its own. Returns whether it is complete.
    bool Grab()
    {
        log.str("");
        EXPECT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
        lower->DeliverWhenReady({.bytes = std::vector<uint8_t>(lower->payloadSize, 1)});
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        EXPECT_EQ(gentl.EventGetData(event, &data, &size, 10000), GC_ERR_SUCCESS) << log.str();
        const bool isComplete = Info<bool8_t>(data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE) == 0;
        EXPECT_EQ(Info<bool8_t>(data.BufferHandle, BUFFER_INFO_NEW_DATA) != 0, isComplete);
        EXPECT_EQ(gentl.DSQueueBuffer(stream, data.BufferHandle), GC_ERR_SUCCESS);
        EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
        return isComplete;
    }

    void ExpectFailure(const std::string &cause)
    {
        EXPECT_FALSE(Grab());
        EXPECT_THAT(log.str(), HasSubstr(cause + "\n"));
    }

    const Exports &gentl = ProducerOverTheOpenModule();
    LowerLibrary lower;
    EnvironmentVariable ctiPath;
    EnvironmentVariable level;
    EnvironmentVariable pattern;
    std::shared_ptr<spdlog::logger> before = spdlog::default_logger();
    std::ostringstream log;
    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
};

const std::string nullMemory = "The pointer to the pixel memory is null";

TEST_F(MemoryThatIsNotThere, IsNotCopied)
{
    Open(PlainCamera());
    lower->hasMemory = false;
    ExpectFailure("Input buffer has no memory!");
    lower->hasMemory = true;
    EXPECT_TRUE(Grab()) << log.str();
}

TEST_F(MemoryThatIsNotThere, IsNotUnpacked)
{
    Open(PlainCamera());
    UseUnpacker();
    lower->pixelFormat = mono10Packed;
    lower->hasMemory = false;
    ExpectFailure(nullMemory);
    lower->hasMemory = true;
    lower->height = 7;
    ExpectFailure("The memory has 128 bytes, expected at least 140 for Mono10g40QVR of 16 x 7 pixels");
    lower->height = 6;
    EXPECT_TRUE(Grab()) << log.str();
}

TEST_F(MemoryThatIsNotThere, IsNotReadAsDepth)
{
    Open(DepthCamera());
    lower->pixelFormat = depth16;
    lower->hasMemory = false;
    ExpectFailure(nullMemory);
    lower->hasMemory = true;
    lower->height = 5;
    ExpectFailure("The memory has 128 bytes, expected at least 160 for Coord3D_C16 of 16 x 5 pixels");
    // With its memory the frame is processed until it needs lens calibration.
    lower->height = 4;
    ExpectFailure("No rectifier! Needs to be created first!");
}

TEST_F(MemoryThatIsNotThere, IsNotReadAsAPart)
{
    Open(DepthCamera());
    struct Case
    {
        lower::Part part;
        std::string image;
    };
    const std::array cases{
        Case{{.type = PART_DATATYPE_2D_IMAGE, .format = mono8, .size = 64}, "Mono8"},
        Case{{.type = PART_DATATYPE_3D_IMAGE, .format = depth16, .size = 128}, "Coord3D_C16"},
        Case{{.type = PART_DATATYPE_CONFIDENCE_MAP, .format = confidence8, .size = 64}, "Confidence8"}};
    for (auto [part, image] : cases)
    {
        part.hasMemory = false;
        lower->parts = {part};
        ExpectFailure(nullMemory);
        part.hasMemory = true;
        const auto whole = part.size--;
        lower->parts = {part};
        ExpectFailure(fmt::format("The memory has {} bytes, expected at least {} for {} of 16 x 4 pixels",
                                  whole - 1, whole, image));
    }
}

} // namespace
} // namespace GenTL::internal
