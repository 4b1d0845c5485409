// Each export with valid arguments does what its name says, on the module of its handle.

#include "consumer.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class Exported : public ConsumerTest
{
protected:
    void SetUp() override
    {
        ConsumerTest::SetUp();
        system = OpenSystem();
        interface = OpenInterface(system);
        device = OpenDevice(interface);
        stream = OpenStream(device);
        lower->calls.clear();
    }

    /// The lower functions that a call has called. The call must succeed.
    std::vector<std::string> LowerCallsOf(const std::function<GC_ERROR()> &call)
    {
        lower->calls.clear();
        EXPECT_EQ(call(), GC_ERR_SUCCESS) << GetLastError();
        return lower->calls;
    }

    /// A text that a call writes.
    std::string TextOf(const std::function<GC_ERROR(char *, size_t *)> &call)
    {
        std::string text(64, 'x');
        size_t size = text.size();
        EXPECT_EQ(call(text.data(), &size), GC_ERR_SUCCESS) << GetLastError();
        text.resize(size - 1);
        return text;
    }

    template <typename T>
    T BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        T value{};
        size_t size = sizeof value;
        EXPECT_EQ(gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size), GC_ERR_SUCCESS)
            << GetLastError();
        return value;
    }

    size_t StreamInfo(STREAM_INFO_CMD command)
    {
        size_t value = 0;
        size_t size = sizeof value;
        EXPECT_EQ(gentl.DSGetInfo(stream, command, &type, &value, &size), GC_ERR_SUCCESS) << GetLastError();
        return value;
    }

    void *system = nullptr;
    void *interface = nullptr;
    void *device = nullptr;
    void *stream = nullptr;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
};

TEST_F(Exported, PortFunctionsReachTheLowerPort)
{
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.GCReadPort(interface, 0x100, &value, &size); }),
                ElementsAre("GCReadPort"));
    EXPECT_EQ(value, 16U);
    const std::vector<uint8_t> bytes{1, 2, 3, 4};
    EXPECT_THAT(LowerCallsOf([&] { return gentl.GCWritePort(interface, 0x20, bytes.data(), &size); }),
                ElementsAre("GCWritePort"));
    EXPECT_EQ(lower->registers[0x20], bytes);
    EXPECT_EQ(TextOf([&](char *text, size_t *length) { return gentl.GCGetPortURL(interface, text, length); })
                  .substr(0, 21),
              "local:///Cam.xml;1000");
    EXPECT_EQ(TextOf([&](char *text, size_t *length)
                     { return gentl.GCGetPortInfo(interface, PORT_INFO_ID, &type, text, length); }),
              "lower port");
    value = 0;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.GCGetNumPortURLs(interface, &value); }),
                ElementsAre("GCGetNumPortURLs"));
    EXPECT_EQ(value, 1U);
    uint64_t address = 0;
    size = sizeof address;
    EXPECT_THAT(LowerCallsOf(
                    [&] {
                        return gentl.GCGetPortURLInfo(interface, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type,
                                                      &address, &size);
                    }),
                ElementsAre("GCGetPortURLInfo"));
    EXPECT_EQ(address, 0x10000U);
}

TEST_F(Exported, StackedPortFunctionsDoOneAccessForEachEntry)
{
    std::array<uint32_t, 2> values{};
    std::array<PORT_REGISTER_STACK_ENTRY, 2> entries{{{0x100, &values[0], 4}, {0x104, &values[1], 4}}};
    size_t count = entries.size();
    EXPECT_THAT(LowerCallsOf([&] { return gentl.GCReadPortStacked(interface, entries.data(), &count); }),
                ElementsAre("GCReadPort", "GCReadPort"));
    EXPECT_THAT(values, ElementsAre(16U, 4U));
    EXPECT_EQ(count, 2U);
    EXPECT_THAT(LowerCallsOf([&] { return gentl.GCWritePortStacked(interface, entries.data(), &count); }),
                ElementsAre("GCWritePort", "GCWritePort"));
    EXPECT_EQ(lower->registers[0x104], (std::vector<uint8_t>{4, 0, 0, 0}));
}

TEST_F(Exported, SystemFunctionsReachTheLowerSystemButForItsInfo)
{
    EXPECT_EQ(TextOf([&](char *text, size_t *size)
                     { return gentl.TLGetInfo(system, TL_INFO_DISPLAYNAME, &type, text, size); }),
              "QVR Proxy Transport Layer");
    EXPECT_THAT(lower->calls, IsEmpty());
    uint32_t count = 0;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.TLGetNumInterfaces(system, &count); }),
                ElementsAre("TLGetNumInterfaces"));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(TextOf([&](char *text, size_t *size) { return gentl.TLGetInterfaceID(system, 0, text, size); }),
              "if0");
    EXPECT_EQ(lower->calls.back(), "TLGetInterfaceID");
    EXPECT_EQ(
        TextOf([&](char *text, size_t *size)
               { return gentl.TLGetInterfaceInfo(system, "if0", INTERFACE_INFO_ID, &type, text, size); }),
        "if0");
    EXPECT_EQ(lower->calls.back(), "TLGetInterfaceInfo");
    bool8_t isChanged = 0;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.TLUpdateInterfaceList(system, &isChanged, 0); }),
                ElementsAre("TLUpdateInterfaceList"));
}

