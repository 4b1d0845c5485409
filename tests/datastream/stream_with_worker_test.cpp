#include "datastream/acquisition_worker.h"
#include "stream_fixture.h"
#include "support/fake_processor.h"
#include "support/fake_proxy_stream.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace GenTL::internal
{
namespace
{

using Ids = std::vector<uint64_t>;

/// A stream with its real worker and thread, over a scripted lower stream.
class StreamWithWorker : public StreamFixture, protected ScriptedFrames
{
protected:
    static constexpr size_t frameSize = 64;
    static constexpr uint64_t longTime = 30000;
    static constexpr auto waitCall = "WaitForBuffer 10000";

    StreamWithWorker()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        for (size_t i = 0; i < 8; ++i)
        {
            script->buffers.AddImage(LowerBuffer(i), lowerMemory.data(), frameSize);
        }
        processor->onProcess = [](const InputData &input, std::span<uint8_t>)
        { return ProcessingResult{.bytesWritten = 8, .attributes = input.attributes}; };
        stream = std::make_unique<Datastream>(
            library,
            std::make_unique<AcquisitionWorker>(std::make_unique<FakeProxyStream>(script), processor),
            nullptr);
    }

    // Ends the thread before the objects of the test, which it uses.
    void TearDown() override
    {
        StreamFixture::TearDown();
        stream.reset();
    }

    /// Deliver frames whose counts matter after this, since the counters restart while the thread already
    /// runs.
    void Start(uint64_t numToAcquire) { stream->DSStartAcquisition(ACQ_START_FLAGS_DEFAULT, numToAcquire); }
    void Stop() { stream->DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT); }

    bool WaitForTheEnd()
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(longTime);
        while (IsGrabbing() && std::chrono::steady_clock::now() < deadline)
        {
            std::this_thread::yield();
        }
        return !IsGrabbing();
    }

    template <typename T>
    T BufferInfo(BUFFER_HANDLE handle, int32_t command)
    {
        return AskFor<T>([&](INFO_DATATYPE *type, void *value, size_t *size)
                         { BufferOf(handle)->DSGetBufferInfo(command, type, value, size); });
    }

    uint64_t FrameId(BUFFER_HANDLE handle) { return BufferOf(handle)->GetMetadata().frameId; }

    std::array<uint8_t, frameSize> lowerMemory{};
    void ReadStatisticsUntil(const std::atomic<bool> &isDone)
    {
        uint64_t last = 0;
        while (!isDone)
        {
            Info<size_t>(STREAM_INFO_NUM_QUEUED);
            Info<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY);
            Info<size_t>(STREAM_INFO_NUM_ANNOUNCED);
            Feature("StreamIsGrabbing");
            const auto now = Feature("StreamStartedFrameCount");
            EXPECT_GE(now, last);
            last = now;
        }
    }

    void AnnounceAndRevokeUntil(const std::atomic<bool> &isDone)
    {
        while (!isDone)
        {
            auto *const handle = Announce();
            stream->DSRevokeBuffer(handle, nullptr, nullptr);
        }
    }

    std::shared_ptr<FakeProcessor> processor = std::make_shared<FakeProcessor>(script->calls);
};

TEST_F(StreamWithWorker, DeliversTheFramesAskedForAndStopsByItself)
{
    QueueMany(4);
    auto *const event = RegisterEvent();
    Start(3);
    DeliverAll(4);
    Ids ids;
    for (int i = 0; i < 3; ++i)
    {
        ids.push_back(FrameId(Fetch(event, longTime).BufferHandle));
    }
    EXPECT_EQ(ids, (Ids{1, 2, 3}));
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(script->calls->CountOf("StopAcquisition"), 1);
    EXPECT_EQ(script->calls->CountOf("RevokeBuffers"), 1);
    EXPECT_EQ(NumDelivered(), 3U);
    EXPECT_EQ(NumStarted(), 3U);
    EXPECT_EQ(FailureOf([&] { Stop(); }), (Failure{"Acquisition is not running!", GC_ERR_RESOURCE_IN_USE}));
}

