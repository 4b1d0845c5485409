#include "stream_fixture.h"

namespace GenTL::internal
{
namespace
{

class StreamInfo : public DatastreamFixture, public testing::WithParamInterface<InfoParameter>
{
protected:
    /// 2 delivered, 3 lost, 7 announced, 1 queued and 1 filling, 1 awaiting delivery, 4 started.
    void Fill()
    {
        auto *const event = RegisterEvent();
        const auto handles = QueueMany(4);
        AnnounceMany(3);
        Start();
        for (int i = 0; i < 3; ++i)
        {
            PassFrame();
        }
        worker->source();
        for (int i = 0; i < 3; ++i)
        {
            worker->source();
        }
        Fetch(event);
        Fetch(event);
        stream->QueueBuffer(handles[0]);
    }
};

const std::vector<InfoCase> infoCases{
    {"Id", STREAM_INFO_ID, TypedAnswer::Text("Stream1")},
    {"NumDelivered", STREAM_INFO_NUM_DELIVERED, TypedAnswer::Uint64(2)},
    {"NumUnderrun", STREAM_INFO_NUM_UNDERRUN, TypedAnswer::Uint64(3)},
    {"NumAnnounced", STREAM_INFO_NUM_ANNOUNCED, TypedAnswer::Size(7)},
    {"NumQueued", STREAM_INFO_NUM_QUEUED, TypedAnswer::Size(2)},
    {"NumAwaitDelivery", STREAM_INFO_NUM_AWAIT_DELIVERY, TypedAnswer::Size(1)},
    {"NumStarted", STREAM_INFO_NUM_STARTED, TypedAnswer::Uint64(4)},
    {"PayloadSize", STREAM_INFO_PAYLOAD_SIZE, TypedAnswer::Size(4711)},
    {"IsGrabbing", STREAM_INFO_IS_GRABBING, TypedAnswer::Bool(true)},
    {"DefinesPayloadSize", STREAM_INFO_DEFINES_PAYLOADSIZE, TypedAnswer::Bool(true)},
    {"TlType", STREAM_INFO_TLTYPE, TypedAnswer::Text("GEV")},
    {"NumChunksMax", STREAM_INFO_NUM_CHUNKS_MAX, TypedAnswer::Size(0)},
    {"BufAnnounceMin", STREAM_INFO_BUF_ANNOUNCE_MIN, TypedAnswer::Size(2)},
    {"BufAlignment", STREAM_INFO_BUF_ALIGNMENT, TypedAnswer::Size(1)},
};

TEST_P(StreamInfo, Answers)
{
    Fill();
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected, Ask(info.command), "piType", "piSize");
}

INSTANTIATE_TEST_SUITE_P(Commands, StreamInfo, EveryWayToAsk(infoCases), NameOfInfo);

class StreamInfoCommand : public DatastreamFixture
{
protected:
    Failure FailureFor(int32_t command)
    {
        return FailureOf([&] { Info<uint64_t>(command); });
    }
};

TEST_F(StreamInfoCommand, StartsAtZero)
{
    EXPECT_EQ(NumDelivered(), 0U);
    EXPECT_EQ(NumLost(), 0U);
    EXPECT_EQ(NumStarted(), 0U);
    EXPECT_EQ(NumQueued(), 0U);
    EXPECT_EQ(NumAwaiting(), 0U);
    EXPECT_FALSE(IsGrabbing());
}

TEST_F(StreamInfoCommand, HasNoFlowTable)
{
    EXPECT_EQ(FailureFor(STREAM_INFO_FLOW_TABLE),
              (Failure{"Flow table is not implemented.", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(StreamInfoCommand, HasNoGenDC)
{
    EXPECT_EQ(FailureFor(15), (Failure{"GenDC is not implemented.", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(StreamInfoCommand, IsNotImplementedBeyondThose)
{
    for (const int32_t command : {-1, 16, 1000})
    {
        EXPECT_EQ(FailureFor(command),
                  (Failure{fmt::format("Command {} is not implemented", command), GC_ERR_NOT_IMPLEMENTED}));
    }
}

TEST_F(StreamInfoCommand, NamesNullArgumentsFirst)
{
    size_t size = 8;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    for (const int32_t command : {int32_t{STREAM_INFO_FLOW_TABLE}, 1000})
    {
        EXPECT_EQ(FailureOf([&] { stream->DSGetInfo(command, nullptr, nullptr, &size); }),
                  (Failure{"piType must not be NULL", GC_ERR_INVALID_PARAMETER}));
        EXPECT_EQ(FailureOf([&] { stream->DSGetInfo(command, &type, nullptr, nullptr); }),
                  (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    }
}

class StreamFeatures : public DatastreamFixture
{
};

TEST_F(StreamFeatures, NameTheStream)
{
    std::array<char, 64> id{};
    size_t size = id.size();
    stream->GetNodeMap()->ReadPort(0, id.data(), &size);
    EXPECT_STREQ(id.data(), "Stream1");
    EXPECT_EQ(size, 64U);
}

TEST_F(StreamFeatures, ShowTheFirstTransportLayerTypeWhateverItIs)
{
    EXPECT_EQ(Feature("StreamType"), 0U);
}

TEST_F(StreamFeatures, FollowTheStream)
{
    auto *const event = RegisterEvent();
    QueueMany(5);
    AnnounceMany(1);
    Start();
    PassFrame();
    PassFrame();
    PassFrame();
    const auto incomplete = worker->source();
    worker->sink(incomplete);
    worker->source();
    worker->source();
    Fetch(event);
    EXPECT_EQ(Feature("StreamAnnouncedBufferCount"), 6U);
    EXPECT_EQ(Feature("StreamDeliveredFrameCount"), 1U);
    EXPECT_EQ(Feature("StreamIncompleteFrameCount"), 1U);
    EXPECT_EQ(Feature("StreamLostFrameCount"), 1U);
    EXPECT_EQ(Feature("StreamInputBufferCount"), 1U);
    EXPECT_EQ(Feature("StreamOutputBufferCount"), 3U);
    EXPECT_EQ(Feature("StreamStartedFrameCount"), 5U);
    EXPECT_EQ(Feature("PayloadSize"), 4711U);
    EXPECT_EQ(Feature("StreamIsGrabbing"), 1U);
}

TEST_F(StreamFeatures, CannotBeWrittenButForTheHandlingMode)
{
    const auto write = [&](const std::string &name) {
        return FailureOf([&]
                         { nodemap::WriteInteger(*stream->GetNodeMap(), description.FindNode(name), 7); });
    };
    EXPECT_EQ(write("StreamBufferHandlingMode"), Failure{});
    EXPECT_EQ(Feature("StreamBufferHandlingMode"), 1U);
    EXPECT_EQ(write("PayloadSize").code, GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(Feature("PayloadSize"), 4711U);
}

TEST_F(StreamFeatures, HaveNoDroppedFrameCountWithoutTheLowerOne)
{
    EXPECT_EQ(Feature("StreamDroppedFrameCountImplementedReg"), 0U);
    EXPECT_EQ(FailureOf([&] { Feature("StreamDroppedFrameCount"); }),
              (Failure{"StreamDroppedFrameCount is not implemented!", GC_ERR_ACCESS_DENIED}));
}

TEST_F(StreamFeatures, ReadTheDroppedFrameCountEachTimeAndDecideOnce)
{
    MakeStream(3);
    EXPECT_EQ(Feature("StreamDroppedFrameCountImplementedReg"), 1U);
    EXPECT_EQ(Feature("StreamDroppedFrameCount"), 3U);
    worker->droppedFrameCount = 4;
    EXPECT_EQ(Feature("StreamDroppedFrameCount"), 4U);
    worker->droppedFrameCount.reset();
    EXPECT_EQ(Feature("StreamDroppedFrameCountImplementedReg"), 1U);
    EXPECT_EQ(FailureOf([&] { Feature("StreamDroppedFrameCount"); }).code, GC_ERR_ACCESS_DENIED);
}

TEST_F(StreamFeatures, StandOnThePortOfAStream)
{
    EXPECT_EQ(static_cast<int>(stream->GetNodeMap()->GetModuleType()), 6);
    const auto text = [&](PORT_INFO_CMD command)
    {
        std::array<char, 64> buffer{};
        size_t size = buffer.size();
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        stream->GetNodeMap()->GetPortInfo(command, &type, buffer.data(), &size);
        return std::string(buffer.data());
    };
    EXPECT_EQ(text(PORT_INFO_PORTNAME), "StreamPort");
    EXPECT_EQ(text(PORT_INFO_TLTYPE), "GEV");
    EXPECT_EQ(nodemap::DataStreamDescription().size(), 24472U);
}

} // namespace
} // namespace GenTL::internal
