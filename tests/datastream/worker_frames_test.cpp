#include "worker_fixture.h"

#include <cstring>
#include <stdexcept>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;
using Ids = std::vector<uint64_t>;

class WorkerFrames : public WorkerFixture
{
protected:
    /// The frames before counted neither against the limit of 1 nor in the numbering.
    void ExpectTheNextFrameToBeTheFirst()
    {
        const auto buffers = Queue(1);
        Deliver(2);
        ASSERT_TRUE(calls->WaitFor("Finished"));
        EXPECT_EQ(FrameIds(buffers), Ids{1});
    }

    std::shared_ptr<Buffer> Pop() override
    {
        if (onPop)
        {
            onPop();
        }
        return WorkerFixture::Pop();
    }

    void Push(const std::shared_ptr<Buffer> &buffer) override
    {
        if (onPush)
        {
            onPush();
        }
        WorkerFixture::Push(buffer);
    }

    void ExpectPushedWithoutAFrame(const Buffer &buffer)
    {
        EXPECT_EQ(buffer.GetState(), BufferState::Output);
        EXPECT_FALSE(buffer.IsComplete());
        EXPECT_FALSE(HasNewData(buffer));
    }

    std::function<void()> onPop;
    std::function<void()> onPush;
};

TEST_F(WorkerFrames, GoThroughThePassInOrder)
{
    Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(calls->All(),
              (Calls{"AcquisitionStarted", "AnnounceBuffers", startCall, waitCall, "Pop", "Process", "Push",
                     RequeueCall(0), "StopAcquisition", "RevokeBuffers", "Finished"}));
}

TEST_F(WorkerFrames, EndByThemselvesAfterTheNumberAskedFor)
{
    const auto buffers = Queue(5);
    DeliverAll(4);
    RunToTheEnd(3);
    EXPECT_EQ(FrameIds(buffers), (Ids{1, 2, 3, 0, 0}));
    EXPECT_EQ(calls->CountOf("Push"), 3);
    EXPECT_EQ(calls->CountOf(waitCall), 3);
    EXPECT_EQ(calls->CountOf("StopAcquisition"), 1);
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 1);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 0);
    EXPECT_EQ(buffers[3]->GetState(), BufferState::Input);
}

TEST_F(WorkerFrames, HaveNoLimitWhenInfinitelyManyAreAskedFor)
{
    const auto buffers = Queue(8);
    DeliverAll(8);
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(waitCall, 9));
    EXPECT_TRUE(worker->IsRunning());
    EXPECT_EQ(FrameIds(buffers), (Ids{1, 2, 3, 4, 5, 6, 7, 8}));
    worker->StopAcquisition();
}

TEST_F(WorkerFrames, AreNumberedFromOneAfterARestart)
{
    const auto buffers = Queue(4);
    DeliverAll(4);
    RunToTheEnd(2);
    RunToTheEnd(2);
    EXPECT_EQ(FrameIds(buffers), (Ids{1, 2, 1, 2}));
}

TEST_F(WorkerFrames, CarryWhatTheProcessorMadeOfThem)
{
    const auto buffers = Queue(1, frameSize + 10);
    uint8_t *const base = static_cast<uint8_t *>(buffers[0]->GetBase());
    lowerMemory[3] = 33;
    processor->onProcess = [&](const InputData &input, std::span<uint8_t> output)
    {
        EXPECT_EQ(output.data(), base);
        EXPECT_EQ(output.size(), frameSize + 10);
        std::memcpy(output.data(), input.data, input.size);
        ProcessingResult result;
        result.bytesWritten = 50;
        result.attributes = {.frameId = 70, .timestamp = 71, .width = 72};
        result.parts = {BufferPartInfo{.base = output.data(), .size = 50}};
        result.chunks = ChunkList{
            .payloadSize = 5, .layoutId = 6, .entries = {{.ChunkID = 7, .ChunkOffset = 0, .ChunkLength = 0}}};
        return result;
    };
    Deliver(0);
    RunToTheEnd(1);
    const auto &buffer = *buffers[0];
    EXPECT_TRUE(buffer.IsComplete());
    EXPECT_TRUE(HasNewData(buffer));
    EXPECT_EQ(Info<size_t>(buffer, BUFFER_INFO_SIZE_FILLED), 50U);
    EXPECT_EQ(Info<uint64_t>(buffer, BUFFER_INFO_FRAMEID), 70U);
    EXPECT_EQ(Info<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP), 71U);
    EXPECT_EQ(Info<size_t>(buffer, BUFFER_INFO_WIDTH), 72U);
    EXPECT_EQ(buffer.DSGetNumBufferParts(), 1U);
    EXPECT_EQ(Info<bool8_t>(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA), 1);
    EXPECT_EQ(Info<size_t>(buffer, BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE), 5U);
    EXPECT_EQ(Info<uint64_t>(buffer, BUFFER_INFO_CHUNKLAYOUTID), 6U);
    EXPECT_EQ(base[3], 33);
}

