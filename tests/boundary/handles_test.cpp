#include "consumer.h"

#include <algorithm>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

/// Valid arguments of every kind, for calls in which only the handle is wrong.
struct Arguments
{
    INFO_DATATYPE type{};
    size_t size = 64;
    char text[64]{};
    uint32_t number{};
    void *handle{};
    void *segments[1]{text};
    size_t sizes[1]{1};
    bool8_t flag{};
    PORT_REGISTER_STACK_ENTRY entries[1]{{0, text, 4}};
    DS_BUFFER_INFO_STACKED infos[1]{};
    DS_BUFFER_PART_INFO_STACKED partInfos[1]{};
    SINGLE_CHUNK_DATA chunks[1]{};
};

struct HandleCall
{
    std::string name;
    std::string argument; ///< how the message calls the handle; empty: "Handle not found!"
    std::function<GC_ERROR(const Exports &, Arguments &, void *)> call;
};

#define CALL(name, argument, ...)                                                                            \
    HandleCall                                                                                               \
    {                                                                                                        \
#name, argument,                                                                                     \
            [](const Exports &gentl, [[maybe_unused]] Arguments &a, void *h)                                 \
        { return gentl.name(__VA_ARGS__); }                                                                  \
    }

const std::vector<HandleCall> handleCalls{
    CALL(GCReadPort, "hPort", h, 0, a.text, &a.size),
    CALL(GCWritePort, "hPort", h, 0, a.text, &a.size),
    CALL(GCGetPortURL, "hPort", h, a.text, &a.size),
    CALL(GCGetPortInfo, "hPort", h, PORT_INFO_ID, &a.type, a.text, &a.size),
    CALL(GCGetNumPortURLs, "hPort", h, &a.number),
    CALL(GCGetPortURLInfo, "hPort", h, 0, URL_INFO_URL, &a.type, a.text, &a.size),
    CALL(GCReadPortStacked, "hPort", h, a.entries, &a.size),
    CALL(GCWritePortStacked, "hPort", h, a.entries, &a.size),
    CALL(GCRegisterEvent, "", h, EVENT_NEW_BUFFER, &a.handle),
    CALL(GCUnregisterEvent, "", h, EVENT_NEW_BUFFER),
    CALL(TLClose, "", h),
    CALL(TLGetInfo, "hTL", h, TL_INFO_ID, &a.type, a.text, &a.size),
    CALL(TLGetNumInterfaces, "hTL", h, &a.number),
    CALL(TLGetInterfaceID, "hTL", h, 0, a.text, &a.size),
    CALL(TLGetInterfaceInfo, "hTL", h, "if0", INTERFACE_INFO_ID, &a.type, a.text, &a.size),
    CALL(TLOpenInterface, "hTL", h, "if0", &a.handle),
    CALL(TLUpdateInterfaceList, "hTL", h, &a.flag, 0),
    CALL(IFClose, "", h),
    CALL(IFGetInfo, "hIface", h, INTERFACE_INFO_ID, &a.type, a.text, &a.size),
    CALL(IFGetNumDevices, "hIface", h, &a.number),
    CALL(IFGetDeviceID, "hIface", h, 0, a.text, &a.size),
    CALL(IFUpdateDeviceList, "hIface", h, &a.flag, 0),
    CALL(IFGetDeviceInfo, "hIface", h, "cam0", DEVICE_INFO_ID, &a.type, a.text, &a.size),
    CALL(IFOpenDevice, "hIface", h, "cam0", DEVICE_ACCESS_CONTROL, &a.handle),
    CALL(IFGetParentTL, "hIface", h, &a.handle),
    CALL(DevGetPort, "hDevice", h, &a.handle),
    CALL(DevGetNumDataStreams, "hDevice", h, &a.number),
    CALL(DevGetDataStreamID, "hDevice", h, 0, a.text, &a.size),
    CALL(DevOpenDataStream, "hDevice", h, "Stream1", &a.handle),
    CALL(DevGetInfo, "hDevice", h, DEVICE_INFO_ID, &a.type, a.text, &a.size),
    CALL(DevClose, "", h),
    CALL(DevGetParentIF, "hDevice", h, &a.handle),
    CALL(DSAnnounceBuffer, "hDataStream", h, a.text, 64, nullptr, &a.handle),
    CALL(DSAllocAndAnnounceBuffer, "hDataStream", h, 64, nullptr, &a.handle),
    CALL(DSFlushQueue, "hDataStream", h, ACQ_QUEUE_ALL_DISCARD),
    CALL(DSStartAcquisition, "hDataStream", h, ACQ_START_FLAGS_DEFAULT, 1),
    CALL(DSStopAcquisition, "hDataStream", h, ACQ_STOP_FLAGS_DEFAULT),
    CALL(DSGetInfo, "hDataStream", h, STREAM_INFO_ID, &a.type, a.text, &a.size),
    CALL(DSGetBufferID, "hDataStream", h, 0, &a.handle),
    CALL(DSClose, "hDataStream", h),
    CALL(DSRevokeBuffer, "hDataStream", h, a.text, nullptr, nullptr),
    CALL(DSQueueBuffer, "hDataStream", h, a.text),
    CALL(DSGetParentDev, "hDataStream", h, &a.handle),
    CALL(DSGetBufferInfo, "hDataStream", h, a.text, BUFFER_INFO_SIZE, &a.type, a.text, &a.size),
    CALL(DSGetBufferChunkData, "hDataStream", h, a.text, a.chunks, &a.size),
    CALL(DSGetNumBufferParts, "hDataStream", h, a.text, &a.number),
    CALL(DSGetBufferPartInfo, "hDataStream", h, a.text, 0, BUFFER_PART_INFO_BASE, &a.type, a.text, &a.size),
    CALL(DSGetBufferInfoStacked, "hDataStream", h, a.text, a.infos, 1),
    CALL(DSGetBufferPartInfoStacked, "hDataStream", h, a.text, a.partInfos, 1),
    CALL(DSAnnounceCompositeBuffer, "hDataStream", h, 1, a.segments, a.sizes, nullptr, &a.handle),
    CALL(DSGetNumFlows, "hDataStream", h, &a.number),
    CALL(DSGetFlowInfo, "hDataStream", h, 0, FLOW_INFO_SIZE, &a.type, a.text, &a.size),
    CALL(DSGetNumBufferSegments, "hDataStream", h, a.text, &a.number),
    CALL(DSGetBufferSegmentInfo, "hDataStream", h, a.text, 0, SEGMENT_INFO_BASE, &a.type, a.text, &a.size),
};

