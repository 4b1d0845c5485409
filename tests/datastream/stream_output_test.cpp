// Filled buffers that wait in the stream: what each call makes of a buffer in each state.

#include "datastream/stream_output.h"

#include "stream_fixture.h"

#include <future>
#include <ostream>
#include <thread>

namespace GenTL::internal
{
namespace
{

using enum BufferState;
using Handles = std::vector<BUFFER_HANDLE>;

const Failure nothingWaits{"Time 0us exceeded", GC_ERR_TIMEOUT};

/// A running stream whose output queue is its own.
class OwnQueue : public DatastreamFixture
{
protected:
    OwnQueue()
    {
        StreamSetup setup;
        setup.output = std::make_unique<StreamOutput>(library);
        setup.rules.minimumBuffers = 1;
        setup.rules.keepsMinimum = false;
        setup.rules.stopAlwaysSucceeds = true;
        auto fake = std::make_unique<FakeWorker>(calls);
        worker = fake.get();
        stream = std::make_unique<Datastream>(library, std::move(fake), LowerHandle(0x77), std::move(setup));
    }

    // A buffer that is being filled would let the flush of the fixture wait.
    void TearDown() override
    {
        for (const auto &buffer : filling)
        {
            worker->sink(buffer);
        }
        StreamFixture::TearDown();
    }

    /// Lets the worker begin to fill the next buffer.
    BUFFER_HANDLE BeginFill()
    {
        filling.push_back(worker->source());
        return filling.back().get();
    }

    void EndFill()
    {
        const auto buffer = filling.back();
        filling.pop_back();
        buffer->SetResult(true, 8, true);
        worker->sink(buffer);
    }

    Handles FetchAll(EVENT_HANDLE event)
    {
        Handles fetched;
        while (NumInQueue(event) != 0)
        {
            fetched.push_back(Fetch(event).BufferHandle);
        }
        return fetched;
    }

    template <typename T>
    T EventInfo(EVENT_HANDLE event, EVENT_INFO_CMD command)
    {
        return AskFor<T>([&](INFO_DATATYPE *type, void *value, size_t *size)
                         { EventOf(event)->Info(command, type, value, size); });
    }
    size_t NumInQueue(EVENT_HANDLE event) { return EventInfo<size_t>(event, EVENT_NUM_IN_QUEUE); }

    bool IsNewData(BUFFER_HANDLE handle)
    {
        return AskFor<bool8_t>(
                   [&](INFO_DATATYPE *type, void *value, size_t *size)
                   { BufferOf(handle)->DSGetBufferInfo(BUFFER_INFO_NEW_DATA, type, value, size); }) != 0;
    }

    std::vector<std::shared_ptr<Buffer>> filling;
};

/// What a call makes of a buffer in a state, and whether the buffer then waits for the consumer.
struct Step
{
    std::string name;
    BufferState before;
    std::function<void(Datastream &, EventHandler &, BUFFER_HANDLE)> call;
    std::optional<BufferState> after; ///< none when the buffer is revoked
    bool waits;
    GC_ERROR code = GC_ERR_SUCCESS;

    friend std::ostream &operator<<(std::ostream &stream, const Step &step) { return stream << step.name; }
};

class OwnQueueStep : public OwnQueue, public testing::WithParamInterface<Step>
{
protected:
    void Reach(BufferState state)
    {
        handle = Announce();
        Start();
        event = RegisterEvent();
        if (state != Announced)
        {
            stream->QueueBuffer(handle);
        }
        if (state == Filling || state == Output)
        {
            BeginFill();
        }
        if (state == Output)
        {
            EndFill();
        }
        ASSERT_EQ(StateOf(handle), state);
    }