TEST_F(WorkerFrames, ReachTheProcessorAsTheLowerBufferDescribesThem)
{
    Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    const auto inputs = processor->Inputs();
    ASSERT_EQ(inputs.size(), 1U);
    EXPECT_EQ(inputs[0].data, lowerMemory.data());
    EXPECT_EQ(inputs[0].size, frameSize);
    EXPECT_EQ(inputs[0].attributes.width, 640U);
    EXPECT_EQ(inputs[0].attributes.frameId, 1U);
    EXPECT_EQ(inputs[0].attributes.timestamp, std::nullopt);
}

TEST_F(WorkerFrames, HaveNoTimeStampUnlessTheProcessorGivesOne)
{
    const auto buffers = Queue(1);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(FailureOf([&] { Info<uint64_t>(*buffers[0], BUFFER_INFO_TIMESTAMP); }),
              (Failure{"The information 3 is currently not available.", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(WorkerFrames, ReplacePartsAlwaysAndChunksOnlyWhenThereAreAny)
{
    const auto buffers = Queue(1);
    buffers[0]->SetParts({BufferPartInfo{}, BufferPartInfo{}});
    buffers[0]->SetChunks({{.ChunkID = 7, .ChunkOffset = 0, .ChunkLength = 0}}, 5, 6);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(buffers[0]->DSGetNumBufferParts(), 0U);
    EXPECT_EQ(Info<bool8_t>(*buffers[0], BUFFER_INFO_CONTAINS_CHUNKDATA), 1);
    EXPECT_EQ(Info<size_t>(*buffers[0], BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE), 5U);
}

TEST_F(WorkerFrames, CountWhenTheyAreIncomplete)
{
    Frame(1).infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Bool(true);
    const auto buffers = Queue(4);
    buffers[1]->SetMetadata({.frameId = 99});
    processor->onProcess = [](const InputData &input, std::span<uint8_t>)
    { return ProcessingResult{.bytesWritten = 8, .attributes = input.attributes}; };
    DeliverAll(4);
    RunToTheEnd(3);
    // An incomplete frame leaves its buffer alone, but it takes a number.
    EXPECT_EQ(FrameIds(buffers), (Ids{1, 99, 3, 0}));
    EXPECT_EQ(calls->CountOf("Process"), 2);
    EXPECT_EQ(calls->CountOf("Push"), 3);
    EXPECT_EQ(calls->CountOf(RequeueCall(1)), 1);
    const auto &incomplete = *buffers[1];
    EXPECT_EQ(incomplete.GetState(), BufferState::Output);
    EXPECT_EQ(Info<bool8_t>(incomplete, BUFFER_INFO_IS_INCOMPLETE), 1);
    EXPECT_TRUE(HasNewData(incomplete));
    EXPECT_EQ(Info<size_t>(incomplete, BUFFER_INFO_SIZE_FILLED), 0U);
}

TEST_F(WorkerFrames, AreLostWithoutAFreeBuffer)
{
    const LogCapture log;
    DeliverAll(2);
    worker->StartAcquisition(1);
    ASSERT_TRUE(calls->WaitFor(waitCall, 3));
    EXPECT_EQ(log.Lines(), (Calls{"error: No buffer available", "error: No buffer available"}));
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 1);
    EXPECT_EQ(calls->CountOf(RequeueCall(1)), 1);
    EXPECT_EQ(calls->CountOf("Push"), 0);
    EXPECT_TRUE(worker->IsRunning());
    ExpectTheNextFrameToBeTheFirst();
}

TEST_F(WorkerFrames, AreNotTakenByABufferThatIsTooSmall)
{
    const LogCapture log;
    const auto small = Queue(2, frameSize - 1);
    small[0]->SetResult(true, 77, true);
    DeliverAll(2);
    worker->StartAcquisition(1);
    ASSERT_TRUE(calls->WaitFor(waitCall, 3));
    EXPECT_EQ(log.Lines(), (Calls{"error: Acquired buffer size (64) is larger than expected (63)",
                                  "error: Acquired buffer size (64) is larger than expected (63)"}));
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
    for (const auto &buffer : small)
    {
        ExpectPushedWithoutAFrame(*buffer);
    }
    EXPECT_EQ(calls->CountOf("Process"), 0);
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 1);
    EXPECT_TRUE(worker->IsRunning());
    ExpectTheNextFrameToBeTheFirst();
}

TEST_F(WorkerFrames, FitABufferOfJustTheirSize)
{
    const auto buffers = Queue(1, frameSize);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_TRUE(buffers[0]->IsComplete());
}

TEST_F(WorkerFrames, ThatCannotBeProcessedTakeANumberButDoNotCount)
{
    const LogCapture log;
    const auto buffers = Queue(3);
    int number = 0;
    processor->onProcess = [&](const InputData &input, std::span<uint8_t>)
    {
        switch (number++)
        {
        case 0:
            throw std::runtime_error("no task");
        case 1:
            throw 5;
        default:
            return ProcessingResult{.bytesWritten = 1, .attributes = input.attributes};
        }
    };
    DeliverAll(3);
    RunToTheEnd(1);
    ExpectPushedWithoutAFrame(*buffers[0]);
    ExpectPushedWithoutAFrame(*buffers[1]);
    EXPECT_EQ(FrameIds(buffers), (Ids{0, 0, 3}));
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 1);
    EXPECT_EQ(calls->CountOf(RequeueCall(1)), 1);
    EXPECT_EQ(log.Lines(),
              (Calls{"error: no task", "critical: Unknown exception thrown in acquisition thread"}));
}

TEST_F(WorkerFrames, ThatFailPushBeforeTheyRequeue)
{
    Queue(2);
    Frame(0).infos.erase(BUFFER_INFO_IS_INCOMPLETE);
    DeliverAll(2);
    worker->StartAcquisition(1);
    ASSERT_TRUE(calls->WaitFor("Finished"));
    const auto all = calls->All();
    EXPECT_EQ((Calls{all.begin() + 3, all.begin() + 8}),
              (Calls{waitCall, "Pop", "Push", RequeueCall(0), waitCall}));
}

TEST_F(WorkerFrames, WithoutPayloadTypeTakeNoNumber)
{
    const LogCapture log;
    const auto buffers = Queue(2);
    Frame(0).infos.erase(BUFFER_INFO_PAYLOADTYPE);
    DeliverAll(2);
    RunToTheEnd(1);
    ExpectPushedWithoutAFrame(*buffers[0]);
    EXPECT_EQ(FrameIds(buffers), (Ids{0, 1}));
    EXPECT_EQ(log.Lines(), Calls{fmt::format("error: no {}", int(BUFFER_INFO_PAYLOADTYPE))});
}

TEST_F(WorkerFrames, WithoutAnotherMandatoryAnswerTakeANumber)
{
    const LogCapture log;
    const auto buffers = Queue(2);
    Frame(0).infos.erase(BUFFER_INFO_IS_INCOMPLETE);
    DeliverAll(2);
    RunToTheEnd(1);
    ExpectPushedWithoutAFrame(*buffers[0]);
    EXPECT_EQ(FrameIds(buffers), (Ids{0, 2}));
    EXPECT_EQ(log.Lines(), Calls{fmt::format("error: no {}", int(BUFFER_INFO_IS_INCOMPLETE))});
}

TEST_F(WorkerFrames, AreWaitedForAgainAfterATimeout)
{
    const LogCapture log;
    const auto buffers = Queue(1);
    script->DeliverFailure([] { LowerFailure(GC_ERR_TIMEOUT, "timeout"); });
    script->DeliverFailure([] { throw 5; });
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(),
              (Calls{"error: timeout", "critical: Unknown exception thrown in acquisition thread"}));
    EXPECT_EQ(calls->CountOf(waitCall), 3);
    EXPECT_EQ(calls->CountOf("Pop"), 1);
    EXPECT_EQ(FrameIds(buffers), Ids{1});
}