TEST_F(StreamWithWorker, CountsAnIncompleteFrameAgainstTheLimit)
{
    Frame(1).infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Bool(true);
    const auto handles = QueueMany(4);
    Start(3);
    DeliverAll(4);
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(FrameId(handles[0]), 1U);
    EXPECT_EQ(FrameId(handles[2]), 3U);
    EXPECT_EQ(BufferInfo<size_t>(handles[1], BUFFER_INFO_SIZE_FILLED), 0U);
    EXPECT_EQ(BufferInfo<bool8_t>(handles[1], BUFFER_INFO_IS_INCOMPLETE), 1);
    EXPECT_EQ(NumStarted(), 3U);
    EXPECT_EQ(Feature("StreamIncompleteFrameCount"), 1U);
}

TEST_F(StreamWithWorker, DoesNotCountLostFramesAgainstTheLimit)
{
    const auto handles = AnnounceMany(2);
    Start(2);
    DeliverAll(2);
    ASSERT_TRUE(script->calls->WaitFor(waitCall, 3));
    EXPECT_EQ(Feature("StreamLostFrameCount"), 2U);
    EXPECT_TRUE(IsGrabbing());
    stream->QueueBuffer(handles[0]);
    stream->QueueBuffer(handles[1]);
    Deliver(2);
    Deliver(3);
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(FrameId(handles[0]), 1U);
    EXPECT_EQ(FrameId(handles[1]), 2U);
}

TEST_F(StreamWithWorker, NeverEndsWithBuffersThatAreTooSmall)
{
    const auto handles = QueueMany(2, frameSize - 1);
    Start(1);
    DeliverAll(2);
    ASSERT_TRUE(script->calls->WaitFor(waitCall, 3));
    EXPECT_TRUE(IsGrabbing());
    for (auto *const handle : handles)
    {
        EXPECT_EQ(StateOf(handle), BufferState::Output);
        EXPECT_EQ(BufferInfo<bool8_t>(handle, BUFFER_INFO_NEW_DATA), 0);
        EXPECT_FALSE(BufferOf(handle)->IsComplete());
    }
    EXPECT_EQ(NumStarted(), 2U);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 2U);
    Stop();
}

TEST_F(StreamWithWorker, CountsAFailedFrameAsIncomplete)
{
    const LogCapture log;
    const auto handles = QueueMany(2);
    processor->onProcess = [](const InputData &, std::span<uint8_t>) -> ProcessingResult
    { throw std::runtime_error("no task"); };
    Start(1);
    Deliver(0);
    ASSERT_TRUE(script->calls->WaitFor(waitCall, 2));
    EXPECT_EQ(StateOf(handles[0]), BufferState::Output);
    EXPECT_EQ(BufferInfo<bool8_t>(handles[0], BUFFER_INFO_NEW_DATA), 0);
    EXPECT_EQ(NumStarted(), 1U);
    EXPECT_EQ(NumLost(), 0U);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 1U);
    Stop();
}

TEST_F(StreamWithWorker, CountsNothingForATimeout)
{
    const LogCapture log;
    QueueMany(2);
    script->DeliverFailure([] { LowerFailure(GC_ERR_TIMEOUT, "timeout"); });
    Start(1);
    ASSERT_TRUE(script->calls->WaitFor(waitCall, 2));
    EXPECT_EQ(NumStarted(), 0U);
    EXPECT_EQ(NumLost(), 0U);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 0U);
    EXPECT_EQ(NumQueued(), 2U);
    Stop();
}

TEST_F(StreamWithWorker, StartsRightAfterItEndedByItself)
{
    const auto handles = QueueMany(2);
    auto *const event = RegisterEvent();
    for (int round = 0; round < 20; ++round)
    {
        Deliver(0);
        Start(1);
        EXPECT_EQ(FrameId(Fetch(event, longTime).BufferHandle), 1U);
        ASSERT_TRUE(WaitForTheEnd());
        EXPECT_EQ(NumDelivered(), 1U);
        stream->QueueBuffer(handles[0]);
    }
    EXPECT_EQ(NumStarted(), 20U);
}