    BUFFER_HANDLE handle = nullptr;
    EVENT_HANDLE event = nullptr;
};

TEST_P(OwnQueueStep, LeadsToItsState)
{
    const auto &step = GetParam();
    Reach(step.before);
    EXPECT_EQ(FailureOf([&] { step.call(*stream, *EventOf(event), handle); }).code, step.code);
    const auto buffer = BufferOf(handle);
    EXPECT_EQ(buffer ? std::optional(buffer->GetState()) : std::nullopt, step.after);
    EXPECT_EQ(NumInQueue(event), step.waits ? 1U : 0U);
    EXPECT_EQ(NumAwaiting(), step.waits ? 1U : 0U);
}

auto Flush(ACQ_QUEUE_TYPE operation)
{
    return [operation](Datastream &stream, EventHandler &, BUFFER_HANDLE) { stream.DSFlushQueue(operation); };
}

void FlushEvent(Datastream &, EventHandler &event, BUFFER_HANDLE)
{
    event.Flush();
}

void Revoke(Datastream &stream, EventHandler &, BUFFER_HANDLE handle)
{
    stream.DSRevokeBuffer(handle, nullptr, nullptr);
}

void QueueIt(Datastream &stream, EventHandler &, BUFFER_HANDLE handle)
{
    stream.QueueBuffer(handle);
}

void TakeIt(Datastream &, EventHandler &event, BUFFER_HANDLE)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    event.Data(&data, &size, 0);
}

INSTANTIATE_TEST_SUITE_P(
    States, OwnQueueStep,
    testing::Values(
        Step{"InputToOutputAnnounced", Announced, Flush(ACQ_QUEUE_INPUT_TO_OUTPUT), Announced, false},
        Step{"InputToOutputInput", Input, Flush(ACQ_QUEUE_INPUT_TO_OUTPUT), Output, true},
        Step{"InputToOutputFilling", Filling, Flush(ACQ_QUEUE_INPUT_TO_OUTPUT), Filling, false},
        Step{"InputToOutputOutput", Output, Flush(ACQ_QUEUE_INPUT_TO_OUTPUT), Output, true},
        Step{"OutputDiscardAnnounced", Announced, Flush(ACQ_QUEUE_OUTPUT_DISCARD), Announced, false},
        Step{"OutputDiscardInput", Input, Flush(ACQ_QUEUE_OUTPUT_DISCARD), Input, false},
        Step{"OutputDiscardFilling", Filling, Flush(ACQ_QUEUE_OUTPUT_DISCARD), Filling, false},
        Step{"OutputDiscardOutput", Output, Flush(ACQ_QUEUE_OUTPUT_DISCARD), Announced, false},
        Step{"AllToInputAnnounced", Announced, Flush(ACQ_QUEUE_ALL_TO_INPUT), Input, false},
        Step{"AllToInputInput", Input, Flush(ACQ_QUEUE_ALL_TO_INPUT), Input, false},
        Step{"AllToInputFilling", Filling, Flush(ACQ_QUEUE_ALL_TO_INPUT), Filling, false},
        Step{"AllToInputOutput", Output, Flush(ACQ_QUEUE_ALL_TO_INPUT), Input, false},
        Step{"UnqueuedToInputAnnounced", Announced, Flush(ACQ_QUEUE_UNQUEUED_TO_INPUT), Input, false},
        Step{"UnqueuedToInputInput", Input, Flush(ACQ_QUEUE_UNQUEUED_TO_INPUT), Input, false},
        Step{"UnqueuedToInputFilling", Filling, Flush(ACQ_QUEUE_UNQUEUED_TO_INPUT), Filling, false},
        Step{"UnqueuedToInputOutput", Output, Flush(ACQ_QUEUE_UNQUEUED_TO_INPUT), Output, true},
        Step{"AllDiscardAnnounced", Announced, Flush(ACQ_QUEUE_ALL_DISCARD), Announced, false},
        Step{"AllDiscardInput", Input, Flush(ACQ_QUEUE_ALL_DISCARD), Announced, false},
        Step{"AllDiscardOutput", Output, Flush(ACQ_QUEUE_ALL_DISCARD), Announced, false},
        Step{"NoSuchFlush", Output, Flush(1000), Output, true, GC_ERR_NOT_IMPLEMENTED},
        Step{"EventFlushAnnounced", Announced, FlushEvent, Announced, false},
        Step{"EventFlushInput", Input, FlushEvent, Input, false},
        Step{"EventFlushFilling", Filling, FlushEvent, Filling, false},
        Step{"EventFlushOutput", Output, FlushEvent, Announced, false},
        Step{"RevokeAnnounced", Announced, Revoke, {}, false},
        Step{"RevokeInput", Input, Revoke, Input, false, GC_ERR_BUSY},
        Step{"RevokeFilling", Filling, Revoke, Filling, false, GC_ERR_BUSY},
        Step{"RevokeOutput", Output, Revoke, Output, true, GC_ERR_BUSY},
        Step{"QueueAnnounced", Announced, QueueIt, Input, false},
        Step{"QueueInput", Input, QueueIt, Input, false, GC_ERR_RESOURCE_IN_USE},
        Step{"QueueFilling", Filling, QueueIt, Filling, false, GC_ERR_RESOURCE_IN_USE},
        Step{"QueueOutput", Output, QueueIt, Output, true, GC_ERR_RESOURCE_IN_USE},
        Step{"TakeInput", Input, TakeIt, Input, false, GC_ERR_TIMEOUT},
        Step{"TakeOutput", Output, TakeIt, Announced, false}),
    [](const auto &row) { return row.param.name; });

TEST_F(OwnQueue, KeepsFramesForAnEventThatComesLate)
{
    const auto handles = QueueMany(3);
    Start();
    PassFrame();
    PassFrame();
    auto *const event = RegisterEvent();
    EXPECT_EQ(NumInQueue(event), 2U);
    PassFrame();
    EXPECT_EQ(FetchAll(event), handles);
    EXPECT_EQ(NumDelivered(), 3U);
}

TEST_F(OwnQueue, KeepsFramesForTheNextEvent)
{
    const auto handles = QueueMany(3);
    Start();
    auto *const first = RegisterEvent();
    PassFrame();
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    PassFrame();
    EXPECT_EQ(NumInQueue(first), 0U);
    EXPECT_EQ(FailureOf([&] { Fetch(first); }), nothingWaits);
    auto *const second = RegisterEvent();
    EXPECT_NE(first, second);
    PassFrame();
    EXPECT_EQ(FetchAll(second), handles);
}

TEST_F(OwnQueue, CountsWhatAnEventFiredFromItsRegistration)
{
    QueueMany(3);
    Start();
    PassFrame();
    Fetch(RegisterEvent());
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    PassFrame();
    auto *const event = RegisterEvent();
    EXPECT_EQ(EventInfo<uint64_t>(event, EVENT_NUM_FIRED), 1U);
    PassFrame();
    EXPECT_EQ(EventInfo<uint64_t>(event, EVENT_NUM_FIRED), 2U);
}

TEST_F(OwnQueue, LetsAKillEndOneWaitOfItsOwnEventOnly)
{
    QueueMany(1);
    auto *const first = RegisterEvent();
    EventOf(first)->Kill();
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    auto *const second = RegisterEvent();
    EXPECT_EQ(FailureOf([&] { Fetch(second); }), nothingWaits);
    EXPECT_EQ(FailureOf([&] { Fetch(first); }), (Failure{"Wait aborted via kill.", GC_ERR_ABORT}));
    EXPECT_EQ(FailureOf([&] { Fetch(first); }), nothingWaits);
}

TEST_F(OwnQueue, RegistersOneEventAtATime)
{
    RegisterEvent();
    EXPECT_EQ(FailureOf([&] { RegisterEvent(); }),
              (Failure{"Event is already registered", GC_ERR_RESOURCE_IN_USE}));
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    EXPECT_NO_THROW(RegisterEvent());
}

TEST_F(OwnQueue, PushesUnfilledBuffersWithoutNewData)
{
    const auto handles = QueueMany(1);
    auto *const event = RegisterEvent();
    stream->DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT);
    EXPECT_EQ(FetchAll(event), handles);
    EXPECT_FALSE(IsNewData(handles[0]));
    EXPECT_FALSE(BufferOf(handles[0])->IsComplete());
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 1U);
}

