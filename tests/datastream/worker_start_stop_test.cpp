#include "worker_fixture.h"

#include <chrono>
#include <future>
#include <stdexcept>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

class WorkerStart : public WorkerFixture
{
};

TEST_F(WorkerStart, PreparesTheProcessorThenTheLowerStream)
{
    worker->StartAcquisition(5);
    EXPECT_TRUE(worker->IsRunning());
    ASSERT_TRUE(calls->WaitFor(waitCall));
    EXPECT_EQ(calls->All(), (Calls{"AcquisitionStarted", "AnnounceBuffers", startCall, waitCall}));
}

TEST_F(WorkerStart, NeedsBothCallbacksBeforeANumber)
{
    const Failure noCallbacks{"No callbacks registered to acquire / push buffers!", GC_ERR_ERROR};
    worker->SetBufferCallbacks({}, {});
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(0); }), noCallbacks);
    worker->SetBufferCallbacks([this] { return Pop(); }, {});
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), noCallbacks);
    worker->SetBufferCallbacks({}, [](const std::shared_ptr<Buffer> &) {});
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), noCallbacks);
    EXPECT_TRUE(calls->All().empty());
    EXPECT_FALSE(worker->IsRunning());
}

TEST_F(WorkerStart, RefusesNoFrames)
{
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(0); }),
              (Failure{"iNumToAcquire must not be 0", GC_ERR_INVALID_PARAMETER}));
    EXPECT_TRUE(calls->All().empty());
}

TEST_F(WorkerStart, RefusesASecondOne)
{
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }),
              (Failure{"Acquisition is already started!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(0); }).code, GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(calls->CountOf("AcquisitionStarted"), 1);
    EXPECT_TRUE(worker->IsRunning());
}

TEST_F(WorkerStart, PassesAFailureAndIsNotRunningThen)
{
    const auto fail = [] { LowerFailure(GC_ERR_IO, "cable"); };
    const Failure failure{"cable", GC_ERR_IO};

    processor->onAcquisitionStarted = fail;
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), failure);
    processor->onAcquisitionStarted = {};
    script->on["AnnounceBuffers"] = fail;
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), failure);
    script->on.clear();
    script->on[startCall] = fail;
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), failure);
    script->on.clear();
    EXPECT_FALSE(worker->IsRunning());
    // The announced buffers stay announced.
    EXPECT_EQ(calls->All(), (Calls{"AcquisitionStarted", "AcquisitionStarted", "AnnounceBuffers",
                                   "AcquisitionStarted", "AnnounceBuffers", startCall}));

    worker->StartAcquisition(1);
    EXPECT_TRUE(worker->IsRunning());
}

TEST_F(WorkerStart, WorksRightAfterALimitedAcquisitionEnded)
{
    for (int round = 0; round < 20; ++round)
    {
        const auto buffers = Queue(1);
        Deliver(0);
        RunToTheEnd(1);
        EXPECT_EQ(FrameIds(buffers), std::vector<uint64_t>{1});
    }
}

TEST_F(WorkerStart, JoinsTheThreadThatEndedByItself)
{
    std::promise<void> mayEnd;
    const auto isAllowed = mayEnd.get_future().share();
    std::atomic<bool> hasEnded = false;
    worker->SetFinishedCallback(
        [&]
        {
            calls->Add("Finished");
            isAllowed.wait();
            hasEnded = true;
        });
    Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    auto restart = std::async(std::launch::async,
                              [&]
                              {
                                  worker->StartAcquisition(1);
                                  return hasEnded.load();
                              });
    ASSERT_TRUE(calls->WaitFor(startCall, 2));
    mayEnd.set_value();
    EXPECT_TRUE(restart.get());
    worker->StopAcquisition();
}

class WorkerStop : public WorkerFixture
{
};

TEST_F(WorkerStop, EndsTheThreadBetweenTheLowerStopAndTheRevoke)
{
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    calls->Clear();
    worker->StopAcquisition();
    EXPECT_FALSE(worker->IsRunning());
    EXPECT_EQ(calls->All(), (Calls{"StopAcquisition", "Finished", "AcquisitionStopped", "RevokeBuffers"}));
}