/// Holds the thread in its own stop of the lower stream, after its last frame.
class StreamThatEndsByItself : public StreamWithWorker
{
protected:
    void SetUp() override
    {
        script->on["StopAcquisition"] = [this]
        {
            if (script->calls->CountOf("StopAcquisition") == 1)
            {
                isReleased.wait();
            }
        };
        QueueMany(2);
        Deliver(0);
        Start(1);
        ASSERT_TRUE(script->calls->WaitFor("StopAcquisition"));
    }

    std::promise<void> released;
    std::shared_future<void> isReleased = released.get_future().share();
};

TEST_F(StreamThatEndsByItself, RefusesStopAndStartUntilItHasEnded)
{
    EXPECT_TRUE(IsGrabbing());
    EXPECT_EQ(FailureOf([&] { Stop(); }), (Failure{"Acquisition is already stopped!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { Start(1); }),
              (Failure{"Acquisition is already running!", GC_ERR_RESOURCE_IN_USE}));
    released.set_value();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(script->calls->CountOf("RevokeBuffers"), 1);
    EXPECT_NO_THROW(Start(1));
    Stop();
}

TEST_F(StreamThatEndsByItself, CanBeClosed)
{
    stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
    auto end = std::async(std::launch::async, [&] { stream.reset(); });
    ASSERT_TRUE(script->calls->WaitFor("RevokeBuffers"));
    released.set_value();
    end.get();
    EXPECT_EQ(script->calls->CountOf("StopAcquisition"), 2);
    EXPECT_EQ(script->calls->CountOf("AcquisitionStopped"), 1);
    EXPECT_EQ(script->calls->All().back(), "Close");
}

TEST_F(StreamWithWorker, EndsWhileFramesAreComing)
{
    QueueMany(4);
    RegisterEvent();
    DeliverAll(8);
    Start(GENTL_INFINITE);
    ASSERT_TRUE(script->calls->WaitFor(waitCall, 2));
    stream.reset();
    EXPECT_EQ(script->calls->CountOf("RevokeBuffers"), 1);
    EXPECT_EQ(script->calls->CountOf("AcquisitionStopped"), 1);
    EXPECT_EQ(script->calls->All().back(), "Close");
}

// Consumers fetch and requeue, announce and revoke, and read statistics while the thread fills. Meant for a
// run under a sanitizer.
TEST_F(StreamWithWorker, ServesSeveralConsumersAtOnce)
{
    constexpr int numFrames = 300;
    const auto handles = QueueMany(3);
    auto *const event = RegisterEvent();
    Start(GENTL_INFINITE);
    std::atomic<bool> isDone = false;
    auto statistics = std::async(std::launch::async, [&] { ReadStatisticsUntil(isDone); });
    auto announcer = std::async(std::launch::async, [&] { AnnounceAndRevokeUntil(isDone); });
    int numFetched = 0;
    Ids ids;
    for (; numFetched < numFrames; ++numFetched)
    {
        Deliver(0);
        auto *const handle = Fetch(event, longTime).BufferHandle;
        ids.push_back(BufferInfo<uint64_t>(handle, BUFFER_INFO_FRAMEID));
        stream->QueueBuffer(handle);
    }
    isDone = true;
    statistics.get();
    announcer.get();
    Stop();
    EXPECT_EQ(ids.front(), 1U);
    EXPECT_EQ(ids.back(), uint64_t{numFrames});
    EXPECT_EQ(NumDelivered(), uint64_t{numFrames});
    EXPECT_EQ(NumStarted(), uint64_t{numFrames});
    EXPECT_EQ(NumLost(), 0U);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), handles.size());
}

class StreamWithWorkerDeathTest : public StreamWithWorker
{
};

TEST_F(StreamWithWorkerDeathTest, RevokingAFillingBufferEndsIt)
{
    EXPECT_DEATH(
        {
            QueueMany(2);
            processor->onProcess = [&](const InputData &, std::span<uint8_t>)
            {
                stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
                return ProcessingResult{};
            };
            Deliver(0);
            Start(1);
            script->calls->WaitFor("never");
        },
        "Cannot push a buffer that is not in the input or filling state!");
}

} // namespace
} // namespace GenTL::internal
