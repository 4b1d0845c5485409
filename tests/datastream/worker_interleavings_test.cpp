#include "worker_fixture.h"

#include <atomic>
#include <barrier>
#include <future>
#include <thread>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

const Failure alreadyStopped{"Acquisition is already stopped!", GC_ERR_ERROR};

/// The first of the lower stops is held until the test lets it go on.
class WorkerInterleavings : public WorkerFixture
{
protected:
    WorkerInterleavings()
    {
        script->on["StopAcquisition"] = [this]
        {
            if (numStops++ == 0)
            {
                held.set_value();
                isReleased.wait();
            }
        };
    }

    void Release() { released.set_value(); }

    /// Until the thread has done its last frame and stops the lower stream itself.
    void RunIntoTheOwnStop()
    {
        Queue(1);
        Deliver(0);
        worker->StartAcquisition(1);
        held.get_future().wait();
        calls->Clear();
    }

    std::atomic<int> numStops = 0;
    std::promise<void> held;
    std::promise<void> released;
    std::shared_future<void> isReleased = released.get_future().share();
};

TEST_F(WorkerInterleavings, RefuseAStopWhileTheThreadEndsByItself)
{
    RunIntoTheOwnStop();
    EXPECT_FALSE(worker->IsRunning());
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), alreadyStopped);
    Release();
    ASSERT_TRUE(calls->WaitFor("Finished"));
    EXPECT_EQ(calls->All(), (Calls{"RevokeBuffers", "Finished"}));
}

TEST_F(WorkerInterleavings, JoinTheThreadThatEndsByItselfInAKill)
{
    RunIntoTheOwnStop();
    auto kill = std::async(std::launch::async, [&] { worker->KillAcquisition(); });
    ASSERT_TRUE(calls->WaitFor("RevokeBuffers"));
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
    Release();
    kill.get();
    EXPECT_EQ(calls->All(),
              (Calls{"StopAcquisition", "RevokeBuffers", "RevokeBuffers", "Finished", "AcquisitionStopped"}));
}

TEST_F(WorkerInterleavings, JoinTheThreadThatEndsByItselfBeforeTheLowerStreamIsClosed)
{
    RunIntoTheOwnStop();
    auto end = std::async(std::launch::async, [&] { worker.reset(); });
    Release();
    end.get();
    EXPECT_EQ(calls->All(), (Calls{"RevokeBuffers", "Finished", "Close"}));
}

TEST_F(WorkerInterleavings, StopTheLowerStreamTwiceWhenTheLastFrameIsInProcess)
{
    const auto buffers = Queue(1);
    processor->onProcess = [this](const InputData &input, std::span<uint8_t>)
    {
        held.get_future().wait();
        return ProcessingResult{.bytesWritten = 9, .attributes = input.attributes};
    };
    worker->StartAcquisition(1);
    Deliver(0);
    ASSERT_TRUE(calls->WaitFor("Process"));
    calls->Clear();
    auto stop = std::async(std::launch::async, [&] { worker->StopAcquisition(); });
    // No frame is missing: the thread ends as it does by itself.
    ASSERT_TRUE(calls->WaitFor("Finished"));
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
    Release();
    stop.get();
    EXPECT_EQ(calls->All(), (Calls{"StopAcquisition", "Push", RequeueCall(0), "StopAcquisition",
                                   "RevokeBuffers", "Finished", "AcquisitionStopped", "RevokeBuffers"}));
    EXPECT_TRUE(buffers[0]->IsComplete());
}

TEST_F(WorkerInterleavings, RefuseASecondStopWhileTheFirstIsUnderWay)
{
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    auto stop = std::async(std::launch::async, [&] { worker->StopAcquisition(); });
    ASSERT_TRUE(calls->WaitFor("StopAcquisition"));
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), alreadyStopped);
    Release();
    stop.get();
    EXPECT_EQ(calls->CountOf("StopAcquisition"), 1);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 1);
}

TEST_F(WorkerInterleavings, LetOneOfManyStopsThrough)
{
    constexpr int numThreads = 3;
    Release();
    for (int round = 0; round < 100; ++round)
    {
        worker->StartAcquisition(GENTL_INFINITE);
        std::atomic<int> numStopped = 0;
        std::barrier together(numThreads);
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < numThreads; ++i)
            {
                threads.emplace_back(
                    [&]
                    {
                        together.arrive_and_wait();
                        const auto failure = FailureOf([&] { worker->StopAcquisition(); });
                        EXPECT_TRUE(failure == Failure{} || failure == alreadyStopped);
                        numStopped += failure == Failure{} ? 1 : 0;
                    });
            }
        }
        EXPECT_EQ(numStopped, 1);
    }
}

TEST_F(WorkerInterleavings, LeaveTheAbortOfAStopToTheNextWait)
{
    const LogCapture log;
    processor->onProcess = [this](const InputData &input, std::span<uint8_t>)
    {
        EXPECT_TRUE(calls->WaitFor("StopAcquisition"));
        return ProcessingResult{.bytesWritten = 9, .attributes = input.attributes};
    };
    Release();
    const auto buffers = Queue(2);
    worker->StartAcquisition(GENTL_INFINITE);
    Deliver(0);
    ASSERT_TRUE(calls->WaitFor("Process"));
    worker->StopAcquisition();
    EXPECT_TRUE(log.Lines().empty());
    Deliver(1);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{"error: wait aborted"});
    EXPECT_EQ(FrameIds(buffers), (std::vector<uint64_t>{1, 1}));
}

} // namespace
} // namespace GenTL::internal
