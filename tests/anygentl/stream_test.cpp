// Streams of the producer for any camera: what a consumer may do with them, and what frames tell.

#include "any_producer.h"

#include <future>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace GenTL::internal
{
namespace
{

lower::Frame NumberedFrame(uint8_t first, bool isIncomplete = false)
{
    lower::Frame frame{.bytes = std::vector<uint8_t>(64), .isIncomplete = isIncomplete};
    std::iota(frame.bytes.begin(), frame.bytes.end(), first);
    return frame;
}

class AnyStream : public AnyProducer
{
protected:
    void SetUp() override
    {
        Initialize();
        interface = OpenInterface(OpenSystem());
        Open();
    }

    void Open()
    {
        device = OpenDevice(interface);
        ASSERT_EQ(gentl.DevOpenDataStream(device, "Stream1", &stream), GC_ERR_SUCCESS) << Error();
    }

    BUFFER_HANDLE Announce()
    {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, nullptr, &buffer), GC_ERR_SUCCESS) << Error();
        return buffer;
    }

    BUFFER_HANDLE AnnounceQueued()
    {
        auto *const buffer = Announce();
        EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS) << Error();
        return buffer;
    }

    void Start(uint64_t frames = GENTL_INFINITE)
    {
        ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames), GC_ERR_SUCCESS)
            << Error();
    }

    EVENT_HANDLE RegisterEvent()
    {
        EVENT_HANDLE event = nullptr;
        EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS) << Error();
        return event;
    }

    BUFFER_HANDLE Take(EVENT_HANDLE event)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        EXPECT_EQ(gentl.EventGetData(event, &data, &size, 10000), GC_ERR_SUCCESS) << Error();
        return data.BufferHandle;
    }

    template <typename T>
    T StreamInfo(STREAM_INFO_CMD command)
    {
        T value{};
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        EXPECT_EQ(gentl.DSGetInfo(stream, command, &type, &value, &size), GC_ERR_SUCCESS) << Error();
        return value;
    }

    GC_ERROR AskBuffer(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command, uint64_t &value)
    {
        value = 0;
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        return gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size);
    }

    uint64_t BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        uint64_t value = 0;
        EXPECT_EQ(AskBuffer(buffer, command, value), GC_ERR_SUCCESS) << command << ": " << Error();
        return value;
    }

    std::vector<uint8_t> BytesOf(BUFFER_HANDLE buffer)
    {
        const auto *base = reinterpret_cast<uint8_t *>(BufferInfo(buffer, BUFFER_INFO_BASE));
        return {base, base + BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED)};
    }

    /// Delivers one frame through one buffer, and takes it.
    BUFFER_HANDLE PassFrame(const lower::Frame &frame = NumberedFrame(0))
    {
        AnnounceQueued();
        auto *const event = RegisterEvent();
        Start();
        lower->DeliverWhenReady(frame);
        return Take(event);
    }

    GC_ERROR Frequency(uint64_t &value)
    {
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        return gentl.DevGetInfo(device, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &value, &size);
    }

    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;
};

TEST_F(AnyStream, NeedsOneBufferAndThreeBelow)
{
    lower->minimumBuffers = 1;
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_BUF_ANNOUNCE_MIN), 1U);
    auto *const buffer = AnnounceQueued();
    auto *const event = RegisterEvent();
    Start();
    EXPECT_EQ(lower->CountOf("DSAllocAndAnnounceBuffer"), 3U);
    for (uint8_t i = 0; i < 10; ++i)
    {
        lower->DeliverWhenReady(NumberedFrame(i));
        EXPECT_EQ(Take(event), buffer);
        EXPECT_EQ(BytesOf(buffer), NumberedFrame(i).bytes);
        EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    }
}

TEST_F(AnyStream, HandsOutFramesThatCameBeforeTheEvent)
{
    const std::vector buffers{AnnounceQueued(), AnnounceQueued()};
    Start();
    lower->DeliverWhenReady(NumberedFrame(1));
    lower->DeliverWhenReady(NumberedFrame(2));
    while (StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY) != 2)
    {
        std::this_thread::yield();
    }
    auto *event = RegisterEvent();
    EXPECT_EQ(Take(event), buffers[0]);
    EXPECT_EQ(gentl.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    event = RegisterEvent();
    EXPECT_EQ(Take(event), buffers[1]);
    EXPECT_EQ(BytesOf(buffers[1]), NumberedFrame(2).bytes);
    EXPECT_EQ(StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED), 2U);
}

TEST_F(AnyStream, LetsEveryBufferBeRevokedAfterAFlush)
{
    const std::vector buffers{AnnounceQueued(), AnnounceQueued(), AnnounceQueued()};
    Start();
    std::atomic<bool> isDone = false;
    auto camera = std::async(std::launch::async,
                             [&]
                             {
                                 while (!isDone)
                                 {
                                     lower->Deliver(NumberedFrame(0));
                                     std::this_thread::yield();
                                 }
                             });
    EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    for (auto *const buffer : buffers)
    {
        EXPECT_EQ(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS) << Error();
    }
    EXPECT_EQ(StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING), 1);
    isDone = true;
    camera.get();
}

