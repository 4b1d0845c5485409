#include "datastream/proxy_datastream.h"
#include "fake_lower_stream.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_lower_buffers.h"
#include "support/handles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using Calls = std::vector<std::string>;

/// A register of 8 bytes, little-endian, behind an Integer with the conditions given.
std::string DroppedFrameDescription(const std::string &conditions, const std::string &access = "RO",
                                    const std::string &name = "StreamDroppedFrameCount")
{
    const auto reg = [](const std::string &node, int address, int length, const std::string &mode)
    {
        return fmt::format("<IntReg Name=\"{}\"><Address>0x{:X}</Address><Length>{}</Length>"
                           "<AccessMode>{}</AccessMode><pPort>StreamPort</pPort>"
                           "<Endianess>LittleEndian</Endianess></IntReg>",
                           node, address, length, mode);
    };
    return "<RegisterDescription><Integer Name=\"" + name + "\">" + conditions +
           "<pValue>CountReg</pValue></Integer>" + reg("CountReg", 0x10, 8, access) +
           reg("AvailableReg", 0x20, 4, "RO") + reg("ImplementedReg", 0x24, 4, "RO") +
           "<Port Name=\"StreamPort\"/></RegisterDescription>";
}

const std::string bothConditions =
    "<pIsImplemented>ImplementedReg</pIsImplemented><pIsAvailable>AvailableReg</pIsAvailable>";

class ProxyStreamFixture : public testing::Test
{
protected:
    ProxyStreamFixture()
    {
        lowerBuffers.Serve(*proxy);
        lower.Serve(*proxy);
    }

    std::unique_ptr<ProxyDataStream> Open()
    {
        return ProxyDataStream::Open(proxy, LowerHandle(0x10),
                                     [this]
                                     {
                                         ++numDeviceReads;
                                         return readDevice();
                                     });
    }

    /// Opened, with the calls of opening forgotten.
    std::unique_ptr<ProxyDataStream> Opened()
    {
        auto opened = Open();
        calls.clear();
        return opened;
    }

    FakeLowerStream lower;
    FakeLowerBuffers lowerBuffers;
    Calls &calls = lower.calls;
    int numDeviceReads = 0;
    std::function<size_t()> readDevice = [] { return size_t{7000}; };
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
};

class ProxyDataStreamOpen : public ProxyStreamFixture
{
};

TEST_F(ProxyDataStreamOpen, ReadsTheDescriptionOfTheFirstStream)
{
    const auto opened = Open();
    EXPECT_EQ(calls, (Calls{"DevGetNumDataStreams 0x10", "DevGetDataStreamID 0x10 0 size",
                            "DevGetDataStreamID 0x10 0 text", "DevOpenDataStream 0x10 LowerStream",
                            "GCRegisterEvent 0x20 1", "GCGetPortURLInfo 0x20 0 7",
                            "GCGetPortURLInfo 0x20 0 8", "GCReadPort 0x20 0x10000 22"}));
    EXPECT_EQ(opened->GetLowerHandle(), lower.stream);
    EXPECT_EQ(static_cast<int>(opened->GetModuleType()), 6);
}

TEST_F(ProxyDataStreamOpen, LeavesFurtherStreamsUntouched)
{
    lower.numStreams = 3;
    const auto opened = Open();
    EXPECT_EQ(proxy->CountOf("DevOpenDataStream"), 1U);
    EXPECT_EQ(proxy->CountOf("DevGetDataStreamID"), 2U);
    EXPECT_EQ(calls[1], "DevGetDataStreamID 0x10 0 size");
}

TEST_F(ProxyDataStreamOpen, FailsWithoutAStream)
{
    lower.numStreams = 0;
    EXPECT_EQ(FailureOf([&] { Open(); }), PlainFailure("Failed to get number of data streams"));
    EXPECT_EQ(calls, Calls{"DevGetNumDataStreams 0x10"});
}