TEST_F(WorkerStop, LogsTheAbortOfTheWait)
{
    const LogCapture log;
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    worker->StopAcquisition();
    EXPECT_EQ(log.Lines(), Calls{"error: wait aborted"});
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
}

TEST_F(WorkerStop, FailsWhenNothingRuns)
{
    const Failure stopped{"Acquisition is already stopped!", GC_ERR_ERROR};
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), stopped);
    EXPECT_TRUE(calls->All().empty());

    Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), stopped);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
}

TEST_F(WorkerStop, PassesAFailureOfTheLowerStop)
{
    script->on["StopAcquisition"] = [] { LowerFailure(GC_ERR_IO, "cable"); };
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), (Failure{"cable", GC_ERR_IO}));
    EXPECT_FALSE(worker->IsRunning());
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 0);
    // Nobody joins the thread; it ends when its wait does.
    script->Kill();
    EXPECT_TRUE(calls->WaitFor("Finished"));
}

TEST_F(WorkerStop, PassesAFailureOfTheRevoke)
{
    script->on["RevokeBuffers"] = [] { LowerFailure(GC_ERR_BUSY, "busy"); };
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_EQ(FailureOf([&] { worker->StopAcquisition(); }), (Failure{"busy", GC_ERR_BUSY}));
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 1);
}

TEST_F(WorkerStop, GivesBackALowerBufferThatArrivesMeanwhile)
{
    Queue(1);
    script->on["StopAcquisition"] = [&]
    {
        Deliver(0);
        EXPECT_TRUE(calls->WaitFor(RequeueCall(0)));
    };
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    worker->StopAcquisition();
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 1);
    EXPECT_EQ(calls->CountOf("Pop"), 0);
    EXPECT_EQ(calls->CountOf("Process"), 0);
}

TEST_F(WorkerStop, WaitsForTheFrameInProcess)
{
    const auto buffers = Queue(1);
    std::promise<void> stopping;
    auto isStopping = stopping.get_future();
    script->on["StopAcquisition"] = [&] { stopping.set_value(); };
    processor->onProcess = [&](const InputData &, std::span<uint8_t>)
    {
        isStopping.wait();
        return ProcessingResult{.bytesWritten = 9};
    };
    worker->StartAcquisition(GENTL_INFINITE);
    Deliver(0);
    ASSERT_TRUE(calls->WaitFor("Process"));
    worker->StopAcquisition();
    EXPECT_TRUE(buffers[0]->IsComplete());
    EXPECT_EQ(calls->All(), (Calls{"AcquisitionStarted", "AnnounceBuffers", startCall, waitCall, "Pop",
                                   "Process", "StopAcquisition", "Push", RequeueCall(0), "Finished",
                                   "AcquisitionStopped", "RevokeBuffers"}));
}

TEST_F(WorkerStop, EndsAThreadThatHasLostItsCallbacks)
{
    Queue(1);
    // On the thread itself, as the last step of a pass.
    script->on[RequeueCall(0)] = [&] { worker->SetBufferCallbacks({}, {}); };
    worker->StartAcquisition(GENTL_INFINITE);
    Deliver(0);
    ASSERT_TRUE(calls->WaitFor(RequeueCall(0)));
    worker->StopAcquisition();
    EXPECT_EQ(calls->CountOf("Finished"), 1);
    EXPECT_EQ(calls->CountOf(waitCall), 1);
}

class WorkerKill : public WorkerFixture
{
};

TEST_F(WorkerKill, RevokesBeforeItJoins)
{
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    std::promise<void> revoked;
    auto isRevoked = revoked.get_future();
    script->on["RevokeBuffers"] = [&] { revoked.set_value(); };
    worker->SetFinishedCallback(
        [&]
        {
            isRevoked.wait();
            calls->Add("Finished");
        });
    calls->Clear();
    worker->KillAcquisition();
    EXPECT_FALSE(worker->IsRunning());
    EXPECT_EQ(calls->All(), (Calls{"StopAcquisition", "RevokeBuffers", "Finished", "AcquisitionStopped"}));
}

