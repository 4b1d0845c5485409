#include "stream_fixture.h"

#include <stdexcept>

namespace GenTL::internal
{
namespace
{

using enum BufferState;
using Calls = std::vector<std::string>;

class StreamConstruction : public DatastreamFixture
{
};

TEST_F(StreamConstruction, GivesTheWorkerItsCallbacks)
{
    EXPECT_EQ(calls->All(), (Calls{"SetBufferCallbacks", "SetFinishedCallback", "GetDroppedFrameCount"}));
    EXPECT_TRUE(worker->source);
    EXPECT_TRUE(worker->sink);
    EXPECT_TRUE(worker->finished);
    EXPECT_EQ(stream->GetParentHandle(), LowerHandle(0x77));
}

class StreamStart : public DatastreamFixture
{
};

TEST_F(StreamStart, StartsTheWorker)
{
    AnnounceMany(2);
    calls->Clear();
    Start(7);
    EXPECT_EQ(calls->All(), Calls{"Start 7"});
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(StreamStart, ChecksInOrder)
{
    const auto start = [&](ACQ_START_FLAGS flags, uint64_t count)
    { return FailureOf([&] { stream->DSStartAcquisition(flags, count); }); };
    const Failure badFlag{"Start flag not implemented!", GC_ERR_NOT_IMPLEMENTED};
    const Failure noFrames{"iNumToAcquire must not be 0", GC_ERR_INVALID_PARAMETER};
    const Failure fewBuffers{"Not enough buffers announced!", GC_ERR_INVALID_BUFFER};
    EXPECT_EQ(start(1, 0), badFlag);
    EXPECT_EQ(start(0, 0), noFrames);
    EXPECT_EQ(start(0, 1), fewBuffers);
    Announce();
    EXPECT_EQ(start(0, 1), fewBuffers);
    Announce();
    EXPECT_EQ(start(0, 1), Failure{});
    EXPECT_EQ(start(0, 1), (Failure{"Acquisition is already running!", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(start(1, 1), badFlag);
    EXPECT_EQ(calls->CountOf("Start 1"), 1);
}

TEST_F(StreamStart, LosesFramesUntilBuffersAreQueued)
{
    const auto handles = AnnounceMany(2);
    Start();
    EXPECT_EQ(PassFrame(), nullptr);
    EXPECT_EQ(PassFrame(), nullptr);
    EXPECT_EQ(Feature("StreamLostFrameCount"), 2U);
    EXPECT_EQ(NumStarted(), 0U);
    stream->QueueBuffer(handles[1]);
    EXPECT_EQ(PassFrame(), handles[1]);
    EXPECT_EQ(NumStarted(), 1U);
    EXPECT_EQ(NumLost(), 2U);
}

TEST_F(StreamStart, LosesNoFrameThatComesAtOnce)
{
    const auto handles = QueueMany(2);
    BUFFER_HANDLE passed = nullptr;
    worker->onStart = [&] { passed = PassFrame(); };
    Start();
    EXPECT_EQ(passed, handles[0]);
}

TEST_F(StreamStart, PassesAFailureAndIsStoppedThen)
{
    QueueMany(2);
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    Fetch(event);
    stream->DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT);
    stream->DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT);

    worker->onStart = [] { throw GenTLException("cable", GC_ERR_IO); };
    EXPECT_EQ(FailureOf([&] { Start(); }), (Failure{"cable", GC_ERR_IO}));
    EXPECT_FALSE(IsGrabbing());
    // The counters still belong to the last acquisition.
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 1U);
    EXPECT_EQ(FailureOf([&] { worker->source(); }), PlainFailure("The acquisition is not started!"));

    worker->onStart = {};
    Start();
    EXPECT_TRUE(IsGrabbing());
}

TEST_F(StreamStart, ResetsTheDeliveredAndIncompleteCounts)
{
    QueueMany(4);
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    PassFrame();
    Fetch(event);
    worker->sink(worker->source());
    PassFrame();
    PassFrame();
    EXPECT_EQ(Feature("StreamDeliveredFrameCount"), 1U);
    EXPECT_EQ(Feature("StreamIncompleteFrameCount"), 1U);
    stream->DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
    EXPECT_EQ(Feature("StreamDeliveredFrameCount"), 1U);

    Start();
    EXPECT_EQ(Feature("StreamDeliveredFrameCount"), 0U);
    EXPECT_EQ(Feature("StreamIncompleteFrameCount"), 0U);
    EXPECT_EQ(Feature("StreamStartedFrameCount"), 4U);
    EXPECT_EQ(Feature("StreamLostFrameCount"), 1U);
    PassFrame();
    EXPECT_EQ(Feature("StreamLostFrameCount"), 2U);
    EXPECT_EQ(AskFor<uint64_t>([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                               { EventOf(event)->Info(EVENT_NUM_FIRED, type, buffer, size); }),
              4U);
}

class StreamStop : public DatastreamFixture
{
protected:
    Failure Stop(ACQ_STOP_FLAGS flags)
    {
        return FailureOf([&] { stream->DSStopAcquisition(flags); });
    }

    static inline const Failure notRunning{"Acquisition is not running!", GC_ERR_RESOURCE_IN_USE};
};

TEST_F(StreamStop, ChecksInOrder)
{
    EXPECT_EQ(Stop(2), (Failure{"Stop flag not implemented!", GC_ERR_NOT_IMPLEMENTED}));
    EXPECT_EQ(Stop(-1), (Failure{"Stop flag not implemented!", GC_ERR_NOT_IMPLEMENTED}));
    EXPECT_EQ(Stop(0), notRunning);
    EXPECT_EQ(Stop(1), notRunning);
    EXPECT_EQ(calls->CountOf("Stop"), 0);
}

TEST_F(StreamStop, GivesABufferInFillingBackToTheInput)
{
    const auto handles = QueueMany(2);
    auto *const event = RegisterEvent();
    Start();
    worker->source();
    EXPECT_EQ(Stop(ACQ_STOP_FLAGS_DEFAULT), Failure{});
    EXPECT_FALSE(IsGrabbing());
    EXPECT_EQ(calls->CountOf("Stop"), 1);
    EXPECT_EQ(StateOf(handles[0]), Input);
    EXPECT_EQ(StateOf(handles[1]), Input);
    EXPECT_EQ(FailureOf([&] { Fetch(event); }).code, GC_ERR_TIMEOUT);
}

TEST_F(StreamStop, PushesABufferInFillingWhenItKills)
{
    const auto handles = QueueMany(2);
    auto *const event = RegisterEvent();
    Start();
    const auto buffer = worker->source();
    EXPECT_EQ(Stop(ACQ_STOP_FLAGS_KILL), Failure{});
    EXPECT_EQ(buffer->GetState(), Output);
    EXPECT_EQ(StateOf(handles[1]), Input);
    EXPECT_FALSE(buffer->IsComplete());
    const auto info = [&](BUFFER_INFO_CMD command)
    {
        return AskFor<uint64_t>([&](INFO_DATATYPE *type, void *value, size_t *size)
                                { buffer->DSGetBufferInfo(command, type, value, size); });
    };
    EXPECT_EQ(info(BUFFER_INFO_NEW_DATA), 1U);
    EXPECT_EQ(info(BUFFER_INFO_SIZE_FILLED), 0U);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 1U);
    EXPECT_EQ(Fetch(event).BufferHandle, handles[0]);
}

TEST_F(StreamStop, PassesAFailureAndStaysRunning)
{
    QueueMany(2);
    Start();
    const auto buffer = worker->source();
    worker->onStop = [] { throw GenTLException("cable", GC_ERR_IO); };
    EXPECT_EQ(Stop(0), (Failure{"cable", GC_ERR_IO}));
    EXPECT_TRUE(IsGrabbing());
    EXPECT_EQ(buffer->GetState(), Filling);
    worker->onStop = {};
    EXPECT_EQ(Stop(0), Failure{});
}

TEST_F(StreamStop, FailsAfterTheWorkerEndedByItself)
{
    AnnounceMany(2);
    Start(1);
    worker->finished();
    EXPECT_FALSE(IsGrabbing());
    EXPECT_EQ(Stop(0), notRunning);
    EXPECT_EQ(calls->CountOf("Stop"), 0);
    EXPECT_NO_THROW(Start(1));
}

TEST_F(StreamStop, DoesNotWakeAConsumer)
{
    AnnounceMany(2);
    auto *const event = RegisterEvent();
    Start();
    EXPECT_EQ(Stop(0), Failure{});
    EXPECT_EQ(FailureOf([&] { Fetch(event, 1); }), (Failure{"Time 1us exceeded", GC_ERR_TIMEOUT}));
}

class StreamEvent : public DatastreamFixture
{
};

TEST_F(StreamEvent, IsRegisteredOnce)
{
    EVENT_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(EVENT_FEATURE_CHANGE, nullptr); }),
              (Failure{"phEvent must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(EVENT_FEATURE_CHANGE, &handle); }),
              (Failure{"Event type 3 not implemented", GC_ERR_NOT_IMPLEMENTED}));
    stream->RegisterEvent(EVENT_NEW_BUFFER, &handle);
    EXPECT_TRUE(EventOf(handle));
    EVENT_HANDLE second = nullptr;
    EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(EVENT_NEW_BUFFER, &second); }),
              (Failure{"Event is already registered", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(0, &second); }).text, "Event type 0 not implemented");
    EXPECT_EQ(second, nullptr);
}