TEST_F(AnyStream, StopsInEveryState)
{
    EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    AnnounceQueued();
    auto *const event = RegisterEvent();
    Start(1);
    lower->DeliverWhenReady(NumberedFrame(0));
    Take(event);
    EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
    EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_SUCCESS);
}

TEST_F(AnyStream, AllocatesBelowOnceForManyStarts)
{
    AnnounceQueued();
    for (int i = 0; i < 20; ++i)
    {
        Start();
        ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(lower->CountOf("DSAllocAndAnnounceBuffer"), lower->minimumBuffers);
    ASSERT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS);
    EXPECT_TRUE(lower->buffers.empty());
}

TEST_F(AnyStream, PassesTheLowerLimitOfChunks)
{
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_CHUNKS_MAX), 0U);
    lower->maxChunks = 9;
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_CHUNKS_MAX), 9U);
}

TEST_F(AnyStream, PassesOtherEvents)
{
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_MODULE, &event), GC_ERR_SUCCESS) << Error();
    EXPECT_NE(event, nullptr);
    lower->FailNext("GCRegisterEvent", GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_ERROR, &event), GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(AnyStream, NeedsNoDescriptionOfTheLowerStream)
{
    ASSERT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS);
    lower->streamXml = "not a description";
    ASSERT_EQ(gentl.DevOpenDataStream(device, "Stream1", &stream), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(BytesOf(PassFrame()), NumberedFrame(0).bytes);
}

class AnyFrame : public AnyStream, public testing::WithParamInterface<bool>
{
protected:
    AnyFrame() { lower->answersAtOnce = GetParam(); }
};

TEST_P(AnyFrame, TellsWhatTheLowerProducerTells)
{
    const std::vector<std::pair<BUFFER_INFO_CMD, uint64_t>> told{
        {BUFFER_INFO_FRAMEID, 4711},
        {BUFFER_INFO_TIMESTAMP, 1000},
        {BUFFER_INFO_TIMESTAMP_NS, 2000},
        {BUFFER_INFO_XOFFSET, 3},
        {BUFFER_INFO_YOFFSET, 4},
        {BUFFER_INFO_XPADDING, 0},
        {BUFFER_INFO_YPADDING, 5},
        {BUFFER_INFO_IMAGEOFFSET, 0},
        {BUFFER_INFO_DELIVERED_IMAGEHEIGHT, 2},
        {BUFFER_INFO_PIXELFORMAT_NAMESPACE, PIXELFORMAT_NAMESPACE_GEV},
        {BUFFER_INFO_PIXEL_ENDIANNESS, PIXELENDIANNESS_BIG},
        {BUFFER_INFO_CHUNKLAYOUTID, 6}};
    lower->bufferInfos.insert(told.begin(), told.end());
    auto *const buffer = PassFrame();
    for (const auto &[command, value] : told)
    {
        EXPECT_EQ(BufferInfo(buffer, command), value) << command;
    }
    EXPECT_EQ(lower->CountOf("DSGetBufferInfo"),
              GetParam() ? lower->minimumBuffers : lower->minimumBuffers + 24);
}

TEST_P(AnyFrame, LeavesOpenWhatTheLowerProducerDoesNotTell)
{
    auto *const buffer = PassFrame();
    uint64_t value = 0;
    for (const BUFFER_INFO_CMD command :
         {BUFFER_INFO_TIMESTAMP, BUFFER_INFO_TIMESTAMP_NS, BUFFER_INFO_XOFFSET, BUFFER_INFO_XPADDING,
          BUFFER_INFO_IMAGEOFFSET, BUFFER_INFO_FILENAME, BUFFER_INFO_PIXEL_ENDIANNESS,
          BUFFER_INFO_CHUNKLAYOUTID, BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE})
    {
        EXPECT_EQ(AskBuffer(buffer, command, value), GC_ERR_NOT_AVAILABLE) << command;
    }
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_FRAMEID), 1U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_IMAGEPRESENT), 1U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_DATA_SIZE), 64U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_DELIVERED_IMAGEHEIGHT), 4U);
    uint32_t parts = 0;
    EXPECT_EQ(gentl.DSGetNumBufferParts(stream, buffer, &parts), GC_ERR_NO_DATA);
}

TEST_P(AnyFrame, ComesWithWhatArrivedOfIt)
{
    auto *const buffer = PassFrame(NumberedFrame(7, true));
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE), 1U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_NEW_DATA), 1U);
    EXPECT_EQ(BytesOf(buffer), NumberedFrame(7).bytes);
}

