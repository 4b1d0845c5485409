// A lower stream whose buffers stay, and which ends whatever its device answers.

#include "datastream/proxy_datastream.h"
#include "fake_lower_stream.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

class TolerantLowerStream : public testing::Test
{
protected:
    TolerantLowerStream()
    {
        rules.lowerBuffers = 3;
        rules.lowerBuffersUnknown = 4;
        rules.keepsLowerBuffers = true;
        rules.needsDescription = false;
        rules.logsTimeouts = false;
        rules.stopAlwaysSucceeds = true;
        rules.deliversWhatArrived = true;
        lower.definesPayloadSize = 0;
        lower.Serve(*proxy);
        proxy->onDSGetBufferInfo =
            [this](DS_HANDLE, BUFFER_HANDLE, BUFFER_INFO_CMD, INFO_DATATYPE *, void *buffer, size_t *size)
        { return FakeLowerStream::Write<void *>(buffer, size, memory); };
    }

    std::unique_ptr<ProxyDataStream> Opened()
    {
        auto opened = ProxyDataStream::Open(
            proxy, LowerHandle(0x10), [this] { return payloadSize; }, rules);
        Forget();
        return opened;
    }

    void Forget()
    {
        lower.calls.clear();
        proxy->ForgetCalls();
    }

    /// Every further call of the lower producer fails, as when the cable is out.
    void LoseDevice()
    {
        const auto fail = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_IO, "gone"); };
        proxy->onDSStopAcquisition = fail;
        proxy->onEventKill = fail;
        proxy->onDSFlushQueue = fail;
        proxy->onDSRevokeBuffer = fail;
        proxy->onGCUnregisterEvent = fail;
        proxy->onDSClose = fail;
        proxy->onDSQueueBuffer = fail;
        proxy->onGCReadPort = fail;
    }

    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeLowerStream lower;
    StreamRules rules;
    size_t payloadSize = 100;
    uint8_t memory[16]{};
};

TEST_F(TolerantLowerStream, AnnouncesThreeBuffersOrMore)
{
    for (const auto &[minimum, count] : {std::pair{0U, 3U}, {1U, 3U}, {3U, 3U}, {5U, 5U}})
    {
        lower.minimum = minimum;
        Opened()->AnnounceBuffers();
        EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), count) << minimum;
    }
}

TEST_F(TolerantLowerStream, AnnouncesFourBuffersForAnUnknownMinimum)
{
    proxy->onDSGetInfo = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_NOT_IMPLEMENTED); };
    Opened()->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 4U);
}

TEST_F(TolerantLowerStream, KeepsItsBuffersBetweenAcquisitions)
{
    const auto opened = Opened();
    opened->AnnounceBuffers();
    for (int i = 0; i < 10; ++i)
    {
        opened->RevokeBuffers();
        opened->AnnounceBuffers();
    }
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 3U);
    EXPECT_EQ(proxy->CountOf("DSQueueBuffer"), 33U);
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 0U);
}

TEST_F(TolerantLowerStream, ReplacesItsBuffersWhenTheFramesGetAnotherSize)
{
    const auto opened = Opened();
    opened->AnnounceBuffers();
    opened->RevokeBuffers();
    payloadSize = 200;
    Forget();
    opened->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 3U);
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 3U);
    EXPECT_EQ(lower.calls.back(), "DSQueueBuffer 0x20 0x105");
}

TEST_F(TolerantLowerStream, ReplacesBuffersThatCannotBeQueued)
{
    const auto opened = Opened();
    opened->AnnounceBuffers();
    opened->RevokeBuffers();
    const auto queue = proxy->onDSQueueBuffer;
    proxy->onDSQueueBuffer = [&](DS_HANDLE stream, BUFFER_HANDLE buffer)
    {
        return buffer == LowerHandle(0x101) ? throw GenTLException("lost", GC_ERR_INVALID_BUFFER)
                                            : queue(stream, buffer);
    };
    opened->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 3U);
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 6U);
}

