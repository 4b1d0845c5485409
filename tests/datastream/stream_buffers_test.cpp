#include "stream_fixture.h"

namespace GenTL::internal
{
namespace
{

using Handles = std::vector<BUFFER_HANDLE>;

class StreamAnnounce : public DatastreamFixture
{
protected:
    std::array<uint8_t, 64> memory{};
};

TEST_F(StreamAnnounce, AllocatesMemoryOfZeros)
{
    auto *const handle = Announce(3, 32);
    const auto buffer = BufferOf(handle);
    ASSERT_TRUE(buffer);
    EXPECT_TRUE(buffer->OwnsMemory());
    EXPECT_EQ(buffer->GetSize(), 32U);
    EXPECT_EQ(buffer->GetUserPointer(), UserPointer(3));
    EXPECT_EQ(buffer->GetState(), BufferState::Announced);
    EXPECT_THAT(std::vector<uint8_t>(32, 0),
                testing::ElementsAreArray(static_cast<const uint8_t *>(buffer->GetBase()), 32));
}

TEST_F(StreamAnnounce, ChecksTheArgumentsOfAnAllocationInOrder)
{
    BUFFER_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { stream->DSAllocAndAnnounceBuffer(0, nullptr, nullptr); }),
              (Failure{"phBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { stream->DSAllocAndAnnounceBuffer(0, nullptr, &handle); }),
              (Failure{"iBufferSize must not be 0", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 0U);
}

TEST_F(StreamAnnounce, TakesMemoryOfTheConsumer)
{
    BUFFER_HANDLE handle = nullptr;
    stream->DSAnnounceBuffer(memory.data(), memory.size(), UserPointer(1), &handle);
    const auto buffer = BufferOf(handle);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->GetBase(), memory.data());
    EXPECT_EQ(buffer->GetSize(), memory.size());
    EXPECT_EQ(buffer->GetUserPointer(), UserPointer(1));
    EXPECT_FALSE(buffer->OwnsMemory());
    EXPECT_EQ(buffer->GetState(), BufferState::Announced);
}

TEST_F(StreamAnnounce, ChecksTheArgumentsInOrder)
{
    BUFFER_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { stream->DSAnnounceBuffer(nullptr, 0, nullptr, nullptr); }),
              (Failure{"phBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { stream->DSAnnounceBuffer(nullptr, 0, nullptr, &handle); }),
              (Failure{"pBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { stream->DSAnnounceBuffer(memory.data(), 0, nullptr, &handle); }),
              (Failure{"iBufferSize must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(StreamAnnounce, RefusesTheSamePointerTwice)
{
    BUFFER_HANDLE first = nullptr;
    BUFFER_HANDLE second = nullptr;
    stream->DSAnnounceBuffer(memory.data(), 64, nullptr, &first);
    EXPECT_EQ(FailureOf([&] { stream->DSAnnounceBuffer(memory.data(), 8, nullptr, &second); }),
              (Failure{"Buffer is already in use!", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 1U);
    // After a revoke it is free again.
    stream->DSRevokeBuffer(first, nullptr, nullptr);
    EXPECT_NO_THROW(stream->DSAnnounceBuffer(memory.data(), 8, nullptr, &second));
}

TEST_F(StreamAnnounce, RefusesMemoryThatTheStreamAllocated)
{
    BUFFER_HANDLE handle = nullptr;
    void *const base = BufferOf(Announce())->GetBase();
    EXPECT_EQ(FailureOf([&] { stream->DSAnnounceBuffer(base, 8, nullptr, &handle); }),
              (Failure{"Buffer is already in use!", GC_ERR_RESOURCE_IN_USE}));
}

TEST_F(StreamAnnounce, DoesNotNoticeAnOverlapOrAnotherStream)
{
    BUFFER_HANDLE handle = nullptr;
    stream->DSAnnounceBuffer(memory.data(), 64, nullptr, &handle);
    EXPECT_NO_THROW(stream->DSAnnounceBuffer(memory.data() + 1, 8, nullptr, &handle));

    Datastream other(library, std::make_unique<FakeWorker>(calls), nullptr);
    EXPECT_NO_THROW(other.DSAnnounceBuffer(memory.data(), 64, nullptr, &handle));
}

TEST_F(StreamAnnounce, WorksDuringAcquisition)
{
    AnnounceMany(2);
    Start();
    auto *const handle = Announce();
    EXPECT_EQ(StateOf(handle), BufferState::Announced);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 3U);
}

class StreamBufferId : public DatastreamFixture
{
};

TEST_F(StreamBufferId, FollowsTheOrderOfAnnouncement)
{
    const auto handles = AnnounceMany(3);
    stream->DSRevokeBuffer(handles[1], nullptr, nullptr);
    BUFFER_HANDLE handle = nullptr;
    stream->DSGetBufferID(0, &handle);
    EXPECT_EQ(handle, handles[0]);
    stream->DSGetBufferID(1, &handle);
    EXPECT_EQ(handle, handles[2]);
}

TEST_F(StreamBufferId, ChecksItsArgumentsInOrder)
{
    BUFFER_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { stream->DSGetBufferID(5, nullptr); }),
              (Failure{"phBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    AnnounceMany(2);
    EXPECT_EQ(FailureOf([&] { stream->DSGetBufferID(2, &handle); }),
              (Failure{"Supplied index 2 is out of range", GC_ERR_INVALID_INDEX}));
}

class StreamQueue : public DatastreamFixture
{
};

TEST_F(StreamQueue, TakesAnAnnouncedBuffer)
{
    auto *const handle = Announce();
    BufferOf(handle)->SetResult(true, 8, true);
    stream->QueueBuffer(handle);
    EXPECT_EQ(StateOf(handle), BufferState::Input);
    EXPECT_FALSE(BufferOf(handle)->IsComplete());
    EXPECT_EQ(NumQueued(), 1U);
}

TEST_F(StreamQueue, RefusesABufferInAnyOtherState)
{
    auto *const handle = Announce();
    for (const auto state : {BufferState::Input, BufferState::Filling, BufferState::Output})
    {
        BufferOf(handle)->SetState(state);
        EXPECT_EQ(FailureOf([&] { stream->QueueBuffer(handle); }),
                  (Failure{"Buffer has invalid state!", GC_ERR_RESOURCE_IN_USE}));
        EXPECT_EQ(StateOf(handle), state);
    }
}

TEST_F(StreamQueue, RefusesAnUnknownHandle)
{
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { stream->QueueBuffer(LowerHandle(0x123)); }),
              (Failure{"Buffer handle 0x123 invalid!", GC_ERR_INVALID_HANDLE}));
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"warning: Buffer handle 0x123 invalid!"});
}

TEST_F(StreamQueue, TakesABufferOfAnotherStream)
{
    Datastream other(library, std::make_unique<FakeWorker>(calls), nullptr);
    auto *const handle = Announce();
    EXPECT_NO_THROW(other.QueueBuffer(handle));
    EXPECT_EQ(StateOf(handle), BufferState::Input);
}

class StreamRevoke : public DatastreamFixture
{
protected:
    Failure FailureFor(BUFFER_HANDLE handle)
    {
        return FailureOf([&] { stream->DSRevokeBuffer(handle, nullptr, nullptr); });
    }
};

TEST_F(StreamRevoke, GivesBackMemoryOfTheConsumer)
{
    std::array<uint8_t, 64> memory{};
    BUFFER_HANDLE handle = nullptr;
    stream->DSAnnounceBuffer(memory.data(), memory.size(), UserPointer(1), &handle);
    void *base = nullptr;
    void *user = nullptr;
    stream->DSRevokeBuffer(handle, &base, &user);
    EXPECT_EQ(base, memory.data());
    EXPECT_EQ(user, UserPointer(1));
    EXPECT_EQ(BufferOf(handle), nullptr);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 0U);
}

TEST_F(StreamRevoke, GivesNoPointerForItsOwnMemory)
{
    auto *const handle = Announce(1);
    void *base = &base;
    void *user = nullptr;
    stream->DSRevokeBuffer(handle, &base, &user);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(user, UserPointer(1));
}

TEST_F(StreamRevoke, KnowsOnlyItsOwnBuffers)
{
    const Failure notFound{"Buffer not found", GC_ERR_INVALID_HANDLE};
    EXPECT_EQ(FailureFor(LowerHandle(0x123)), notFound);
    EXPECT_EQ(FailureFor(nullptr), notFound);
    auto *const handle = Announce();
    Datastream other(library, std::make_unique<FakeWorker>(calls), nullptr);
    EXPECT_EQ(FailureOf([&] { other.DSRevokeBuffer(handle, nullptr, nullptr); }), notFound);
    EXPECT_EQ(FailureFor(handle), Failure{});
    EXPECT_EQ(FailureFor(handle), notFound);
}

TEST_F(StreamRevoke, RefusesABufferThatIsQueued)
{
    auto *const handle = Announce();
    for (const auto state : {BufferState::Input, BufferState::Filling, BufferState::Output})
    {
        BufferOf(handle)->SetState(state);
        EXPECT_EQ(FailureFor(handle),
                  (Failure{"Buffer is currently queued and cannot be revoked.", GC_ERR_BUSY}));
    }
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 1U);
}

TEST_F(StreamRevoke, LeavesTheMinimumDuringAcquisition)
{
    const auto handles = AnnounceMany(3);
    Start();
    EXPECT_EQ(FailureFor(handles[0]), Failure{});
    EXPECT_EQ(
        FailureFor(handles[1]),
        (Failure{"The minimum number of buffers is 2. No more buffers can be revoked during acquisition.",
                 GC_ERR_INVALID_BUFFER}));
    // A queued buffer is refused for being queued, before the minimum is checked.
    stream->QueueBuffer(handles[2]);
    EXPECT_EQ(FailureFor(handles[2]).code, GC_ERR_BUSY);
    stream->DSStopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
    EXPECT_EQ(FailureFor(handles[1]), Failure{});
}

/// The library's clean-up takes the handles before the streams.
class StreamBufferWithoutHandle : public DatastreamFixture
{
protected:
    void QueueAndForget()
    {
        handles = QueueMany(2);
        library.instances.buffers.Remove(handles[0]);
    }

    Handles handles;
};

TEST_F(StreamBufferWithoutHandle, HasNoId)
{
    QueueAndForget();
    BUFFER_HANDLE handle = LowerHandle(0x123);
    stream->DSGetBufferID(0, &handle);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(StreamBufferWithoutHandle, IsNotFoundByARevoke)
{
    QueueAndForget();
    EXPECT_EQ(FailureOf([&] { stream->DSRevokeBuffer(handles[0], nullptr, nullptr); }),
              (Failure{"Buffer not found", GC_ERR_INVALID_HANDLE}));
}

TEST_F(StreamBufferWithoutHandle, IsPushedWithoutOne)
{
    QueueAndForget();
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { Fetch(event); }),
              (Failure{"Failed to get buffer for new buffer event!", GC_ERR_ERROR}));
    EXPECT_EQ(log.Lines(),
              std::vector<std::string>{"error: Failed to get buffer for new buffer event! Handle: 0x0"});
}

TEST_F(StreamBufferWithoutHandle, LetsTheStreamRevokeTheOthers)
{
    QueueAndForget();
    stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
    stream.reset();
    EXPECT_FALSE(library.instances.buffers.Contains(handles[1]));
}

class StreamPool : public DatastreamFixture
{
};

TEST_F(StreamPool, GivesTheBufferThatWasAnnouncedFirst)
{
    const auto handles = AnnounceMany(3);
    Start();
    stream->QueueBuffer(handles[2]);
    stream->QueueBuffer(handles[1]);
    EXPECT_EQ(worker->source().get(), handles[1]);
    EXPECT_EQ(worker->source().get(), handles[2]);
    EXPECT_EQ(StateOf(handles[1]), BufferState::Filling);
    EXPECT_EQ(worker->source(), nullptr);
    EXPECT_EQ(NumStarted(), 2U);
    EXPECT_EQ(NumLost(), 1U);
    EXPECT_EQ(NumQueued(), 2U);
}

TEST_F(StreamPool, GivesNothingWhileStopped)
{
    QueueMany(2);
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { worker->source(); }), PlainFailure("The acquisition is not started!"));
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"error: The acquisition is not started!"});
    EXPECT_EQ(NumStarted(), 0U);
    EXPECT_EQ(NumLost(), 0U);
}