TEST_F(ProxyDataStreamOpen, PassesTheFailuresOfTheLowerDevice)
{
    const Failure failure{"lower says no", GC_ERR_ACCESS_DENIED};
    const auto fail = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_ACCESS_DENIED, "lower says no"); };
    const auto getNum = std::exchange(proxy->onDevGetNumDataStreams, fail);
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
    proxy->onDevGetNumDataStreams = getNum;
    const auto getId = std::exchange(proxy->onDevGetDataStreamID, fail);
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
    proxy->onDevGetDataStreamID = getId;
    const auto open = std::exchange(proxy->onDevOpenDataStream, fail);
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
    proxy->onDevOpenDataStream = open;
    const auto registerEvent = std::exchange(proxy->onGCRegisterEvent, fail);
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
    proxy->onGCRegisterEvent = registerEvent;
    const auto urlInfo = std::exchange(proxy->onGCGetPortURLInfo, fail);
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
    proxy->onGCGetPortURLInfo = urlInfo;
    proxy->onGCReadPort = fail;
    EXPECT_EQ(FailureOf([&] { Open(); }), failure);
}

TEST_F(ProxyDataStreamOpen, ClosesTheLowerStreamAgainWhenItFails)
{
    const auto fail = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_IO, "cable"); };
    const auto callsAfterOpening = [this]
    {
        calls.clear();
        EXPECT_EQ(FailureOf([&] { Open(); }), (Failure{"cable", GC_ERR_IO}));
        const auto opening = std::ranges::find(calls, "DevOpenDataStream 0x10 LowerStream");
        return Calls(opening + 1, calls.end());
    };
    const auto registerEvent = std::exchange(proxy->onGCRegisterEvent, fail);
    EXPECT_EQ(callsAfterOpening(), Calls{"DSClose 0x20"});
    proxy->onGCRegisterEvent = registerEvent;
    const auto urlInfo = std::exchange(proxy->onGCGetPortURLInfo, fail);
    EXPECT_EQ(callsAfterOpening(),
              (Calls{"GCRegisterEvent 0x20 1", "GCUnregisterEvent 0x20 1", "DSClose 0x20"}));
    proxy->onGCGetPortURLInfo = urlInfo;
    proxy->onGCReadPort = fail;
    EXPECT_EQ(callsAfterOpening(),
              (Calls{"GCRegisterEvent 0x20 1", "GCGetPortURLInfo 0x20 0 7", "GCGetPortURLInfo 0x20 0 8",
                     "GCUnregisterEvent 0x20 1", "DSClose 0x20"}));
    proxy->onDSClose = [](auto &&...) -> GC_ERROR { throw std::runtime_error("gone"); };
    EXPECT_EQ(FailureOf([&] { Open(); }), (Failure{"cable", GC_ERR_IO}));
}

TEST_F(ProxyDataStreamOpen, WorksWithABadDescription)
{
    lower.description = "<RegisterDescription><";
    const auto opened = Open();
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    EXPECT_EQ(opened->GetLowerPayloadSize(), 5000U);
}

class ProxyDataStreamEnd : public ProxyStreamFixture
{
};

TEST_F(ProxyDataStreamEnd, UnregistersTheEventThenCloses)
{
    Opened().reset();
    EXPECT_EQ(calls, (Calls{"GCUnregisterEvent 0x20 1", "DSClose 0x20"}));
}

TEST_F(ProxyDataStreamEnd, IsQuietWhenTheLowerDeviceIsClosed)
{
    auto opened = Opened();
    proxy->onGCUnregisterEvent = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_INVALID_HANDLE); };
    EXPECT_NO_THROW(opened.reset());
    EXPECT_EQ(proxy->CountOf("GCUnregisterEvent"), 1U);
    EXPECT_EQ(proxy->CountOf("DSClose"), 0U);
}

TEST_F(ProxyDataStreamEnd, IsQuietWhenTheCloseFails)
{
    auto opened = Opened();
    proxy->onDSClose = [](auto &&...) -> GC_ERROR { throw std::runtime_error("gone"); };
    EXPECT_NO_THROW(opened.reset());
    EXPECT_EQ(proxy->CountOf("DSClose"), 1U);
}

class ProxyDataStreamBuffers : public ProxyStreamFixture
{
};

TEST_F(ProxyDataStreamBuffers, AreAsManyAsTheLowerMinimum)
{
    lower.minimum = 2;
    Opened()->AnnounceBuffers();
    calls.resize(7);
    EXPECT_EQ(calls, (Calls{"DSGetInfo 0x20 9 1", "DSGetInfo 0x20 7 8", "DSGetInfo 0x20 12 8",
                            "DSAllocAndAnnounceBuffer 0x20 5000 null", "DSQueueBuffer 0x20 0x100",
                            "DSAllocAndAnnounceBuffer 0x20 5000 null", "DSQueueBuffer 0x20 0x101"}));
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 2U);
}

