#include "device.h"

#include "instance_manager.h"
#include "remoteport.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;

struct DeviceTest : testing::Test
{
    const DEV_HANDLE lowerHandle = LowerHandle(0xDE);
    const PORT_HANDLE lowerPort = LowerHandle(0x907);
    const IF_HANDLE parentHandle = LowerHandle(0x1F);

    InstanceManager manager;
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeRemoteDevice remoteDevice;

    void SetUp() override
    {
        remoteDevice.Serve(*proxy);
        proxy->onDevGetPort = [this](DEV_HANDLE handle, PORT_HANDLE *port)
        {
            EXPECT_EQ(handle, lowerHandle);
            *port = lowerPort;
            return GC_ERR_SUCCESS;
        };
    }

    std::unique_ptr<Device> Make()
    {
        return std::make_unique<Device>(&manager, proxy, lowerHandle, parentHandle);
    }
};

PORT_HANDLE PortOf(Device &device)
{
    PORT_HANDLE port = nullptr;
    device.DevGetPort(&port);
    return port;
}

using DeviceOpening = DeviceTest;
using DeviceClosing = DeviceTest;
using DeviceStreamId = DeviceTest;

TEST_F(DeviceTest, IsADeviceWithItsParentAndItsLowerHandle)
{
    const auto device = Make();
    EXPECT_EQ(device->GetModuleType(), ModuleType::Device);
    EXPECT_EQ(device->GetLowerHandle(), lowerHandle);
    EXPECT_EQ(device->GetParentHandle(), parentHandle);
}

TEST_F(DeviceOpening, RegistersARemotePortOverTheLowerPort)
{
    const auto device = Make();
    const auto handle = PortOf(*device);
    const auto port = manager.remotePorts.Find(handle);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(port->GetLowerHandle(), lowerPort);
    EXPECT_EQ(port->GetModuleType(), ModuleType::RemoteDevice);
    EXPECT_NE(handle, lowerPort);
}

TEST_F(DeviceOpening, ClosesTheLowerDeviceThatHasNoPort)
{
    std::vector<DEV_HANDLE> closed;
    proxy->onDevClose = [&](DEV_HANDLE handle) -> GC_ERROR
    {
        closed.push_back(handle);
        LowerFailure(GC_ERR_BUSY, "does not close");
    };
    proxy->onDevGetPort = [](DEV_HANDLE, PORT_HANDLE *) -> GC_ERROR { LowerFailure(GC_ERR_IO, "no port"); };
    EXPECT_EQ(MakeFailure(*this), (Failure{"no port", GC_ERR_IO}));
    EXPECT_THAT(closed, ElementsAre(lowerHandle));
}

TEST_F(DeviceOpening, ClosesTheLowerDeviceWhenItsDescriptionIsOfNoUse)
{
    remoteDevice.url = "file:///tmp/a.xml";
    std::vector<DEV_HANDLE> closed;
    proxy->onDevClose = [&](DEV_HANDLE handle)
    {
        closed.push_back(handle);
        return GC_ERR_SUCCESS;
    };
    EXPECT_THROW(Make(), std::exception);
    EXPECT_THAT(closed, ElementsAre(lowerHandle));
}

TEST_F(DeviceOpening, DoesNotTellWhyADescriptionIsOfNoUse)
{
    const auto expectBareException = [this]
    {
        try
        {
            Make();
            ADD_FAILURE() << "opened";
        }
        catch (const std::exception &exception)
        {
            EXPECT_EQ(typeid(exception), typeid(std::exception)) << exception.what();
        }
    };
    // A GenTLException, an exception of the conversion, a lower failure.
    remoteDevice.url = "file:///tmp/a.xml";
    expectBareException();
    remoteDevice.url = "local:///a.xml;;10";
    expectBareException();
    proxy->onGCGetPortURL = [](PORT_HANDLE, char *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_TIMEOUT, "no URL"); };
    expectBareException();
    EXPECT_EQ(proxy->CountOf("DevClose"), 3U);
}

TEST_F(DeviceOpening, TellsTheLogWhyADescriptionIsOfNoUse)
{
    remoteDevice.url = "file:///tmp/a.xml";
    const LogCapture log;
    EXPECT_THROW(Make(), std::exception);
    EXPECT_THAT(log.Lines(), ElementsAre("debug: The device cannot be opened: Parser not initialized"));
}

TEST_F(DeviceOpening, LetsAnyOtherExceptionThrough)
{
    proxy->onGCGetPortURL = [](PORT_HANDLE, char *, size_t *) -> GC_ERROR { throw 5; };
    EXPECT_THROW(Make(), int);
    EXPECT_EQ(proxy->CountOf("DevClose"), 0U);
}