TEST_F(OwnQueue, WaitsForAFillBeforeItTakesTheBufferAway)
{
    const auto handles = QueueMany(3);
    Start();
    auto *const event = RegisterEvent();
    PassFrame();
    BeginFill();
    auto flush = std::async(std::launch::async, [&] { stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD); });
    while (StateOf(handles[0]) != Announced || StateOf(handles[2]) != Announced)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(StateOf(handles[1]), Filling);
    EXPECT_EQ(FailureOf([&] { stream->DSRevokeBuffer(handles[1], nullptr, nullptr); }).code, GC_ERR_BUSY);
    EndFill();
    flush.get();
    EXPECT_EQ(StateOf(handles[1]), Announced);
    EXPECT_EQ(NumInQueue(event), 0U);
    for (auto *const handle : handles)
    {
        EXPECT_NO_THROW(stream->DSRevokeBuffer(handle, nullptr, nullptr));
    }
    // The acquisition goes on, and loses frames until a buffer is queued.
    EXPECT_TRUE(IsGrabbing());
    EXPECT_EQ(PassFrame(), nullptr);
    auto *const next = Announce();
    stream->QueueBuffer(next);
    EXPECT_EQ(PassFrame(), next);
    EXPECT_EQ(FetchAll(event), Handles{next});
}