TEST_F(ProxyDataStreamBuffers, AreNoneForAMinimumOfZero)
{
    lower.minimum = 0;
    Opened()->AnnounceBuffers();
    EXPECT_EQ(proxy->CountOf("DSAllocAndAnnounceBuffer"), 0U);
    EXPECT_EQ(proxy->CountOf("DSQueueBuffer"), 0U);
}

TEST_F(ProxyDataStreamBuffers, AreRevokedAfterAFlush)
{
    lower.minimum = 2;
    const auto opened = Opened();
    opened->AnnounceBuffers();
    calls.clear();
    opened->RevokeBuffers();
    EXPECT_EQ(calls, (Calls{"DSFlushQueue 0x20 4", "DSRevokeBuffer 0x20 0x100 null null",
                            "DSRevokeBuffer 0x20 0x101 null null"}));
}

TEST_F(ProxyDataStreamBuffers, StartFromAnEmptyListAfterARevoke)
{
    lower.minimum = 1;
    const auto opened = Opened();
    opened->AnnounceBuffers();
    opened->RevokeBuffers();
    opened->AnnounceBuffers();
    calls.clear();
    opened->RevokeBuffers();
    EXPECT_EQ(calls, (Calls{"DSFlushQueue 0x20 4", "DSRevokeBuffer 0x20 0x101 null null"}));
}

TEST_F(ProxyDataStreamBuffers, StayListedWhenARevokeFails)
{
    lower.minimum = 2;
    const auto opened = Opened();
    opened->AnnounceBuffers();
    const auto revoke = proxy->onDSRevokeBuffer;
    proxy->onDSRevokeBuffer = [&](DS_HANDLE handle, BUFFER_HANDLE buffer, void **base, void **user)
    {
        if (buffer == LowerHandle(0x101))
        {
            LowerFailure(GC_ERR_BUSY, "in use");
        }
        return revoke(handle, buffer, base, user);
    };
    EXPECT_EQ(FailureOf([&] { opened->RevokeBuffers(); }), (Failure{"in use", GC_ERR_BUSY}));
    proxy->onDSRevokeBuffer = revoke;
    calls.clear();
    opened->RevokeBuffers();
    EXPECT_EQ(calls, (Calls{"DSFlushQueue 0x20 4", "DSRevokeBuffer 0x20 0x100 null null",
                            "DSRevokeBuffer 0x20 0x101 null null"}));
}

TEST_F(ProxyDataStreamBuffers, StayAnnouncedWhenOneFails)
{
    const auto opened = Opened();
    proxy->onDSQueueBuffer = [&](DS_HANDLE, BUFFER_HANDLE buffer) -> GC_ERROR
    {
        if (buffer == LowerHandle(0x101))
        {
            LowerFailure(GC_ERR_RESOURCE_IN_USE, "no room");
        }
        return GC_ERR_SUCCESS;
    };
    EXPECT_EQ(FailureOf([&] { opened->AnnounceBuffers(); }), (Failure{"no room", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 0U);
    calls.clear();
    opened->RevokeBuffers();
    EXPECT_EQ(calls, (Calls{"DSFlushQueue 0x20 4", "DSRevokeBuffer 0x20 0x100 null null"}));
}

TEST_F(ProxyDataStreamBuffers, AreRevokedOnceByTwoThreads)
{
    lower.minimum = 500;
    const auto opened = Opened();
    opened->AnnounceBuffers();
    proxy->onDSFlushQueue = {};
    proxy->onDSRevokeBuffer = {};
    auto other = std::async(std::launch::async, [&] { opened->RevokeBuffers(); });
    opened->RevokeBuffers();
    other.get();
    EXPECT_EQ(proxy->CountOf("DSFlushQueue"), 2U);
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), lower.minimum);
}

TEST_F(ProxyDataStreamBuffers, AreNotRevokedWhenTheFlushFails)
{
    const auto opened = Opened();
    opened->AnnounceBuffers();
    proxy->onDSFlushQueue = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_BUSY, "busy"); };
    EXPECT_EQ(FailureOf([&] { opened->RevokeBuffers(); }), (Failure{"busy", GC_ERR_BUSY}));
    EXPECT_EQ(proxy->CountOf("DSRevokeBuffer"), 0U);
}

class ProxyDataStreamAcquisition : public ProxyStreamFixture
{
};