TEST_F(DeviceTest, NamesTheNullArgumentOfGetPort)
{
    const auto device = Make();
    EXPECT_EQ(FailureOf([&] { device->DevGetPort(nullptr); }),
              (Failure{"phRemoteDevice must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(DeviceTest, HasOneStreamWhateverTheLowerDeviceHas)
{
    proxy->onDevGetNumDataStreams = [](DEV_HANDLE, uint32_t *count)
    {
        *count = 3;
        return GC_ERR_SUCCESS;
    };
    const auto device = Make();
    uint32_t count = 0;
    device->DevGetNumDataStreams(&count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(proxy->CountOf("DevGetNumDataStreams"), 0U);
    EXPECT_EQ(FailureOf([&] { device->DevGetNumDataStreams(nullptr); }),
              (Failure{"piNumDataStreams must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(DeviceStreamId, IsStream1)
{
    const auto device = Make();
    size_t size = 0;
    device->DevGetDataStreamID(0, nullptr, &size);
    EXPECT_EQ(size, 8U);
    std::array<char, 8> id{};
    device->DevGetDataStreamID(0, id.data(), &size);
    EXPECT_STREQ(id.data(), "Stream1");
    EXPECT_EQ(proxy->CountOf("DevGetDataStreamID"), 0U);
}

TEST_F(DeviceStreamId, LeavesTheSizeOfALargeBufferAlone)
{
    const auto device = Make();
    std::array<char, 16> id{};
    id.fill('x');
    size_t size = id.size();
    device->DevGetDataStreamID(0, id.data(), &size);
    EXPECT_EQ(size, 16U);
    EXPECT_STREQ(id.data(), "Stream1");
    EXPECT_EQ(id[8], 'x');
}

TEST_F(DeviceStreamId, NeedsRoomForItsTerminator)
{
    const auto device = Make();
    std::array<char, 7> id{};
    size_t size = id.size();
    EXPECT_EQ(FailureOf([&] { device->DevGetDataStreamID(0, id.data(), &size); }),
              (Failure{"Buffer is too small. Needed 8, got 7!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_THAT(id, testing::Each('\0'));
}

TEST_F(DeviceStreamId, ExistsForIndexZeroOnly)
{
    const auto device = Make();
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { device->DevGetDataStreamID(1, nullptr, &size); }),
              (Failure{"Supplied index 1 is out of range", GC_ERR_INVALID_INDEX}));
    EXPECT_EQ(size, 0U);
}

TEST_F(DeviceStreamId, NamesTheNullArgumentFirst)
{
    const auto device = Make();
    EXPECT_EQ(FailureOf([&] { device->DevGetDataStreamID(1, nullptr, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(DeviceTest, ForwardsInfoQueries)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char buffer{};
    size_t size = 1;
    proxy->onDevGetInfo =
        [&](DEV_HANDLE handle, DEVICE_INFO_CMD command, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(command, DEVICE_INFO_ACCESS_STATUS);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    const auto device = Make();
    device->DevGetInfo(DEVICE_INFO_ACCESS_STATUS, &type, &buffer, &size);
    EXPECT_EQ(proxy->CountOf("DevGetInfo"), 1U);
}

TEST_F(DeviceTest, HasThePortAndTheEventsOfTheLowerDevice)
{
    const auto device = Make();
    std::vector<void *> handles;
    proxy->onGCReadPort = [&](PORT_HANDLE handle, uint64_t, void *, size_t *)
    {
        handles.push_back(handle);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCRegisterEvent = [&](EVENTSRC_HANDLE handle, EVENT_TYPE type, EVENT_HANDLE *event)
    {
        handles.push_back(handle);
        EXPECT_EQ(type, EVENT_REMOTE_DEVICE);
        *event = LowerHandle(0xE);
        return GC_ERR_SUCCESS;
    };
    char byte{};
    size_t size = 1;
    device->ReadPort(0, &byte, &size);
    EVENT_HANDLE event = nullptr;
    device->RegisterEvent(EVENT_REMOTE_DEVICE, &event);
    EXPECT_THAT(handles, ElementsAre(lowerHandle, lowerHandle));
    EXPECT_EQ(event, LowerHandle(0xE));
}

TEST_F(DeviceClosing, RemovesThePortThenClosesTheLowerDevice)
{
    auto device = Make();
    const auto port = PortOf(*device);
    std::vector<bool> portWasThere;
    proxy->onDevClose = [&](DEV_HANDLE handle)
    {
        EXPECT_EQ(handle, lowerHandle);
        portWasThere.push_back(manager.remotePorts.Contains(port));
        return GC_ERR_SUCCESS;
    };
    device.reset();
    EXPECT_THAT(portWasThere, ElementsAre(false));
}

TEST_F(DeviceClosing, LeavesThePortToAConsumerThatUsesIt)
{
    auto device = Make();
    const auto port = manager.remotePorts.Find(PortOf(*device));
    device.reset();
    EXPECT_EQ(port.use_count(), 1);
    EXPECT_EQ(port->FindNode("Width").Address, 0x100U);
}

TEST_F(DeviceClosing, LeavesTheLowerDeviceOpenWhenItsPortWasCleared)
{
    auto device = Make();
    {
        const LogCapture log;
        manager.remotePorts.ClearAndWarn("RemotePort");
    }
    device.reset();
    EXPECT_EQ(proxy->CountOf("DevClose"), 0U);
}

TEST_F(DeviceClosing, SwallowsALowerFailure)
{
    proxy->onDevClose = [](DEV_HANDLE) -> GC_ERROR { LowerFailure(GC_ERR_IO); };
    EXPECT_NO_THROW(Make().reset());
    proxy->onDevClose = [](DEV_HANDLE) -> GC_ERROR { throw std::runtime_error("gone"); };
    EXPECT_NO_THROW(Make().reset());
    EXPECT_EQ(proxy->CountOf("DevClose"), 2U);
}

} // namespace
} // namespace GenTL::internal