std::string ExpectedText(const HandleCall &call)
{
    if (call.argument.empty())
    {
        const bool isEvent = call.name.starts_with("GC");
        return call.name + " Error: Handle not found" + (isEvent ? "" : "!");
    }
    return call.name + " Error: " + call.argument + " is an invalid handle";
}

using Handles = ConsumerTest;

TEST_F(Handles, AreTakenByAllFunctionsButLibraryAndEvents)
{
    // All but GCGetInfo, GCGetLastError, GCInitLib, GCCloseLib, TLOpen and five functions of events, which
    // pass unknown handles to the lower producer.
    EXPECT_EQ(handleCalls.size(), 64U - 10U);
}

TEST_F(Handles, ThatAreUnknownAreNamedInTheError)
{
    for (const auto &call : handleCalls)
    {
        for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(this)})
        {
            Arguments arguments;
            EXPECT_EQ(call.call(gentl, arguments, handle), GC_ERR_INVALID_HANDLE) << call.name;
            EXPECT_EQ(GetLastError().text, ExpectedText(call));
        }
    }
}

TEST_F(Handles, OfAnotherKindAreRefused)
{
    auto *const system = OpenSystem();
    auto *const interface = OpenInterface(system);
    auto *const device = OpenDevice(interface);
    auto *const stream = OpenStream(device);
    const std::vector<std::pair<std::string, void *>> opened{
        {"TL", system}, {"IF", interface}, {"Dev", device}, {"DS", stream}};
    for (const auto &call : handleCalls)
    {
        for (const auto &[kind, handle] : opened)
        {
            if (call.name.starts_with(kind) || call.name.starts_with("GC"))
            {
                continue;
            }
            Arguments arguments;
            EXPECT_EQ(call.call(gentl, arguments, handle), GC_ERR_INVALID_HANDLE) << call.name << kind;
            EXPECT_EQ(GetLastError().text, ExpectedText(call));
        }
    }
}

