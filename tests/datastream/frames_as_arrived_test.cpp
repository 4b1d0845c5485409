// A worker that delivers what arrived of a frame, and that outlives its device.

#include "worker_fixture.h"

#include <map>
#include <utility>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

/// Frames as a test describes them. Notes each question in the log of calls.
class FakeFrameReader : public IFrameReader
{
public:
    explicit FakeFrameReader(std::shared_ptr<CallLog> log) : calls(std::move(log)) {}

    void Begin() override { calls->Add("Begin"); }
    LowerFrame Read(const ProxyBuffer &buffer) override
    {
        calls->Add("Read");
        return frames.at(buffer.GetLowerHandle());
    }

    std::shared_ptr<CallLog> calls;
    std::map<void *, LowerFrame> frames;
};

class FramesAsArrived : public WorkerFixture
{
protected:
    static constexpr auto quietWait = "WaitForBuffer 200";

    FramesAsArrived()
    {
        StreamRules rules;
        rules.waitMs = 200;
        rules.logsTimeouts = false;
        rules.stopAlwaysSucceeds = true;
        rules.deliversWhatArrived = true;
        auto made = std::make_unique<FakeFrameReader>(calls);
        reader = made.get();
        for (size_t i = 0; i < 8; ++i)
        {
            auto &frame = reader->frames[LowerBuffer(i)];
            frame.input.data = lowerMemory.data();
            frame.input.size = frameSize;
            frame.input.attributes.frameId = 100 + i;
        }
        worker = std::make_unique<AcquisitionWorker>(std::make_unique<FakeProxyStream>(script), processor,
                                                     std::move(made), rules);
        calls->Clear(); // of the worker that the fixture made
        SetCallbacks();
        processor->onProcess = [this](const InputData &input, std::span<uint8_t>)
        {
            auto processed = result;
            processed.attributes = input.attributes;
            return processed;
        };
    }

    LowerFrame &Told(size_t number) { return reader->frames.at(LowerBuffer(number)); }

    static std::vector<uint64_t> Sizes(const Buffer &buffer)
    {
        return {Info<size_t>(buffer, BUFFER_INFO_SIZE_FILLED), Info<size_t>(buffer, BUFFER_INFO_DATA_SIZE),
                Info<bool8_t>(buffer, BUFFER_INFO_DATA_LARGER_THAN_BUFFER),
                Info<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE)};
    }

    /// Consumer buffers that pass the lower producer's values on.
    std::vector<std::shared_ptr<Buffer>> QueuePassing(size_t count)
    {
        std::vector<std::shared_ptr<Buffer>> made;
        const std::lock_guard guard(lock);
        for (size_t i = 0; i < count; ++i)
        {
            BufferAnswers answers;
            answers.passesLowerValues = true;
            made.push_back(std::make_shared<Buffer>(library, frameSize, nullptr, answers));
            made.back()->SetState(BufferState::Input);
            pool.push_back(made.back());
        }
        return made;
    }

    FakeFrameReader *reader = nullptr;
    ProcessingResult result{.bytesWritten = 40, .dataSize = 48};
};

TEST_F(FramesAsArrived, AreReadBeforeABufferIsTaken)
{
    QueuePassing(1);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(calls->All(), (Calls{"AcquisitionStarted", "AnnounceBuffers", startCall, "Begin", quietWait,
                                   "Read", "Pop", "Process", "Push", RequeueCall(0), "StopAcquisition",
                                   "RevokeBuffers", "AcquisitionStopped", "Finished"}));
}

TEST_F(FramesAsArrived, HaveTheSizesThatTheProcessorTells)
{
    const auto buffers = QueuePassing(1);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(Sizes(*buffers[0]), (std::vector<uint64_t>{40, 48, 0, 0}));
    EXPECT_EQ(FrameIds(buffers), std::vector<uint64_t>{100});
}

TEST_F(FramesAsArrived, AreIncompleteWhenTheyArrivedSo)
{
    const auto buffers = QueuePassing(1);
    Told(0).isIncomplete = true;
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(Sizes(*buffers[0]), (std::vector<uint64_t>{40, 48, 0, 1}));
}

TEST_F(FramesAsArrived, AreIncompleteWhenTheyDoNotFit)
{
    const auto buffers = QueuePassing(1);
    result.isIncomplete = true;
    result.isLargerThanBuffer = true;
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(Sizes(*buffers[0]), (std::vector<uint64_t>{40, 48, 1, 1}));
}