TEST_F(ProxyDataStreamAcquisition, StartsWithTheNumberGiven)
{
    Opened()->StartAcquisition(GENTL_INFINITE);
    EXPECT_EQ(calls[0], "DSStartAcquisition 0x20 0 0xffffffffffffffff");
}

TEST_F(ProxyDataStreamAcquisition, StopsByKillAndThenWakesTheWaiter)
{
    const auto opened = Opened();
    opened->StopAcquisition();
    EXPECT_EQ(calls, (Calls{"DSStopAcquisition 0x20 1", "EventKill 0x30"}));
}

TEST_F(ProxyDataStreamAcquisition, WakesNobodyWhenTheStopFails)
{
    const auto opened = Opened();
    proxy->onDSStopAcquisition = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_BUSY, "busy"); };
    EXPECT_EQ(FailureOf([&] { opened->StopAcquisition(); }), (Failure{"busy", GC_ERR_BUSY}));
    EXPECT_EQ(proxy->CountOf("EventKill"), 0U);
}

TEST_F(ProxyDataStreamAcquisition, WaitsForALowerBuffer)
{
    uint8_t memory[16]{};
    lowerBuffers.AddImage(LowerHandle(0x100), memory, sizeof memory);
    const auto opened = Opened();
    const auto buffer = opened->WaitForBuffer(1234);
    EXPECT_EQ(calls, Calls{"EventGetData 0x30 16 1234"});
    EXPECT_EQ(buffer.GetLowerHandle(), LowerHandle(0x100));
    EXPECT_EQ(buffer.DataStream(), lower.stream);
    EXPECT_EQ(buffer.Base(), memory);
    EXPECT_EQ(buffer.Size(), sizeof memory);
    EXPECT_EQ(lowerBuffers.Asked(), (std::vector<std::string>{"info 0", "info 1"}));

    calls.clear();
    opened->RequeueBuffer(buffer);
    EXPECT_EQ(calls, Calls{"DSQueueBuffer 0x20 0x100"});
}

TEST_F(ProxyDataStreamAcquisition, PassesTimeoutAndAbortOfTheWait)
{
    const auto opened = Opened();
    for (const GC_ERROR code : {GC_ERR_TIMEOUT, GC_ERR_ABORT})
    {
        proxy->onEventGetData = [code](auto &&...) -> GC_ERROR { LowerFailure(code, "no buffer"); };
        EXPECT_EQ(FailureOf([&] { opened->WaitForBuffer(1); }), (Failure{"no buffer", code}));
    }
    EXPECT_TRUE(lowerBuffers.Asked().empty());
}

TEST_F(ProxyDataStreamAcquisition, PassesAFailingRequeue)
{
    lowerBuffers.AddImage(LowerHandle(0x100), nullptr, 0);
    const auto opened = Opened();
    const auto buffer = opened->WaitForBuffer(1);
    proxy->onDSQueueBuffer = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_INVALID_BUFFER, "bad"); };
    EXPECT_EQ(FailureOf([&] { opened->RequeueBuffer(buffer); }), (Failure{"bad", GC_ERR_INVALID_BUFFER}));
}

class ProxyDataStreamPayloadSize : public ProxyStreamFixture
{
};

TEST_F(ProxyDataStreamPayloadSize, IsTheLowerStreamsOwn)
{
    EXPECT_EQ(Opened()->GetLowerPayloadSize(), 5000U);
    lower.definesPayloadSize = 2;
    EXPECT_EQ(Opened()->GetLowerPayloadSize(), 5000U);
    EXPECT_EQ(numDeviceReads, 0);
}

TEST_F(ProxyDataStreamPayloadSize, IsTheDevicesWithoutTheStreams)
{
    lower.definesPayloadSize = 0;
    const auto opened = Opened();
    EXPECT_EQ(opened->GetLowerPayloadSize(), 7000U);
    EXPECT_EQ(calls, Calls{"DSGetInfo 0x20 9 1"});
    EXPECT_EQ(numDeviceReads, 1);

    opened->AnnounceBuffers();
    EXPECT_EQ(calls[3], "DSAllocAndAnnounceBuffer 0x20 7000 null");
}

