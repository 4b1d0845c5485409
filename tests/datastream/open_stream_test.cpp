#include "datastream/datastream.h"
#include "device.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_library.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace GenTL::internal
{
namespace
{

/// An opened device over a lower one with a stream.
class OpenStream : public testing::Test
{
protected:
    OpenStream()
    {
        remote.Serve(*proxy);
        ServeStreams();
        ServeDescription();
        device = std::make_shared<Device>(&library.instances, proxy, LowerHandle(0x10), nullptr);
        device->SetHandle(device.get());
        proxy->ForgetCalls();
    }

    void ServeStreams()
    {
        proxy->onDevGetPort = [](DEV_HANDLE, PORT_HANDLE *port)
        {
            *port = LowerHandle(0x15);
            return GC_ERR_SUCCESS;
        };
        proxy->onDevGetNumDataStreams = [this](DEV_HANDLE, uint32_t *count)
        {
            *count = numStreams;
            return GC_ERR_SUCCESS;
        };
        proxy->onDevGetDataStreamID = [](DEV_HANDLE, uint32_t, char *id, size_t *size)
        {
            constexpr std::string_view text = "LowerStream";
            if (id != nullptr)
            {
                text.copy(id, text.size());
            }
            *size = text.size() + 1;
            return GC_ERR_SUCCESS;
        };
        proxy->onDevOpenDataStream = [this](DEV_HANDLE, const char *, DS_HANDLE *opened)
        {
            *opened = LowerHandle(nextStream++);
            return GC_ERR_SUCCESS;
        };
        proxy->onDSClose = [this](DS_HANDLE closed)
        {
            lastClosed = closed;
            return GC_ERR_SUCCESS;
        };
    }

    void ServeDescription()
    {
        proxy->onGCGetPortURLInfo =
            [this](PORT_HANDLE, uint32_t, URL_INFO_CMD command, INFO_DATATYPE *, void *buffer, size_t *)
        {
            const uint64_t value = command == URL_INFO_FILE_REGISTER_ADDRESS ? remote.descriptionAddress
                                                                             : remote.description.size();
            std::memcpy(buffer, &value, sizeof value);
            return GC_ERR_SUCCESS;
        };
    }

    Failure FailureFor(const char *id)
    {
        return FailureOf([&] { device->DevOpenDataStream(id, &handle); });
    }

    /// Closes the stream as DSClose does.
    void Close()
    {
        device->ReleaseDataStream();
        library.instances.datastreams.Remove(handle);
    }

    FakeLibrary library;
    FakeRemoteDevice remote;
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    uint32_t numStreams = 1;
    uintptr_t nextStream = 0x20;
    DS_HANDLE lastClosed = nullptr;
    DS_HANDLE handle = nullptr;
    std::shared_ptr<Device> device;
};

TEST_F(OpenStream, RegistersAStreamOfTheDevice)
{
    device->DevOpenDataStream("Stream1", &handle);
    const auto stream = library.instances.datastreams.Find(handle);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->GetParentHandle(), device.get());
    EXPECT_EQ(proxy->CountOf("DevOpenDataStream"), 1U);
}

TEST_F(OpenStream, PassesAnIdDownThatCameWithoutItsEnd)
{
    constexpr std::string_view bare = "LowerStream";
    proxy->onDevGetDataStreamID = [&](DEV_HANDLE, uint32_t, char *id, size_t *size)
    {
        if (id != nullptr)
        {
            bare.copy(id, *size);
        }
        *size = bare.size();
        return GC_ERR_SUCCESS;
    };
    size_t length = 0;
    proxy->onDevOpenDataStream = [&](DEV_HANDLE, const char *id, DS_HANDLE *opened)
    {
        length = strnlen(id, bare.size() + 1);
        *opened = LowerHandle(nextStream++);
        return GC_ERR_SUCCESS;
    };
    device->DevOpenDataStream("Stream1", &handle);
    EXPECT_EQ(length, bare.size());
}

TEST_F(OpenStream, LeavesNoPayloadSizeBehindAFailure)
{
    static bool definesPayloadSize; // for functions without a capture
    definesPayloadSize = false;
    Assembly assembly;
    assembly.makeRemoteSide = [](const LowerDevice &lowerDevice)
    {
        auto side = MakeOverriddenRemoteSide(lowerDevice);
        side.setStreamPayloadSize = [](const auto &size) { definesPayloadSize = static_cast<bool>(size); };
        return side;
    };
    assembly.makeFrameReader = [](const FrameSource &) -> std::unique_ptr<IFrameReader>
    { throw GenTLException("no reader", GC_ERR_OUT_OF_MEMORY); };
    device =
        std::make_shared<Device>(&library.instances, proxy, LowerHandle(0x10), nullptr, Profile(), assembly);
    EXPECT_EQ(FailureFor("Stream1"), (Failure{"no reader", GC_ERR_OUT_OF_MEMORY}));
    EXPECT_EQ(proxy->CountOf("DSClose"), 1U);
    EXPECT_FALSE(definesPayloadSize);
    assembly.makeFrameReader = MakeBriefFrameReader;
    device =
        std::make_shared<Device>(&library.instances, proxy, LowerHandle(0x10), nullptr, Profile(), assembly);
    device->DevOpenDataStream("Stream1", &handle);
    EXPECT_TRUE(definesPayloadSize);
}

TEST_F(OpenStream, NamesTheNullArgumentFirst)
{
    EXPECT_EQ(FailureOf([&] { device->DevOpenDataStream(nullptr, nullptr); }),
              (Failure{"sDataStreamID must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { device->DevOpenDataStream("other", nullptr); }),
              (Failure{"phDataStream must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(OpenStream, RefusesAnyOtherIdAlsoThatOfTheLowerStream)
{
    for (const std::string id : {"stream1", "LowerStream", "", "Stream", "Stream11", "{}"})
    {
        EXPECT_EQ(FailureFor(id.c_str()),
                  (Failure{"Invalid stream id " + id + " supplied", GC_ERR_INVALID_PARAMETER}));
    }
    EXPECT_TRUE(proxy->Calls().empty());
    EXPECT_EQ(handle, nullptr);
}

TEST_F(OpenStream, RefusesASecondOneUntilTheFirstIsClosed)
{
    device->DevOpenDataStream("Stream1", &handle);
    auto *const first = handle;
    EXPECT_EQ(FailureFor("Stream1"),
              (Failure{"Datastream Stream1 is already in use ", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(FailureFor("stream1").code, GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(handle, first);
    EXPECT_EQ(proxy->CountOf("DevOpenDataStream"), 1U);

    Close();
    EXPECT_EQ(lastClosed, LowerHandle(0x20));
    device->DevOpenDataStream("Stream1", &handle);
    // A new lower stream, while the remote port stays the same.
    EXPECT_EQ(proxy->CountOf("DevOpenDataStream"), 2U);
    EXPECT_EQ(proxy->CountOf("DevGetPort"), 0U);
    Close();
    EXPECT_EQ(lastClosed, LowerHandle(0x21));
}

TEST_F(OpenStream, EndsWithItsDeviceAfterTheLowerDeviceIsClosed)
{
    device->DevOpenDataStream("Stream1", &handle);
    proxy->ForgetCalls();
    size_t streamsClosedBefore = 1;
    proxy->onDevClose = [&](DEV_HANDLE)
    {
        streamsClosedBefore = proxy->CountOf("DSClose");
        return GC_ERR_SUCCESS;
    };
    device.reset();
    EXPECT_EQ(proxy->CountOf("DevClose"), 1U);
    EXPECT_EQ(streamsClosedBefore, 0U);
    EXPECT_EQ(proxy->CountOf("DSClose"), 1U);
    EXPECT_FALSE(library.instances.datastreams.Contains(handle));
}

TEST_F(OpenStream, StaysRegisteredWhenTheLowerDeviceDoesNotClose)
{
    device->DevOpenDataStream("Stream1", &handle);
    proxy->onDevClose = [](DEV_HANDLE) -> GC_ERROR { LowerFailure(GC_ERR_IO); };
    device.reset();
    EXPECT_TRUE(library.instances.datastreams.Contains(handle));
    EXPECT_EQ(proxy->CountOf("DSClose"), 0U);
    library.instances.datastreams.Remove(handle);
    EXPECT_EQ(lastClosed, LowerHandle(0x20));
}

TEST_F(OpenStream, FailsWithoutALowerStreamAndCanBeTriedAgain)
{
    numStreams = 0;
    EXPECT_EQ(FailureFor("Stream1"), PlainFailure("Failed to get number of data streams"));
    EXPECT_EQ(handle, nullptr);
    numStreams = 1;
    EXPECT_EQ(FailureFor("Stream1"), Failure{});
}

TEST_F(OpenStream, ClosesTheLowerStreamWhenItCannotBeUsed)
{
    // Well-formed, but the value of the dropped frame count cannot be read.
    remote.description = "<RegisterDescription><Integer Name=\"StreamDroppedFrameCount\"><pValue>Reg</pValue>"
                         "</Integer><IntReg Name=\"Reg\"><Address>0x5000</Address><Length>8</Length>"
                         "<AccessMode>RO</AccessMode><pPort>StreamPort</pPort></IntReg>"
                         "<Port Name=\"StreamPort\"/></RegisterDescription>";
    EXPECT_EQ(FailureFor("Stream1"), (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(lastClosed, LowerHandle(0x20));
    remote.description = SmallDeviceDescription();
    EXPECT_EQ(FailureFor("Stream1"), Failure{});
}

} // namespace
} // namespace GenTL::internal