class StreamPush : public DatastreamFixture
{
};

TEST_F(StreamPush, FiresTheEvent)
{
    const auto handles = QueueMany(2);
    auto *const event = RegisterEvent();
    Start();
    PassFrame();
    EXPECT_EQ(StateOf(handles[0]), BufferState::Output);
    EXPECT_EQ(NumAwaiting(), 1U);
    EXPECT_EQ(Feature("StreamIncompleteFrameCount"), 0U);
    const auto data = Fetch(event);
    EXPECT_EQ(data.BufferHandle, handles[0]);
    EXPECT_EQ(data.pUserPointer, UserPointer(0));
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(NumAwaiting(), 0U);
}

TEST_F(StreamPush, WithoutAnEventLeavesTheBufferInOutput)
{
    const auto handles = QueueMany(2);
    Start();
    PassFrame();
    EXPECT_EQ(StateOf(handles[0]), BufferState::Output);
    EXPECT_EQ(NumDelivered(), 0U);
    // An event that comes later does not get it.
    auto *const event = RegisterEvent();
    EXPECT_EQ(FailureOf([&] { Fetch(event); }).code, GC_ERR_TIMEOUT);
}

TEST_F(StreamPush, CountsWhatIsIncomplete)
{
    QueueMany(2);
    Start();
    const auto buffer = worker->source();
    buffer->SetResult(false, 0, true);
    worker->sink(buffer);
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 1U);
}

TEST_F(StreamPush, RefusesABufferThatIsNeitherQueuedNorFilled)
{
    const auto handles = QueueMany(2);
    Start();
    for (const auto state : {BufferState::Announced, BufferState::Output})
    {
        const auto buffer = BufferOf(handles[0]);
        buffer->SetState(state);
        const LogCapture log;
        constexpr auto text = "Cannot push a buffer that is not in the input or filling state!";
        EXPECT_EQ(FailureOf([&] { worker->sink(buffer); }), PlainFailure(text));
        EXPECT_EQ(log.Lines(), std::vector{std::string("error: ") + text});
        EXPECT_EQ(buffer->GetState(), state);
    }
    EXPECT_EQ(stream->GetIncompleteFrameCount(), 0U);
}

} // namespace
} // namespace GenTL::internal