TEST_F(WorkerKill, LeavesTheMemoryOfAFrameInProcess)
{
    Queue(1);
    std::promise<void> stopped;
    std::promise<void> revoked;
    auto isStopped = stopped.get_future();
    auto isRevoked = revoked.get_future();
    script->on["StopAcquisition"] = [&] { stopped.set_value(); };
    script->on["RevokeBuffers"] = [&] { revoked.set_value(); };
    processor->onProcess = [&](const InputData &, std::span<uint8_t>)
    {
        isStopped.wait();
        // Long enough for a revoke that fails to wait for the frame.
        EXPECT_EQ(isRevoked.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        return ProcessingResult{};
    };
    worker->StartAcquisition(GENTL_INFINITE);
    Deliver(0);
    ASSERT_TRUE(calls->WaitFor("Process"));
    worker->KillAcquisition();
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 1);
}

TEST_F(WorkerKill, GoesOnWhenTheLowerStopFails)
{
    const LogCapture log;
    FailLowerStop();
    worker->StartAcquisition(GENTL_INFINITE);
    worker->KillAcquisition();
    EXPECT_THAT(log.Lines(), testing::Contains("error: Failed to stop acquisition in proxy: cable"));
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 1);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 1);
}

TEST_F(WorkerKill, GoesOnWhenTheRevokeFails)
{
    const LogCapture log;
    script->on["RevokeBuffers"] = [] { throw std::runtime_error("busy"); };
    worker->StartAcquisition(GENTL_INFINITE);
    worker->KillAcquisition();
    EXPECT_THAT(log.Lines(), testing::Contains("error: Failed to revoke buffers in proxy: busy"));
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 1);
}

TEST_F(WorkerKill, PassesWhatIsNoStandardException)
{
    script->on["StopAcquisition"] = [&]
    {
        script->Kill();
        throw 5;
    };
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_THROW(worker->KillAcquisition(), int);
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 0);
}

TEST_F(WorkerKill, PassesWhatIsNoStandardExceptionOfTheRevoke)
{
    script->on["RevokeBuffers"] = [] { throw 5; };
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_THROW(worker->KillAcquisition(), int);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
}

TEST_F(WorkerKill, TouchesNothingWhenALowerBufferArrivesMeanwhile)
{
    Queue(1);
    // No abort of the wait: only the buffer ends it.
    script->on["StopAcquisition"] = [&]
    {
        Deliver(0);
        LowerFailure(GC_ERR_IO, "cable");
    };
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    calls->Clear();
    worker->KillAcquisition();
    EXPECT_EQ(calls->All(), (Calls{"StopAcquisition", "RevokeBuffers", "AcquisitionStopped"}));
}

class WorkerEnd : public WorkerFixture
{
};

TEST_F(WorkerEnd, StopsWhatRuns)
{
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall));
    calls->Clear();
    worker.reset();
    EXPECT_EQ(calls->All(),
              (Calls{"StopAcquisition", "Finished", "AcquisitionStopped", "RevokeBuffers", "Close"}));
}

TEST_F(WorkerEnd, OnlyClosesWhatIsStopped)
{
    worker.reset();
    EXPECT_EQ(calls->All(), Calls{"Close"});
}

TEST_F(WorkerEnd, JoinsAThreadThatEndedByItself)
{
    Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    calls->Clear();
    worker.reset();
    EXPECT_EQ(calls->All(), Calls{"Close"});
}

TEST_F(WorkerEnd, SwallowsAFailingStop)
{
    FailLowerStop();
    worker->StartAcquisition(GENTL_INFINITE);
    EXPECT_NO_THROW(worker.reset());
    EXPECT_EQ(calls->CountOf("Close"), 1);
}

using WorkerEndDeathTest = WorkerEnd;

TEST_F(WorkerEndDeathTest, ForeignExceptionEndsTheProcess)
{
    EXPECT_DEATH(
        {
            script->on["StopAcquisition"] = [] { throw 5; };
            worker->StartAcquisition(GENTL_INFINITE);
            worker.reset();
        },
        "terminate");
}

class WorkerQueries : public WorkerFixture
{
};

TEST_F(WorkerQueries, GoToTheProcessorAndTheLowerStream)
{
    processor->payloadSize = 4711;
    EXPECT_EQ(worker->GetPayloadSize(), 4711U);
    EXPECT_EQ(worker->GetDroppedFrameCount(), std::nullopt);
    script->droppedFrameCount = 12;
    EXPECT_EQ(worker->GetDroppedFrameCount(), 12U);
}

} // namespace
} // namespace GenTL::internal