TEST_F(Handles, AreInvalidWhileTheLibraryIsClosed)
{
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    for (const auto &call : handleCalls)
    {
        Arguments arguments;
        const auto expected = call.name == "TLClose" ? GC_ERR_INVALID_HANDLE : GC_ERR_NOT_INITIALIZED;
        EXPECT_EQ(call.call(gentl, arguments, this), expected) << call.name;
    }
}

TEST_F(Handles, OfBuffersAreCheckedAfterThatOfTheStream)
{
    auto *const stream = OpenStream(OpenDevice(OpenInterface(OpenSystem())));
    for (const auto *name : {"DSGetBufferInfo", "DSGetBufferChunkData", "DSGetNumBufferParts",
                             "DSGetBufferPartInfo", "DSGetBufferInfoStacked", "DSGetBufferPartInfoStacked",
                             "DSGetNumBufferSegments", "DSGetBufferSegmentInfo"})
    {
        const auto call =
            std::ranges::find_if(handleCalls, [&](const auto &entry) { return entry.name == name; });
        Arguments arguments;
        EXPECT_EQ(call->call(gentl, arguments, stream), GC_ERR_INVALID_HANDLE);
        EXPECT_EQ(GetLastError().text, std::string(name) + " Error: hBuffer is an invalid handle");
    }
}

TEST_F(Handles, OfBuffersAreCheckedBeforeOtherArguments)
{
    auto *const stream = OpenStream(OpenDevice(OpenInterface(OpenSystem())));
    EXPECT_EQ(gentl.DSGetNumBufferParts(stream, this, nullptr), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gentl.DSGetNumBufferSegments(stream, this, nullptr), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gentl.DSGetBufferSegmentInfo(stream, this, 0, 0, nullptr, nullptr, nullptr),
              GC_ERR_INVALID_HANDLE);
}

TEST_F(Handles, AreGoneAfterClosing)
{
    auto *const interface = OpenInterface(OpenSystem());
    EXPECT_EQ(gentl.IFClose(interface), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.IFClose(interface), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError().text, "IFClose Error: Handle not found!");
}

TEST_F(Handles, OfAClosedStreamAreGone)
{
    auto *const device = OpenDevice(OpenInterface(OpenSystem()));
    auto *const stream = OpenStream(device);
    void *second = nullptr;
    EXPECT_EQ(gentl.DevOpenDataStream(device, "Stream1", &second), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("DSClose"), 1U);
    EXPECT_EQ(gentl.DSClose(stream), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError().text, "DSClose Error: hDataStream is an invalid handle");
    EXPECT_EQ(gentl.DevOpenDataStream(device, "Stream1", &second), GC_ERR_SUCCESS) << GetLastError();
}

TEST_F(Handles, ThatAreClosedDuringACallKeepTheirObjectUntilItsEnd)
{
    auto *const interface = OpenInterface(OpenSystem());
    std::latch entered(1);
    std::latch closed(1);
    lower->onCall = [&](std::string_view name)
    {
        if (name == "IFGetNumDevices")
        {
            entered.count_down();
            closed.wait();
        }
    };
    GC_ERROR result = GC_ERR_ERROR;
    std::thread caller(
        [&]
        {
            uint32_t count = 0;
            result = gentl.IFGetNumDevices(interface, &count);
        });
    entered.wait();
    EXPECT_EQ(gentl.IFClose(interface), GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("IFClose"), 0U);
    closed.count_down();
    caller.join();
    EXPECT_EQ(result, GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("IFClose"), 1U);
    lower->onCall = nullptr;
}