TEST_F(WorkerFrames, ThatCannotBeDescribedAtAllReachNobody)
{
    const LogCapture log;
    const auto buffers = Queue(1);
    Frame(0).infos.erase(BUFFER_INFO_SIZE);
    DeliverAll(2);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{fmt::format("error: no {}", int(BUFFER_INFO_SIZE))});
    EXPECT_EQ(calls->CountOf("Pop"), 1);
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 0);
    EXPECT_EQ(FrameIds(buffers), Ids{1});
}

TEST_F(WorkerFrames, AreGivenBackWhenTheSourceFails)
{
    const LogCapture log;
    const auto buffers = Queue(1);
    onPop = [&]
    {
        if (calls->CountOf(waitCall) == 1)
        {
            throw std::runtime_error("no source");
        }
    };
    DeliverAll(2);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{"error: no source"});
    EXPECT_EQ(calls->CountOf(RequeueCall(0)), 1);
    EXPECT_EQ(calls->CountOf("Push"), 1);
    EXPECT_EQ(FrameIds(buffers), Ids{1});
}

TEST_F(WorkerFrames, GoOnWhenARequeueFails)
{
    const LogCapture log;
    const auto buffers = Queue(2);
    script->on[RequeueCall(0)] = [] { LowerFailure(GC_ERR_INVALID_BUFFER, "no such buffer"); };
    script->on[RequeueCall(1)] = [] { throw std::runtime_error("not a GenTL failure"); };
    DeliverAll(2);
    RunToTheEnd(2);
    EXPECT_EQ(log.Lines(), (Calls{"error: no such buffer", "error: not a GenTL failure"}));
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
    EXPECT_EQ(FrameIds(buffers), (Ids{1, 2}));
}