TEST_F(OwnQueue, GoesOnWithABufferAfterAFlushThatWaitedForIt)
{
    const auto handles = QueueMany(1);
    Start();
    auto *const event = RegisterEvent();
    for (int round = 0; round < 3; ++round)
    {
        BeginFill();
        auto flush = std::async(std::launch::async, [&] { stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD); });
        // The flush may begin after the fill has ended; it discards the buffer either way.
        EndFill();
        flush.get();
        EXPECT_EQ(StateOf(handles[0]), Announced);
        stream->QueueBuffer(handles[0]);
        EXPECT_EQ(PassFrame(), handles[0]);
        EXPECT_EQ(FetchAll(event), handles);
        stream->QueueBuffer(handles[0]);
    }
}

TEST_F(OwnQueue, AcceptsWhateverItGaveOut)
{
    const auto handles = QueueMany(1);
    Start();
    BeginFill();
    BufferOf(handles[0])->SetState(Announced);
    EXPECT_NO_THROW(EndFill());
    EXPECT_EQ(StateOf(handles[0]), Output);
}

TEST_F(OwnQueue, GivesUpAllBuffersAndTheEventAtTheEnd)
{
    const auto handles = QueueMany(2);
    Start();
    auto *const event = RegisterEvent();
    PassFrame();
    stream.reset();
    for (auto *const handle : handles)
    {
        EXPECT_EQ(BufferOf(handle), nullptr);
    }
    EXPECT_EQ(EventOf(event), nullptr);
}

using OneBuffer = OwnQueue;

TEST_F(OneBuffer, IsEnoughToStart)
{
    EXPECT_EQ(Info<size_t>(STREAM_INFO_BUF_ANNOUNCE_MIN), 1U);
    EXPECT_EQ(FailureOf([&] { Start(); }), (Failure{"Not enough buffers announced!", GC_ERR_INVALID_BUFFER}));
    const auto handles = QueueMany(1);
    Start();
    auto *const event = RegisterEvent();
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(PassFrame(), handles[0]);
        EXPECT_EQ(PassFrame(), nullptr);
        EXPECT_EQ(Fetch(event).BufferHandle, handles[0]);
        stream->QueueBuffer(handles[0]);
    }
    EXPECT_EQ(NumLost(), 3U);
}

TEST_F(OneBuffer, CanBeRevokedWhileTheAcquisitionRuns)
{
    auto *const handle = Announce();
    Start();
    EXPECT_NO_THROW(stream->DSRevokeBuffer(handle, nullptr, nullptr));
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 0U);
}

class StopThatSucceeds : public OwnQueue
{
protected:
    void Stop(ACQ_STOP_FLAGS flags = ACQ_STOP_FLAGS_DEFAULT) { stream->DSStopAcquisition(flags); }
};

