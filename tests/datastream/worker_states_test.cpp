#include "support/run_together.h"
#include "worker_fixture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

const Failure alreadyStopped{"Acquisition is already stopped!", GC_ERR_ERROR};

/// Can hold a stop of the lower stream, and with it the states Stopping and Finishing.
class HeldStop : public WorkerFixture
{
protected:
    HeldStop()
    {
        script->on["StopAcquisition"] = [this]
        {
            if (isHolding.exchange(false))
            {
                held.set_value();
                isReleased.wait();
            }
        };
    }

    /// Holds the next stop until Release.
    void Hold() { isHolding = true; }
    void Release() { released.set_value(); }
    void WaitUntilHeld() { held.get_future().wait(); }

    std::atomic<bool> isHolding = false;
    std::promise<void> held;
    std::promise<void> released;
    std::shared_future<void> isReleased = released.get_future().share();
};

/// A call in a state, and what comes of it.
struct StateCase
{
    std::string state;
    std::string call;
    Failure failure;
    Calls calls;
    std::string beforeRelease = {}; ///< last call before it waits for the thread, which is held
    bool isOrdered = true;          ///< else a kill and the thread race
};

const std::string startCall = "StartAcquisition 0xffffffffffffffff";
const std::string waitCall = "WaitForBuffer 10000";
const Failure none;
const Failure alreadyStarted{"Acquisition is already started!", GC_ERR_ERROR};
const Calls starts{"AcquisitionStarted", "AnnounceBuffers", startCall, waitCall};
const Calls stops{"StopAcquisition", "Finished", "AcquisitionStopped", "RevokeBuffers"};
const Calls stopsAndCloses{"StopAcquisition", "Finished", "AcquisitionStopped", "RevokeBuffers", "Close"};
const Calls kills{"StopAcquisition", "RevokeBuffers", "AcquisitionStopped"};
const Calls killsTheThread{"StopAcquisition", "RevokeBuffers", "Finished", "AcquisitionStopped"};
// The lower stop of the thread left an abort behind, which ends the first wait after the restart.
const Calls joinsAndStarts{"AcquisitionStarted", "AnnounceBuffers", startCall, "RevokeBuffers",
                           "Finished",           waitCall,          waitCall};
const Calls killsAndJoins{"StopAcquisition", "RevokeBuffers", "RevokeBuffers", "Finished",
                          "AcquisitionStopped"};

const std::vector<StateCase> stateCases{
    {"Idle", "Start", none, starts},
    {"Idle", "Stop", alreadyStopped, {}},
    {"Idle", "Kill", none, kills},
    {"Idle", "Close", none, {"Close"}},
    {"Running", "Start", alreadyStarted, {}},
    {"Running", "Stop", none, stops},
    {.state = "Running", .call = "Kill", .failure = none, .calls = killsTheThread, .isOrdered = false},
    {"Running", "Close", none, stopsAndCloses},
    {"Stopping", "Stop", alreadyStopped, {"Finished", "AcquisitionStopped", "RevokeBuffers"}},
    {"Finishing", "Start", none, joinsAndStarts, startCall},
    {"Finishing", "Stop", alreadyStopped, {"RevokeBuffers", "Finished"}},
    {"Finishing", "Kill", none, killsAndJoins, "RevokeBuffers"},
    {"Finishing", "Close", none, {"RevokeBuffers", "Finished", "Close"}},
    {"Killed", "Start", none, starts},
    {"Killed", "Stop", alreadyStopped, {}},
    {"Killed", "Kill", none, kills},
    {"Killed", "Close", none, {"Close"}},
    {"StartedAfterKill", "Start", alreadyStarted, {}},
    {"StartedAfterKill", "Stop", none, stops},
    {.state = "StartedAfterKill",
     .call = "Kill",
     .failure = none,
     .calls = killsTheThread,
     .isOrdered = false},
    {"StartedAfterKill", "Close", none, stopsAndCloses},
};

class WorkerState : public HeldStop, public testing::WithParamInterface<StateCase>
{
protected:
    void Start()
    {
        worker->StartAcquisition(GENTL_INFINITE);
        ASSERT_TRUE(calls->WaitFor(waitCall));
    }

    void StartAndKill()
    {
        Start();
        worker->KillAcquisition();
        calls->Clear();
    }