TEST_F(Exported, InterfaceFunctionsReachTheLowerInterface)
{
    EXPECT_EQ(TextOf([&](char *text, size_t *size)
                     { return gentl.IFGetInfo(interface, INTERFACE_INFO_ID, &type, text, size); }),
              "if0");
    EXPECT_THAT(lower->calls, ElementsAre("IFGetInfo"));
    uint32_t count = 0;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.IFGetNumDevices(interface, &count); }),
                ElementsAre("IFGetNumDevices"));
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(TextOf([&](char *text, size_t *size) { return gentl.IFGetDeviceID(interface, 1, text, size); }),
              "other");
    EXPECT_EQ(
        TextOf([&](char *text, size_t *size)
               { return gentl.IFGetDeviceInfo(interface, "cam0", DEVICE_INFO_MODEL, &type, text, size); }),
        "OVRA Test");
    bool8_t isChanged = 0;
    EXPECT_THAT(LowerCallsOf([&] { return gentl.IFUpdateDeviceList(interface, &isChanged, 0); }),
                ElementsAre("IFUpdateDeviceList"));
}

TEST_F(Exported, DeviceFunctionsTellOfTheDeviceAndItsOneStream)
{
    char id[8] = "";
    size_t size = sizeof id;
    EXPECT_EQ(gentl.DevGetDataStreamID(device, 0, id, &size), GC_ERR_SUCCESS) << GetLastError();
    EXPECT_STREQ(id, "Stream1");
}

TEST_F(Exported, BuffersKeepMemoryAndUserPointerApart)
{
    std::array<uint8_t, 64> memory{};
    int user = 0;
    BUFFER_HANDLE own = nullptr;
    BUFFER_HANDLE allocated = nullptr;
    ASSERT_EQ(gentl.DSAnnounceBuffer(stream, memory.data(), memory.size(), &user, &own), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 32, this, &allocated), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo(STREAM_INFO_NUM_ANNOUNCED), 2U);
    EXPECT_EQ(BufferInfo<void *>(own, BUFFER_INFO_BASE), memory.data());
    EXPECT_EQ(BufferInfo<void *>(own, BUFFER_INFO_USER_PTR), &user);
    EXPECT_EQ(BufferInfo<size_t>(allocated, BUFFER_INFO_SIZE), 32U);
    EXPECT_EQ(BufferInfo<void *>(allocated, BUFFER_INFO_USER_PTR), this);
    BUFFER_HANDLE second = nullptr;
    EXPECT_EQ(gentl.DSGetBufferID(stream, 1, &second), GC_ERR_SUCCESS);
    EXPECT_EQ(second, allocated);

    EXPECT_EQ(gentl.DSQueueBuffer(stream, own), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo(STREAM_INFO_NUM_QUEUED), 1U);
    EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo(STREAM_INFO_NUM_QUEUED), 0U);

    void *base = nullptr;
    void *userPointer = nullptr;
    EXPECT_EQ(gentl.DSRevokeBuffer(stream, own, &base, &userPointer), GC_ERR_SUCCESS);
    EXPECT_EQ(base, memory.data());
    EXPECT_EQ(userPointer, &user);
    EXPECT_EQ(StreamInfo(STREAM_INFO_NUM_ANNOUNCED), 1U);
}

TEST_F(Exported, BufferQueriesReachTheBuffer)
{
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, this, &buffer), GC_ERR_SUCCESS);
    size_t size = 0;
    void *user = nullptr;
    std::array<DS_BUFFER_INFO_STACKED, 2> infos{};
    infos[0] = {BUFFER_INFO_SIZE, INFO_DATATYPE_UNKNOWN, &size, sizeof size, GC_ERR_ERROR};
    infos[1] = {BUFFER_INFO_USER_PTR, INFO_DATATYPE_UNKNOWN, &user, sizeof user, GC_ERR_ERROR};
    EXPECT_EQ(gentl.DSGetBufferInfoStacked(stream, buffer, infos.data(), infos.size()), GC_ERR_SUCCESS);
    EXPECT_EQ(infos[0].iResult, GC_ERR_SUCCESS);
    EXPECT_EQ(infos[1].iResult, GC_ERR_SUCCESS);
    EXPECT_EQ(size, 64U);
    EXPECT_EQ(user, this);

    // A buffer without a frame has neither parts nor chunks.
    uint32_t parts = 7;
    EXPECT_EQ(gentl.DSGetNumBufferParts(stream, buffer, &parts), GC_ERR_SUCCESS);
    EXPECT_EQ(parts, 0U);
    EXPECT_EQ(gentl.DSGetBufferPartInfo(stream, buffer, 0, BUFFER_PART_INFO_BASE, &type, &user, &size),
              GC_ERR_NO_DATA);
    EXPECT_EQ(GetLastError().text, "DSGetBufferPartInfo Error: No Parts in the buffer");
    DS_BUFFER_PART_INFO_STACKED info{};
    info.iInfoCmd = BUFFER_PART_INFO_BASE;
    info.pBuffer = &user;
    info.iSize = sizeof user;
    EXPECT_EQ(gentl.DSGetBufferPartInfoStacked(stream, buffer, &info, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(info.iResult, GC_ERR_NO_DATA);
    std::array<SINGLE_CHUNK_DATA, 1> chunks{};
    size_t count = chunks.size();
    EXPECT_EQ(gentl.DSGetBufferChunkData(stream, buffer, chunks.data(), &count), GC_ERR_NO_DATA);
    EXPECT_EQ(GetLastError().text, "DSGetBufferChunkData Error: No chunks in the buffer");
}

} // namespace
} // namespace GenTL::internal