TEST_F(TolerantLowerStream, LeavesNoBufferBehindAFailedStart)
{
    const auto opened = Opened();
    int numAllocated = 0;
    const auto allocate = proxy->onDSAllocAndAnnounceBuffer;
    proxy->onDSAllocAndAnnounceBuffer = [&](DS_HANDLE stream, size_t size, void *user, BUFFER_HANDLE *buffer)
    {
        return ++numAllocated == 3 ? throw GenTLException("full", GC_ERR_OUT_OF_MEMORY)
                                   : allocate(stream, size, user, buffer);
    };
    EXPECT_EQ(FailureOf([&] { opened->AnnounceBuffers(); }), (Failure{"full", GC_ERR_OUT_OF_MEMORY}));
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 2U);
    Forget();
    opened->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 3U);
}

TEST_F(TolerantLowerStream, RevokesANewBufferThatCannotBeQueued)
{
    const auto opened = Opened();
    proxy->onDSQueueBuffer = [](DS_HANDLE, BUFFER_HANDLE) -> GC_ERROR { LowerFailure(GC_ERR_IO, "full"); };
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(FailureOf([&] { opened->AnnounceBuffers(); }).code, GC_ERR_IO);
    }
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 3U);
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 3U);
}

TEST_F(TolerantLowerStream, RevokesItsBuffersAtTheEnd)
{
    auto opened = Opened();
    opened->AnnounceBuffers();
    opened->RevokeBuffers();
    Forget();
    opened.reset();
    EXPECT_EQ(proxy->Calls(), (Calls{"DSFlushQueue", "DSRevokeBuffer", "DSRevokeBuffer", "DSRevokeBuffer",
                                     "GCUnregisterEvent", "DSClose"}));
}

TEST_F(TolerantLowerStream, StopsAndClosesWithoutItsDevice)
{
    auto opened = Opened();
    opened->AnnounceBuffers();
    LoseDevice();
    Forget();
    EXPECT_NO_THROW(opened->StopAcquisition());
    EXPECT_NO_THROW(opened->RevokeBuffers());
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    EXPECT_NO_THROW(opened.reset());
    EXPECT_EQ(proxy->Calls(),
              (Calls{"DSStopAcquisition", "EventKill", "DSFlushQueue", "DSFlushQueue", "DSRevokeBuffer",
                     "DSRevokeBuffer", "DSRevokeBuffer", "GCUnregisterEvent", "DSClose"}));
}

TEST_F(TolerantLowerStream, NeedsNoDescription)
{
    proxy->onGCReadPort = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_NOT_IMPLEMENTED); };
    const auto opened = Opened();
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    opened->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 3U);
}

TEST_F(TolerantLowerStream, KnowsWhereABufferWasAnnounced)
{
    const auto opened = Opened();
    opened->AnnounceBuffers();
    Forget();
    const auto buffer = opened->WaitForBuffer(200);
    EXPECT_EQ(buffer.GetLowerHandle(), LowerHandle(0x100));
    EXPECT_EQ(buffer.Base(), memory);
    EXPECT_EQ(buffer.Size(), 100U);
    EXPECT_EQ(proxy->Calls(), Calls{"EventGetData"});
}

TEST_F(TolerantLowerStream, RefusesABufferThatItDidNotAnnounce)
{
    const auto opened = Opened();
    EXPECT_EQ(FailureOf([&] { opened->WaitForBuffer(200); }).code, GC_ERR_INVALID_BUFFER);
}

TEST_F(TolerantLowerStream, TellsTheCodeOfAWaitThatFails)
{
    const auto opened = Opened();
    for (const GC_ERROR code : {GC_ERR_TIMEOUT, GC_ERR_ABORT, GC_ERR_IO})
    {
        proxy->onEventGetData = [code](auto &&...) -> GC_ERROR { LowerFailure(code); };
        EXPECT_EQ(FailureOf([&] { opened->WaitForBuffer(200); }).code, code);
    }
}

TEST_F(TolerantLowerStream, TellsHowManyChunksItCanHave)
{
    const auto opened = Opened();
    EXPECT_EQ(opened->GetMaxChunks(), std::nullopt);
    proxy->onDSGetInfo = [](DS_HANDLE, STREAM_INFO_CMD command, INFO_DATATYPE *, void *buffer, size_t *size)
    {
        EXPECT_EQ(command, STREAM_INFO_NUM_CHUNKS_MAX);
        return FakeLowerStream::Write<size_t>(buffer, size, 7);
    };
    EXPECT_EQ(opened->GetMaxChunks(), 7U);
}

} // namespace
} // namespace GenTL::internal