TEST_P(AnyFrame, ComesWithoutDataWhenItContradictsItself)
{
    lower->bufferInfos = {{BUFFER_INFO_SIZE_FILLED, 65}, {BUFFER_INFO_FRAMEID, 5}};
    auto *const buffer = PassFrame();
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED), 0U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE), 1U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_IMAGEPRESENT), 0U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_FRAMEID), 5U);
}

TEST_P(AnyFrame, TellsItsTimeInTicksAndNanoseconds)
{
    lower->timestampFrequency = 8'000'000;
    lower->bufferInfos = {{BUFFER_INFO_TIMESTAMP, 16}};
    auto *const buffer = PassFrame();
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_TIMESTAMP), 16U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_TIMESTAMP_NS), 2000U);
    uint64_t frequency = 0;
    EXPECT_EQ(Frequency(frequency), GC_ERR_SUCCESS);
    EXPECT_EQ(frequency, 8'000'000U);
}

TEST_P(AnyFrame, CountsNanosecondsWhereNothingElseIsKnown)
{
    lower->bufferInfos = {{BUFFER_INFO_TIMESTAMP_NS, 2000}};
    auto *const buffer = PassFrame();
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_TIMESTAMP), 2000U);
    uint64_t frequency = 0;
    EXPECT_EQ(Frequency(frequency), GC_ERR_SUCCESS);
    EXPECT_EQ(frequency, 1'000'000'000U);
}

TEST_P(AnyFrame, ComesWithItsChunksAndTheNextOneWithout)
{
    lower->chunks = {{1, 0, 32}, {2, 40, 16}};
    lower->bufferInfos = {{BUFFER_INFO_CONTAINS_CHUNKDATA, 1}};
    auto *const buffer = AnnounceQueued();
    auto *const event = RegisterEvent();
    Start();
    lower->DeliverWhenReady(NumberedFrame(0));
    Take(event);
    size_t count = 0;
    EXPECT_EQ(gentl.DSGetBufferChunkData(stream, buffer, nullptr, &count), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA), 1U);
    lower->bufferInfos = {{BUFFER_INFO_CONTAINS_CHUNKDATA, 0}};
    ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    lower->DeliverWhenReady(NumberedFrame(0));
    Take(event);
    EXPECT_EQ(gentl.DSGetBufferChunkData(stream, buffer, nullptr, &count), GC_ERR_NO_DATA);
    EXPECT_EQ(BufferInfo(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA), 0U);
}

INSTANTIATE_TEST_SUITE_P(Asked, AnyFrame, testing::Bool(),
                         [](const auto &row) { return row.param ? "AtOnce" : "OneByOne"; });

class GoneDevice : public AnyStream, public testing::WithParamInterface<GC_ERROR>
{
protected:
    void PullOut()
    {
        const std::lock_guard guard(lower->mutex);
        lower->gone = GetParam();
    }

    /// The device is back and knows nothing of what was before.
    void PlugIn()
    {
        const std::lock_guard guard(lower->mutex);
        lower->gone = GC_ERR_SUCCESS;
        lower->isGrabbing = false;
        lower->queued.clear();
        lower->filled.clear();
    }
};

TEST_P(GoneDevice, LetsEverythingEndAndOpensAgain)
{
    const std::vector buffers{AnnounceQueued(), AnnounceQueued()};
    auto *const event = RegisterEvent();
    EVENT_HANDLE other = nullptr;
    ASSERT_EQ(gentl.GCRegisterEvent(device, EVENT_MODULE, &other), GC_ERR_SUCCESS) << Error();
    ASSERT_EQ(gentl.GCRegisterEvent(stream, EVENT_MODULE, &other), GC_ERR_SUCCESS) << Error();
    Start();
    lower->DeliverWhenReady(NumberedFrame(0));
    Take(event);
    PullOut();
    EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.EventKill(event), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.EventFlush(event), GC_ERR_SUCCESS) << Error();
    for (auto *const buffer : buffers)
    {
        EXPECT_EQ(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS) << Error();
    }
    EXPECT_EQ(gentl.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.GCUnregisterEvent(stream, EVENT_MODULE), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.GCUnregisterEvent(device, EVENT_MODULE), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS) << Error();
    PlugIn();
    Open();
    EXPECT_EQ(BytesOf(PassFrame()), NumberedFrame(0).bytes);
}

TEST_P(GoneDevice, CanBeClosedWhileItsStreamRuns)
{
    AnnounceQueued();
    RegisterEvent();
    Start();
    PullOut();
    EXPECT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS) << Error();
}

INSTANTIATE_TEST_SUITE_P(Failures, GoneDevice,
                         testing::Values(GC_ERR_IO, GC_ERR_TIMEOUT, GC_ERR_INVALID_HANDLE, GC_ERR_ERROR));

} // namespace
} // namespace GenTL::internal