TEST_F(StreamEvent, CanBeUnregisteredAlsoWhenThereIsNone)
{
    EXPECT_NO_THROW(stream->UnregisterEvent(EVENT_NEW_BUFFER));
    EXPECT_EQ(FailureOf([&] { stream->UnregisterEvent(EVENT_MODULE); }),
              (Failure{"Event type 5 not implemented", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(StreamEvent, CanStillBeReadAfterItWasUnregistered)
{
    const auto handles = QueueMany(3);
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    EXPECT_EQ(NumDelivered(), 0U);
    // A buffer that is pushed from now on is in no queue until a flush moves it.
    PassFrame();
    EXPECT_EQ(StateOf(handles[1]), Output);
    EXPECT_EQ(Fetch(event).BufferHandle, handles[0]);
    EXPECT_EQ(FailureOf([&] { Fetch(event); }).code, GC_ERR_TIMEOUT);
    stream->DSFlushQueue(ACQ_QUEUE_OUTPUT_DISCARD);
    EXPECT_EQ(StateOf(handles[1]), Announced);

    auto *const second = RegisterEvent();
    EXPECT_NE(second, event);
    PassFrame();
    EXPECT_EQ(Fetch(second).BufferHandle, handles[2]);
}

class StreamEnd : public DatastreamFixture
{
protected:
    void ExpectRemoved(const std::vector<BUFFER_HANDLE> &handles, EVENT_HANDLE event)
    {
        for (auto *const handle : handles)
        {
            EXPECT_FALSE(library.instances.buffers.Contains(handle));
        }
        EXPECT_FALSE(library.instances.events.Contains(event));
    }
};

TEST_F(StreamEnd, RevokesItsBuffersAndItsEvent)
{
    const auto handles = AnnounceMany(3);
    auto *const event = RegisterEvent();
    stream.reset();
    ExpectRemoved(handles, event);
    EXPECT_EQ(calls->CountOf("Kill"), 0);
    EXPECT_EQ(calls->CountOf("Close"), 1);
}

TEST_F(StreamEnd, DoesNotWakeAConsumer)
{
    const auto event = EventOf(RegisterEvent());
    stream.reset();
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { event->Data(nullptr, &size, 0); }).code, GC_ERR_TIMEOUT);
}

TEST_F(StreamEnd, KillsARunningAcquisition)
{
    const auto handles = AnnounceMany(2);
    Start();
    calls->Clear();
    stream.reset();
    EXPECT_EQ(calls->All(), (Calls{"Kill", "Close"}));
    // The stream is stopped by then, so the minimum number of buffers does not apply.
    EXPECT_FALSE(library.instances.buffers.Contains(handles[0]));
    EXPECT_FALSE(library.instances.buffers.Contains(handles[1]));
}

TEST_F(StreamEnd, LeavesAQueuedBufferAndAllAfterItInTheRegistries)
{
    const auto handles = AnnounceMany(3);
    auto *const event = RegisterEvent();
    stream->QueueBuffer(handles[1]);
    stream.reset();
    EXPECT_FALSE(library.instances.buffers.Contains(handles[0]));
    EXPECT_TRUE(library.instances.buffers.Contains(handles[1]));
    EXPECT_TRUE(library.instances.buffers.Contains(handles[2]));
    EXPECT_TRUE(library.instances.events.Contains(event));
    EXPECT_EQ(calls->CountOf("Close"), 1);
}

TEST_F(StreamEnd, LeavesNothingAfterADiscard)
{
    const auto handles = QueueMany(3);
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    worker->source();
    stream->DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
    stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
    stream.reset();
    ExpectRemoved(handles, event);
}

TEST_F(StreamEnd, LeavesEverythingWhenTheKillFails)
{
    const auto handles = AnnounceMany(2);
    auto *const event = RegisterEvent();
    Start();
    worker->onKill = [] { throw std::runtime_error("cable"); };
    const LogCapture log;
    EXPECT_NO_THROW(stream.reset());
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_TRUE(library.instances.buffers.Contains(handles[0]));
    EXPECT_TRUE(library.instances.events.Contains(event));
    EXPECT_EQ(calls->CountOf("Close"), 1);
}

class StreamEndDeathTest : public StreamEnd
{
protected:
    StreamEndDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(StreamEndDeathTest, ForeignExceptionEndsTheProcess)
{
    EXPECT_DEATH(
        {
            AnnounceMany(2);
            Start();
            worker->onKill = [] { throw 5; };
            stream.reset();
        },
        "terminate");
}

} // namespace
} // namespace GenTL::internal