TEST_F(FramesAsArrived, GoIntoBuffersSmallerThanTheLowerOnes)
{
    const auto buffers = Queue(1, frameSize / 2);
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_TRUE(HasNewData(*buffers[0]));
    EXPECT_EQ(calls->CountOf("Process"), 1);
}

TEST_F(FramesAsArrived, KeepNoChunksOfAnEarlierFrame)
{
    const auto buffers = QueuePassing(1);
    result.chunks = ChunkList{.entries = {{1, 0, 8}}};
    Deliver(0);
    RunToTheEnd(1);
    size_t count = 0;
    buffers[0]->DSGetBufferChunkData(nullptr, &count);
    EXPECT_EQ(count, 1U);
    result.chunks.reset();
    pool.push_back(buffers[0]);
    Deliver(1);
    RunToTheEnd(1);
    EXPECT_EQ(FailureOf([&] { buffers[0]->DSGetBufferChunkData(nullptr, &count); }).code, GC_ERR_NO_DATA);
}

TEST_F(FramesAsArrived, ThatFailAreDeliveredWithoutDataAndLoggedOnce)
{
    const LogCapture log;
    const auto buffers = QueuePassing(4);
    Told(0).failure = "part outside";
    Told(1).failure = "part outside";
    Told(2).failure = {};
    processor->onProcess = [](const InputData &, std::span<uint8_t>) -> ProcessingResult
    { throw std::runtime_error("no conversion"); };
    DeliverAll(4);
    RunToTheEnd(4);
    for (const auto &buffer : buffers)
    {
        EXPECT_TRUE(HasNewData(*buffer));
        EXPECT_EQ(Sizes(*buffer), (std::vector<uint64_t>{0, 0, 0, 1}));
        EXPECT_EQ(Info<bool8_t>(*buffer, BUFFER_INFO_IMAGEPRESENT), 0);
    }
    EXPECT_EQ(FrameIds(buffers), (std::vector<uint64_t>{100, 101, 102, 103}));
    EXPECT_EQ(log.Lines(), (Calls{"error: part outside", "error: no conversion"}));
}

TEST_F(FramesAsArrived, AreLostSilentlyWithoutABuffer)
{
    const LogCapture log;
    DeliverAll(2);
    worker->StartAcquisition(GENTL_INFINITE);
    ASSERT_TRUE(calls->WaitFor(quietWait, 3));
    worker->StopAcquisition();
    EXPECT_EQ(calls->CountOf("Pop"), 2);
    EXPECT_EQ(calls->CountOf("Process"), 0);
    EXPECT_EQ(log.Lines(), Calls{});
}

class QuietWait : public FramesAsArrived
{
};

TEST_F(QuietWait, EndsSilentlyWithoutABuffer)
{
    const LogCapture log;
    QueuePassing(1);
    for (const GC_ERROR code : {GC_ERR_TIMEOUT, GC_ERR_ABORT})
    {
        script->DeliverFailure([code] { LowerFailure(code, "no frame"); });
    }
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(calls->CountOf(quietWait), 3);
    EXPECT_EQ(log.Lines(), Calls{});
}

TEST_F(QuietWait, LogsOnceHowItFails)
{
    const LogCapture log;
    QueuePassing(1);
    for (int i = 0; i < 3; ++i)
    {
        script->DeliverFailure([] { LowerFailure(GC_ERR_IO, "cable"); });
    }
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_EQ(log.Lines(), Calls{"error: cable"});
}

class WorkerThatAlwaysStops : public FramesAsArrived
{
};

TEST_F(WorkerThatAlwaysStops, StopsWhatHasEndedByItself)
{
    QueuePassing(1);
    EXPECT_NO_THROW(worker->StopAcquisition());
    Deliver(0);
    RunToTheEnd(1);
    EXPECT_NO_THROW(worker->StopAcquisition());
    EXPECT_EQ(calls->CountOf("StopAcquisition"), 1);
    EXPECT_EQ(calls->CountOf("AcquisitionStopped"), 1);
}

TEST_F(WorkerThatAlwaysStops, UndoesAStartThatFails)
{
    script->on[startCall] = [] { LowerFailure(GC_ERR_IO, "cable"); };
    EXPECT_EQ(FailureOf([&] { worker->StartAcquisition(1); }), (Failure{"cable", GC_ERR_IO}));
    EXPECT_EQ(calls->All(), (Calls{"AcquisitionStarted", "AnnounceBuffers", startCall, "AcquisitionStopped",
                                   "RevokeBuffers"}));
    EXPECT_FALSE(worker->IsRunning());
}

} // namespace
} // namespace GenTL::internal
