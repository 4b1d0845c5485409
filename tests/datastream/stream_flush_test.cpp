#include "stream_fixture.h"

namespace GenTL::internal
{
namespace
{

using enum BufferState;
using States = std::vector<BufferState>;

class StreamFlush : public DatastreamFixture
{
protected:
    /// Five buffers: announced, queued, being filled, in the event's queue, and pushed without an event.
    void MakeOneOfEach()
    {
        handles = AnnounceMany(5);
        Start();
        BufferOf(handles[4])->SetState(Filling);
        stream->PushBuffer(BufferOf(handles[4]));
        event = RegisterEvent();
        BufferOf(handles[3])->SetState(Filling);
        stream->PushBuffer(BufferOf(handles[3]));
        BufferOf(handles[2])->SetState(Filling);
        stream->QueueBuffer(handles[1]);
        ASSERT_EQ(AllStates(), (States{Announced, Input, Filling, Output, Output}));
    }

    States AllStates()
    {
        States states;
        for (auto *const handle : handles)
        {
            states.push_back(StateOf(handle));
        }
        return states;
    }

    size_t NumInEventQueue()
    {
        return AskFor<size_t>([this](INFO_DATATYPE *type, void *buffer, size_t *size)
                              { EventOf(event)->Info(EVENT_NUM_IN_QUEUE, type, buffer, size); });
    }

    std::vector<BUFFER_HANDLE> handles;
    EVENT_HANDLE event = nullptr;
};

TEST_F(StreamFlush, InputToOutputPushesWhatIsQueued)
{
    MakeOneOfEach();
    const auto incompleteBefore = stream->GetIncompleteFrameCount();
    stream->DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT);
    EXPECT_EQ(AllStates(), (States{Announced, Output, Filling, Output, Output}));
    EXPECT_EQ(stream->GetIncompleteFrameCount(), incompleteBefore + 1);
    EXPECT_EQ(NumInEventQueue(), 2U);
    EXPECT_EQ(Fetch(event).BufferHandle, handles[3]);
    EXPECT_EQ(Fetch(event).BufferHandle, handles[1]);
    EXPECT_EQ(
        AskFor<bool8_t>([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                        { BufferOf(handles[1])->DSGetBufferInfo(BUFFER_INFO_NEW_DATA, type, buffer, size); }),
        0);
}

TEST_F(StreamFlush, InputToOutputWithoutAnEventDeliversToNobody)
{
    handles = QueueMany(2);
    stream->DSFlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT);
    EXPECT_EQ(AllStates(), (States{Output, Output}));
    event = RegisterEvent();
    EXPECT_EQ(NumInEventQueue(), 0U);
    EXPECT_EQ(NumAwaiting(), 2U);
    EXPECT_EQ(NumDelivered(), 0U);
}

TEST_F(StreamFlush, OutputDiscardGivesBackWhatWaits)
{
    MakeOneOfEach();
    stream->DSFlushQueue(ACQ_QUEUE_OUTPUT_DISCARD);
    EXPECT_EQ(AllStates(), (States{Announced, Input, Filling, Announced, Announced}));
    EXPECT_EQ(NumInEventQueue(), 0U);
}

TEST_F(StreamFlush, AllToInputTakesWhatWaitedInTheEventOnToAnnounced)
{
    MakeOneOfEach();
    stream->DSFlushQueue(ACQ_QUEUE_ALL_TO_INPUT);
    EXPECT_EQ(AllStates(), (States{Input, Input, Input, Announced, Input}));
    EXPECT_EQ(NumInEventQueue(), 0U);
}

TEST_F(StreamFlush, UnqueuedToInputLeavesTheEventAlone)
{
    MakeOneOfEach();
    stream->DSFlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT);
    EXPECT_EQ(AllStates(), (States{Input, Input, Filling, Output, Output}));
    EXPECT_EQ(NumInEventQueue(), 1U);
}

TEST_F(StreamFlush, AllDiscardGivesEverythingBack)
{
    MakeOneOfEach();
    stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
    EXPECT_EQ(AllStates(), (States{Announced, Announced, Announced, Announced, Announced}));
    EXPECT_EQ(NumInEventQueue(), 0U);
}

TEST_F(StreamFlush, WorksWithoutAnEvent)
{
    handles = AnnounceMany(2);
    for (const ACQ_QUEUE_TYPE operation :
         {ACQ_QUEUE_OUTPUT_DISCARD, ACQ_QUEUE_ALL_TO_INPUT, ACQ_QUEUE_ALL_DISCARD})
    {
        BufferOf(handles[0])->SetState(Output);
        EXPECT_NO_THROW(stream->DSFlushQueue(operation));
        EXPECT_EQ(StateOf(handles[0]), operation == ACQ_QUEUE_ALL_TO_INPUT ? Input : Announced);
    }
}

TEST_F(StreamFlush, RefusesOtherOperations)
{
    MakeOneOfEach();
    for (const ACQ_QUEUE_TYPE operation : {-1, 5, 1000})
    {
        EXPECT_EQ(FailureOf([&] { stream->DSFlushQueue(operation); }),
                  (Failure{fmt::format("Flush mode {} not implemented", operation), GC_ERR_NOT_IMPLEMENTED}));
    }
    EXPECT_EQ(AllStates(), (States{Announced, Input, Filling, Output, Output}));
    // The failure has released the lock.
    EXPECT_EQ(NumQueued(), 2U);
}

} // namespace
} // namespace GenTL::internal