TEST_F(StopThatSucceeds, StopsTheWorkerOnce)
{
    QueueMany(1);
    EXPECT_NO_THROW(Stop());
    Start();
    Stop();
    EXPECT_NO_THROW(Stop(ACQ_STOP_FLAGS_KILL));
    EXPECT_EQ(calls->CountOf("Stop"), 1);
    EXPECT_FALSE(IsGrabbing());
    EXPECT_EQ(FailureOf([&] { Stop(1000); }).code, GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(StopThatSucceeds, ComesAfterTheLastFrame)
{
    QueueMany(1);
    Start(1);
    PassFrame();
    worker->finished();
    EXPECT_NO_THROW(Stop());
    EXPECT_EQ(calls->CountOf("Stop"), 0);
    EXPECT_NO_THROW(Start(1));
}

TEST_F(StopThatSucceeds, WaitsForAnotherOne)
{
    QueueMany(1);
    Start();
    std::promise<void> released;
    worker->onStop = [&] { released.get_future().wait(); };
    auto first = std::async(std::launch::async, [&] { Stop(); });
    ASSERT_TRUE(calls->WaitFor("Stop"));
    auto second = std::async(std::launch::async, [&] { Stop(); });
    EXPECT_TRUE(IsGrabbing());
    released.set_value();
    first.get();
    second.get();
    EXPECT_FALSE(IsGrabbing());
    EXPECT_EQ(calls->CountOf("Stop"), 1);
}

/// A stream whose lower stream has events and a number of chunks.
class StreamThatPassesOn : public DatastreamFixture
{
protected:
    class LowerEvents : public IEventSource
    {
    public:
        void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE *handle) override
        {
            registered.push_back(type);
            if (failure != GC_ERR_SUCCESS)
            {
                throw GenTLException("lower failed", failure);
            }
            *handle = LowerHandle(0x60);
        }
        void UnregisterEvent(EVENT_TYPE type) override { unregistered.push_back(type); }

        GC_ERROR failure = GC_ERR_SUCCESS;
        std::vector<EVENT_TYPE> registered;
        std::vector<EVENT_TYPE> unregistered;
    };

    StreamThatPassesOn()
    {
        StreamSetup setup;
        setup.lower = {.events = &events, .maxChunks = [this] { return maxChunks; }};
        stream = std::make_unique<Datastream>(library, std::make_unique<FakeWorker>(calls), nullptr,
                                              std::move(setup));
    }

    LowerEvents events;
    std::optional<size_t> maxChunks;
};

TEST_F(StreamThatPassesOn, TellsTheLowerLimitOfChunks)
{
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_CHUNKS_MAX), 0U);
    maxChunks = 12;
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_CHUNKS_MAX), 12U);
}

TEST_F(StreamThatPassesOn, LeavesOtherEventsToTheLowerStream)
{
    EVENT_HANDLE event = nullptr;
    stream->RegisterEvent(EVENT_MODULE, &event);
    EXPECT_EQ(event, LowerHandle(0x60));
    stream->UnregisterEvent(EVENT_MODULE);
    RegisterEvent();
    stream->UnregisterEvent(EVENT_NEW_BUFFER);
    EXPECT_EQ(events.registered, std::vector<EVENT_TYPE>{EVENT_MODULE});
    EXPECT_EQ(events.unregistered, std::vector<EVENT_TYPE>{EVENT_MODULE});
}

TEST_F(StreamThatPassesOn, HasNoEventThatNobodyHas)
{
    EVENT_HANDLE event = nullptr;
    for (const GC_ERROR code : {GC_ERR_NOT_IMPLEMENTED, GC_ERR_INVALID_PARAMETER, GC_ERR_ERROR})
    {
        events.failure = code;
        EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(EVENT_MODULE, &event); }),
                  (Failure{"lower failed", GC_ERR_NOT_IMPLEMENTED}));
    }
    events.failure = GC_ERR_RESOURCE_IN_USE;
    EXPECT_EQ(FailureOf([&] { stream->RegisterEvent(EVENT_MODULE, &event); }).code, GC_ERR_RESOURCE_IN_USE);
}

} // namespace
} // namespace GenTL::internal
