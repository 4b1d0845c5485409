// Which handles are event sources, and how events of the lower producer are passed on.

#include "consumer.h"

#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{
namespace
{

using EventSources = ConsumerTest;

TEST_F(EventSources, AreAllModulesButBuffers)
{
    const auto [system, interface, device, stream, remote] = OpenAll();
    for (void *source : {system, interface, device, remote})
    {
        const auto registered = lower->CountOf("GCRegisterEvent");
        EVENT_HANDLE event = nullptr;
        EXPECT_EQ(gentl.GCRegisterEvent(source, EVENT_MODULE, &event), GC_ERR_SUCCESS) << GetLastError();
        EXPECT_NE(event, nullptr);
        EXPECT_EQ(lower->CountOf("GCRegisterEvent"), registered + 1);
        EXPECT_EQ(gentl.GCUnregisterEvent(source, EVENT_MODULE), GC_ERR_SUCCESS) << GetLastError();
    }
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS) << GetLastError();

    void *buffer = nullptr;
    ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, nullptr, &buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.GCRegisterEvent(buffer, EVENT_NEW_BUFFER, &event), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError().text, "GCRegisterEvent Error: Handle not found");
    EXPECT_EQ(gentl.GCUnregisterEvent(buffer, EVENT_NEW_BUFFER), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError().text, "GCUnregisterEvent Error: Handle not found");
}

TEST_F(EventSources, AreAskedForOnlyWhileTheLibraryIsInitialised)
{
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(gentl.GCRegisterEvent(this, EVENT_MODULE, &event), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(gentl.GCUnregisterEvent(this, EVENT_MODULE), GC_ERR_NOT_INITIALIZED);
}

using EventsOfUnknownHandles = ConsumerTest;

TEST_F(EventsOfUnknownHandles, AreLeftToTheLowerProducerUnchanged)
{
    lower->filled.push_back(this);
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    EXPECT_EQ(gentl.EventGetData(this, &data, &size, 4711), GC_ERR_SUCCESS) << GetLastError();
    EXPECT_EQ(data.BufferHandle, this);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(gentl.EventGetInfo(this, EVENT_NUM_FIRED, &type, &data, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventGetDataInfo(this, &data, 12, EVENT_DATA_NUMID, &type, &data, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventFlush(this), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.EventKill(this), GC_ERR_SUCCESS);
    const std::vector<lower::EventCall> expected{{"EventGetData", this, 4711},
                                                 {"EventGetInfo", this, EVENT_NUM_FIRED},
                                                 {"EventGetDataInfo", this, EVENT_DATA_NUMID},
                                                 {"EventFlush", this, 0},
                                                 {"EventKill", this, 0}};
    EXPECT_EQ(lower->eventCalls, expected);
}

TEST_F(EventsOfUnknownHandles, FailAsTheLowerProducerSays)
{
    lower->FailNext("EventGetInfo", GC_ERR_INVALID_HANDLE);
    lower->lastErrorText = "no such event";
    EXPECT_EQ(gentl.EventGetInfo(this, EVENT_NUM_FIRED, nullptr, nullptr, nullptr), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError().text, "EventGetInfo Error: no such event");
}

} // namespace
} // namespace GenTL::internal