    void StartAndHoldStop()
    {
        Start();
        Hold();
        heldStop = std::async(std::launch::async, [&] { worker->StopAcquisition(); });
        WaitUntilHeld();
    }

    void RunIntoTheOwnStop()
    {
        Hold();
        Queue(1);
        Deliver(0);
        worker->StartAcquisition(1);
        WaitUntilHeld();
    }

    void Enter(const std::string &state)
    {
        const std::map<std::string, std::function<void()>> ways{
            {"Idle", [] {}},
            {"Running", [&] { Start(); }},
            {"Stopping", [&] { StartAndHoldStop(); }},
            {"Finishing", [&] { RunIntoTheOwnStop(); }},
            {"Killed", [&] { StartAndKill(); }},
            {"StartedAfterKill",
             [&]
             {
                 StartAndKill();
                 Start();
             }},
        };
        ways.at(state)();
        calls->Clear();
        EXPECT_EQ(worker->IsRunning(), state == "Running" || state == "StartedAfterKill");
    }

    Failure Call(const std::string &call)
    {
        const std::map<std::string, std::function<void()>> actions{
            {"Start", [&] { worker->StartAcquisition(GENTL_INFINITE); }},
            {"Stop", [&] { worker->StopAcquisition(); }},
            {"Kill", [&] { worker->KillAcquisition(); }},
            {"Close", [&] { worker.reset(); }},
        };
        return FailureOf(actions.at(call));
    }

    void ExpectCalls(const Calls &expected, bool isOrdered)
    {
        if (!expected.empty())
        {
            ASSERT_TRUE(calls->WaitFor(expected.back(), std::ranges::count(expected, expected.back())));
        }
        const auto seen = calls->All();
        EXPECT_THAT(seen, testing::UnorderedElementsAreArray(expected));
        EXPECT_TRUE(!isOrdered || seen == expected) << testing::PrintToString(seen);
    }

    std::future<void> heldStop;
};

TEST_P(WorkerState, AnswersTheCall)
{
    const auto &expected = GetParam();
    Enter(expected.state);
    auto call = std::async(std::launch::async, [&] { return Call(expected.call); });
    if (expected.failure != none)
    {
        // A refusal waits for nobody.
        EXPECT_EQ(call.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    }
    if (!expected.beforeRelease.empty())
    {
        ASSERT_TRUE(calls->WaitFor(expected.beforeRelease));
        EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
    }
    Release();
    EXPECT_EQ(call.get(), expected.failure);
    if (heldStop.valid())
    {
        heldStop.get();
    }
    ExpectCalls(expected.calls, expected.isOrdered);
    EXPECT_EQ(worker && worker->IsRunning(), expected.call == "Start");
}

INSTANTIATE_TEST_SUITE_P(Calls, WorkerState, testing::ValuesIn(stateCases),
                         [](const auto &instance) { return instance.param.state + instance.param.call; });

class WorkerAfterKill : public WorkerFixture
{
};

TEST_F(WorkerAfterKill, LeavesAtTheFirstLowerBufferOfARestart)
{
    Queue(1);
    worker->KillAcquisition();
    // No abort of the wait: only the buffer ends it.
    script->on["StopAcquisition"] = [] { LowerFailure(GC_ERR_IO, "cable"); };
    worker->StartAcquisition(GENTL_INFINITE);
    // The kill left an abort behind, which ended the first wait.
    ASSERT_TRUE(calls->WaitFor(waitCall, 2));
    calls->Clear();
    Deliver(0);
    worker.reset();
    EXPECT_EQ(calls->All(), (Calls{"StopAcquisition", "Close"}));
}

class WorkerInterleavings : public HeldStop
{
protected:
    WorkerInterleavings() { Hold(); }
};

TEST_F(WorkerInterleavings, StopDuringTheLastFrameStopsLowerTwice)
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

TEST_F(WorkerInterleavings, LetOneOfManyStopsThrough)
{
    Release();
    for (int round = 0; round < 100; ++round)
    {
        worker->StartAcquisition(GENTL_INFINITE);
        std::atomic<int> numStopped = 0;
        RunTogether(3,
                    [&]
                    {
                        const auto failure = FailureOf([&] { worker->StopAcquisition(); });
                        EXPECT_TRUE(failure == Failure{} || failure == alreadyStopped);
                        numStopped += failure == Failure{} ? 1 : 0;
                    });
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
