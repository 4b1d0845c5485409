// Threads that use one stream beside each other. Meant for a run under a sanitizer.

#include "stream_fixture.h"

#include <functional>
#include <stdexcept>
#include <thread>

namespace GenTL::internal
{
namespace
{

using enum BufferState;

/// Between start and stop a thread fills buffers, as the worker's does. The stream refuses a buffer that
/// another thread pulled away meanwhile; that would end the process in the worker, and is ignored here.
class StreamThreads : public DatastreamFixture
{
protected:
    StreamThreads()
    {
        worker->onStart = [this]
        {
            isStopping = false;
            filler = std::jthread([this] { Fill(); });
        };
        worker->onStop = [this]
        {
            isStopping = true;
            filler.join();
        };
    }

    void Fill()
    {
        while (!isStopping)
        {
            const auto buffer = worker->source();
            if (!buffer)
            {
                std::this_thread::yield();
                continue;
            }
            buffer->SetResult(true, 8, true);
            const auto failure = FailureOf([&] { worker->sink(buffer); });
            EXPECT_TRUE(failure == Failure{} ||
                        failure ==
                            PlainFailure("Cannot push a buffer that is not in the input or filling state!"));
        }
    }

    /// Repeats the action on a thread of its own until the test's thread has finished starting and stopping.
    void Beside(std::function<void()> action)
    {
        threads.emplace_back(
            [action = std::move(action)](const std::stop_token &done)
            {
                do
                {
                    action();
                } while (!done.stop_requested());
            });
    }

    void AnnounceAndRevoke()
    {
        auto *const handle = Announce();
        for (Failure failure{"", GC_ERR_BUSY}; failure != Failure{};)
        {
            failure = FailureOf([&] { stream->DSRevokeBuffer(handle, nullptr, nullptr); });
            EXPECT_TRUE(failure == Failure{} || failure.code == GC_ERR_BUSY);
            stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
        }
    }

    void FlushEveryWay()
    {
        for (const ACQ_QUEUE_TYPE operation : {ACQ_QUEUE_UNQUEUED_TO_INPUT, ACQ_QUEUE_INPUT_TO_OUTPUT,
                                               ACQ_QUEUE_OUTPUT_DISCARD, ACQ_QUEUE_ALL_TO_INPUT})
        {
            stream->DSFlushQueue(operation);
        }
    }

    void StartAndStop()
    {
        for (int i = 0; i < 100; ++i)
        {
            Start();
            std::this_thread::yield();
            stream->DSStopAcquisition(i % 2 == 0 ? ACQ_STOP_FLAGS_KILL : ACQ_STOP_FLAGS_DEFAULT);
        }
    }

    const LogCapture log; // keeps what is refused from the terminal
    std::atomic<bool> isStopping = false;
    std::jthread filler;
    std::vector<std::jthread> threads;
};

TEST_F(StreamThreads, AnnounceRevokeListAndFlushBesideStartAndStop)
{
    const auto handles = QueueMany(3);
    auto *const event = RegisterEvent();
    Beside([&] { AnnounceAndRevoke(); });
    Beside([&] { FlushEveryWay(); });
    Beside(
        [&]
        {
            BUFFER_HANDLE handle = nullptr;
            stream->DSGetBufferID(2, &handle);
            EXPECT_EQ(handle, handles[2]);
            EXPECT_LE(NumQueued(), 4U);
            EXPECT_LE(NumAwaiting(), 4U);
        });
    Beside(
        [&]
        {
            size_t size = 0;
            const auto code = FailureOf([&] { EventOf(event)->Data(nullptr, &size, 0); }).code;
            EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_TIMEOUT || code == GC_ERR_ERROR);
            FailureOf([&] { stream->QueueBuffer(handles[0]); });
        });
    StartAndStop();
    threads.clear();
    stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
    EXPECT_EQ(Info<size_t>(STREAM_INFO_NUM_ANNOUNCED), 3U);
    for (auto *const handle : handles)
    {
        EXPECT_EQ(StateOf(handle), Announced);
    }
}

TEST_F(StreamThreads, RegisterUnregisterAndKillTheEventBesidePushes)
{
    QueueMany(4);
    Beside(
        [&]
        {
            auto *const event = RegisterEvent();
            size_t size = 0;
            const auto wait = [&] { EventOf(event)->Data(nullptr, &size, GENTL_INFINITE); };
            EventOf(event)->Kill();
            EXPECT_EQ(FailureOf(wait).code, GC_ERR_ABORT);
            stream->UnregisterEvent(EVENT_NEW_BUFFER);
            EXPECT_TRUE(EventOf(event));
        });
    Beside([&] { stream->DSFlushQueue(ACQ_QUEUE_OUTPUT_DISCARD); });
    Beside([&] { stream->DSFlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT); });
    Beside([&] { NumDelivered(); });
    StartAndStop();
    threads.clear();
    EXPECT_EQ(NumDelivered(), 0U);
}

} // namespace
} // namespace GenTL::internal