TEST_F(Handles, OfParentsAreThoseThatTheConsumerGot)
{
    auto *const system = OpenSystem();
    auto *const interface = OpenInterface(system);
    auto *const device = OpenDevice(interface);
    auto *const stream = OpenStream(device);
    void *parent = nullptr;
    EXPECT_EQ(gentl.IFGetParentTL(interface, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, system);
    EXPECT_EQ(gentl.DevGetParentIF(device, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, interface);
    EXPECT_EQ(gentl.DSGetParentDev(stream, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, device);
    EXPECT_EQ(gentl.IFGetParentTL(interface, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(GetLastError().text, "IFGetParentTL Error: phSystem must not be NULL");
    EXPECT_EQ(gentl.DevGetParentIF(device, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(GetLastError().text, "DevGetParentIF Error: phIface must not be NULL");
    EXPECT_EQ(gentl.DSGetParentDev(stream, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(GetLastError().text, "DSGetParentDev Error: phDevice must not be NULL");
}

using Ports = ConsumerTest;

TEST_F(Ports, AreBehindTheHandlesOfAllModules)
{
    const auto [system, interface, device, stream, remote] = OpenAll();
    for (void *handle : {system, interface, device, remote, stream})
    {
        uint32_t value = 0;
        size_t size = sizeof value;
        EXPECT_EQ(gentl.GCReadPort(handle, 0, &value, &size), GC_ERR_SUCCESS) << GetLastError();
    }
}

TEST_F(Ports, OfABufferHaveNoRegisters)
{
    auto *const stream = OpenStream(OpenDevice(OpenInterface(OpenSystem())));
    void *buffer = nullptr;
    ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, nullptr, &buffer), GC_ERR_SUCCESS);
    uint32_t value = 7;
    size_t size = sizeof value;
    EXPECT_EQ(gentl.GCReadPort(buffer, 0, &value, &size), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(GetLastError().text, "GCReadPort Error: Function not implemented");
    EXPECT_EQ(gentl.GCGetNumPortURLs(buffer, &value), GC_ERR_SUCCESS);
    EXPECT_EQ(value, 0U);
}

using FunctionsThatAreNotImplemented = ConsumerTest;

TEST_F(FunctionsThatAreNotImplemented, TellOfAWrongArgumentFirst)
{
    auto *const stream = OpenStream(OpenDevice(OpenInterface(OpenSystem())));
    void *buffer = nullptr;
    ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, nullptr, &buffer), GC_ERR_SUCCESS);
    Arguments a;
    void *holed[2]{a.text, nullptr};
    const auto expect = [](GC_ERROR result, GC_ERROR expected, const std::string &text)
    {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(GetLastError().text, text);
    };
    expect(gentl.DSAnnounceCompositeBuffer(stream, 0, nullptr, nullptr, nullptr, nullptr),
           GC_ERR_INVALID_PARAMETER, "DSAnnounceCompositeBuffer Error: ppSegments must not be NULL");
    expect(gentl.DSAnnounceCompositeBuffer(stream, 1, a.segments, nullptr, nullptr, nullptr),
           GC_ERR_INVALID_PARAMETER, "DSAnnounceCompositeBuffer Error: piSizes must not be NULL");
    expect(gentl.DSAnnounceCompositeBuffer(stream, 1, a.segments, a.sizes, nullptr, nullptr),
           GC_ERR_INVALID_PARAMETER, "DSAnnounceCompositeBuffer Error: phBuffer must not be NULL");
    expect(gentl.DSAnnounceCompositeBuffer(stream, 0, a.segments, a.sizes, nullptr, &a.handle),
           GC_ERR_INVALID_PARAMETER, "DSAnnounceCompositeBuffer Error: iNumSegments must not be 0");
    expect(gentl.DSAnnounceCompositeBuffer(stream, 2, holed, a.sizes, nullptr, &a.handle),
           GC_ERR_INVALID_PARAMETER, "DSAnnounceCompositeBuffer Error: ppSegments[i] must not be NULL");
    expect(gentl.DSAnnounceCompositeBuffer(stream, 1, a.segments, a.sizes, nullptr, &a.handle),
           GC_ERR_NOT_IMPLEMENTED, "DSAnnounceCompositeBuffer Error: not implemented");
    expect(gentl.DSGetNumFlows(stream, nullptr), GC_ERR_INVALID_PARAMETER,
           "DSGetNumFlows Error: piNumFlows must not be NULL");
    expect(gentl.DSGetNumFlows(stream, &a.number), GC_ERR_NOT_IMPLEMENTED,
           "DSGetNumFlows Error: not implemented");
    expect(gentl.DSGetFlowInfo(stream, 0, 0, nullptr, nullptr, nullptr), GC_ERR_INVALID_PARAMETER,
           "DSGetFlowInfo Error: piType must not be NULL");
    expect(gentl.DSGetFlowInfo(stream, 0, 0, &a.type, nullptr, nullptr), GC_ERR_INVALID_PARAMETER,
           "DSGetFlowInfo Error: piSize must not be NULL");
    expect(gentl.DSGetFlowInfo(stream, 0, 0, &a.type, nullptr, &a.size), GC_ERR_NOT_IMPLEMENTED,
           "DSGetFlowInfo Error: not implemented");
    a.number = 7;
    expect(gentl.DSGetNumBufferSegments(stream, buffer, nullptr), GC_ERR_INVALID_PARAMETER,
           "DSGetNumBufferSegments Error: piNumSegments must not be NULL");
    expect(gentl.DSGetNumBufferSegments(stream, buffer, &a.number), GC_ERR_NOT_IMPLEMENTED,
           "DSGetNumBufferSegments Error: not implemented");
    EXPECT_EQ(a.number, 0U);
    expect(gentl.DSGetBufferSegmentInfo(stream, buffer, 0, 0, nullptr, nullptr, &a.size),
           GC_ERR_INVALID_PARAMETER, "DSGetBufferSegmentInfo Error: piType must not be NULL");
    expect(gentl.DSGetBufferSegmentInfo(stream, buffer, 0, 0, &a.type, nullptr, nullptr),
           GC_ERR_INVALID_PARAMETER, "DSGetBufferSegmentInfo Error: piSize must not be NULL");
    expect(gentl.DSGetBufferSegmentInfo(stream, buffer, 0, 0, &a.type, nullptr, &a.size),
           GC_ERR_NOT_IMPLEMENTED, "DSGetBufferSegmentInfo Error: not implemented");
    expect(gentl.DSGetNumBufferParts(stream, buffer, nullptr), GC_ERR_INVALID_PARAMETER,
           "DSGetNumBufferParts Error: piNumParts must not be NULL");
}

using LowerEvents = ConsumerTest;

TEST_F(LowerEvents, PassTheirHandlesToTheConsumerAndBack)
{
    auto *const device = OpenDevice(OpenInterface(OpenSystem()));
    EVENT_HANDLE event = nullptr;
    ASSERT_EQ(gentl.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &event), GC_ERR_SUCCESS);
    Arguments a;
    EXPECT_EQ(gentl.EventGetInfo(event, EVENT_NUM_FIRED, &a.type, a.text, &a.size), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventGetDataInfo(event, a.text, 16, EVENT_DATA_ID, &a.type, a.text, &a.size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventFlush(event), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventKill(event), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventGetData(event, a.text, &a.size, 0), GC_ERR_ABORT);
    for (const auto *name : {"EventGetInfo", "EventGetDataInfo", "EventFlush", "EventKill", "EventGetData"})
    {
        EXPECT_EQ(lower->CountOf(name), 1U) << name;
    }
    EXPECT_EQ(gentl.GCUnregisterEvent(device, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("GCUnregisterEvent"), 1U);
}

} // namespace
} // namespace GenTL::internal