TEST_F(WorkerFrames, TellTheEndAlsoWhenTheLowerStopFails)
{
    const LogCapture log;
    Queue(1);
    script->on["StopAcquisition"] = [] { LowerFailure(GC_ERR_IO, "cable"); };
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{"error: cable"});
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
    EXPECT_EQ(calls->CountOf("RevokeBuffers"), 0);
}

TEST_F(WorkerFrames, TellTheEndAlsoWhenTheRevokeFails)
{
    const LogCapture log;
    Queue(1);
    script->on["RevokeBuffers"] = [] { throw 5; };
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{"critical: Unknown exception thrown in acquisition thread"});
    EXPECT_THAT(log.Origins(), testing::Each("AcquisitionWorker::RunAcquisition"));
}

TEST_F(WorkerFrames, EndWithoutAnyoneToTell)
{
    worker->SetFinishedCallback({});
    Queue(1);
    Deliver(0);
    worker->StartAcquisition(1);
    ASSERT_TRUE(calls->WaitFor("RevokeBuffers"));
    worker.reset();
    EXPECT_EQ(calls->CountOf("Close"), 1);
}

class WorkerFramesDeathTest : public WorkerFrames
{
protected:
    /// Delivers one frame and gives the process half a minute to end.
    void RunUntilDeath()
    {
        Queue(1);
        Deliver(0);
        worker->StartAcquisition(1);
        calls->WaitFor("never");
    }
};

TEST_F(WorkerFramesDeathTest, EndTheProcessWhenTheSinkRefuses)
{
    EXPECT_DEATH(
        {
            onPush = [] { throw std::runtime_error("refused"); };
            RunUntilDeath();
        },
        "refused");
}

TEST_F(WorkerFramesDeathTest, EndTheProcessWhenTheSinkIsGone)
{
    EXPECT_DEATH(
        {
            processor->onProcess = [&](const InputData &, std::span<uint8_t>)
            {
                worker->SetBufferCallbacks({}, {});
                return ProcessingResult{};
            };
            RunUntilDeath();
        },
        "terminate");
}

TEST_F(WorkerFramesDeathTest, ForeignExceptionOfRequeueEndsTheProcess)
{
    EXPECT_DEATH(
        {
            script->on[RequeueCall(0)] = [] { throw 5; };
            RunUntilDeath();
        },
        "terminate");
}

} // namespace
} // namespace GenTL::internal