TEST_F(ProxyDataStreamPayloadSize, IsTheDevicesWhenTheStreamFails)
{
    const auto opened = Opened();
    proxy->onDSGetInfo = [](auto &&...) -> GC_ERROR { LowerFailure(GC_ERR_NOT_IMPLEMENTED); };
    EXPECT_EQ(opened->GetLowerPayloadSize(), 7000U);
    proxy->onDSGetInfo = [](auto &&...) -> GC_ERROR { throw std::runtime_error("not a GenTL failure"); };
    EXPECT_EQ(opened->GetLowerPayloadSize(), 7000U);
}

TEST_F(ProxyDataStreamPayloadSize, FailsWhenADefinedSizeCannotBeRead)
{
    const auto opened = Opened();
    proxy->onDSGetInfo = [](DS_HANDLE, STREAM_INFO_CMD command, INFO_DATATYPE *, void *buffer,
                            size_t *size) -> GC_ERROR
    {
        if (command != STREAM_INFO_DEFINES_PAYLOADSIZE)
        {
            LowerFailure(GC_ERR_NOT_AVAILABLE, "no size");
        }
        return FakeLowerStream::Write<bool8_t>(buffer, size, 1);
    };
    EXPECT_EQ(FailureOf([&] { opened->GetLowerPayloadSize(); }), (Failure{"no size", GC_ERR_NOT_AVAILABLE}));
    EXPECT_EQ(FailureOf([&] { opened->AnnounceBuffers(); }), (Failure{"no size", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(ProxyDataStreamPayloadSize, PassesAFailureOfTheDevice)
{
    lower.definesPayloadSize = 0;
    readDevice = []() -> size_t { LowerFailure(GC_ERR_IO, "cable"); };
    EXPECT_EQ(FailureOf([&] { Opened()->GetLowerPayloadSize(); }), (Failure{"cable", GC_ERR_IO}));
}

class ProxyDataStreamDroppedFrames : public ProxyStreamFixture
{
protected:
    ProxyDataStreamDroppedFrames()
    {
        lower.description = DroppedFrameDescription(bothConditions);
        lower.registers[0x10] = 0x39;
        lower.registers[0x11] = 0x05;
        lower.registers[0x20] = 1;
        lower.registers[0x24] = 1;
    }
};

TEST_F(ProxyDataStreamDroppedFrames, AreReadFromTheLowerPort)
{
    const auto opened = Opened();
    EXPECT_EQ(opened->GetDroppedFrameCount(), 1337U);
    EXPECT_EQ(calls, (Calls{"GCReadPort 0x20 0x20 4", "GCReadPort 0x20 0x24 4", "GCReadPort 0x20 0x10 8"}));
}

TEST_F(ProxyDataStreamDroppedFrames, AreCheckedForEachTime)
{
    const auto opened = Opened();
    lower.registers[0x20] = 0;
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    lower.registers[0x20] = 1;
    lower.registers[0x24] = 0;
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    lower.registers[0x24] = 1;
    EXPECT_EQ(opened->GetDroppedFrameCount(), 1337U);
}

TEST_F(ProxyDataStreamDroppedFrames, NeedNoConditions)
{
    lower.description = DroppedFrameDescription("");
    EXPECT_EQ(Opened()->GetDroppedFrameCount(), 1337U);
}

TEST_F(ProxyDataStreamDroppedFrames, AreNoneWithoutTheFeature)
{
    lower.description = DroppedFrameDescription("", "RO", "SomethingElse");
    const auto opened = Opened();
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ProxyDataStreamDroppedFrames, AreNoneForAWriteOnlyFeature)
{
    lower.description = DroppedFrameDescription(bothConditions, "WO");
    const auto opened = Opened();
    EXPECT_EQ(opened->GetDroppedFrameCount(), std::nullopt);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ProxyDataStreamDroppedFrames, PassAFailingRead)
{
    const auto opened = Opened();
    const auto read = proxy->onGCReadPort;
    for (const uint64_t failing : {0x20U, 0x24U, 0x10U})
    {
        proxy->onGCReadPort = [&](PORT_HANDLE port, uint64_t address, void *buffer, size_t *size)
        {
            if (address == failing)
            {
                LowerFailure(GC_ERR_IO, fmt::format("at {}", failing));
            }
            return read(port, address, buffer, size);
        };
        EXPECT_EQ(FailureOf([&] { opened->GetDroppedFrameCount(); }),
                  (Failure{fmt::format("at {}", failing), GC_ERR_IO}));
    }
}

} // namespace
} // namespace GenTL::internal
