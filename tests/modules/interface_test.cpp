#include "interface.h"

#include "device.h"
#include "instance_manager.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_library.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"
#include "utils/info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

struct InterfaceTest : testing::Test
{
    const IF_HANDLE lowerHandle = LowerHandle(0x1F);
    const TL_HANDLE parentSystem = LowerHandle(0x5F5);
    const IF_HANDLE ownHandle = LowerHandle(0x0FF);

    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeRemoteDevice remoteDevice;
    FakeLibrary library;
    std::string model = "OVRA X";
    std::vector<DEVICE_INFO_CMD> queried; ///< commands of the lower IFGetDeviceInfo

    void SetUp() override
    {
        remoteDevice.Serve(*proxy);
        proxy->onIFGetDeviceInfo = [this](IF_HANDLE, const char *, DEVICE_INFO_CMD command,
                                          INFO_DATATYPE *type, void *buffer, size_t *size)
        {
            queried.push_back(command);
            if (command == DEVICE_INFO_MODEL)
            {
                utils::WriteStringInfo(model, type, buffer, size);
            }
            else
            {
                utils::WriteInfo(utils::Info::Int32(DEVICE_ACCESS_STATUS_READWRITE), type, buffer, size);
            }
            return GC_ERR_SUCCESS;
        };
    }

    std::unique_ptr<Interface> Make(bool filterDevices = true)
    {
        auto interface =
            std::make_unique<Interface>(&library.instances, proxy, lowerHandle, parentSystem, filterDevices);
        interface->SetHandle(ownHandle);
        return interface;
    }

    /// What IFOpenDevice fails with for these flags.
    Failure OpenFailure(DEVICE_ACCESS_FLAGS flags)
    {
        return FailureOf(
            [&]
            {
                DEV_HANDLE device = nullptr;
                Make()->IFOpenDevice("device", flags, &device);
            });
    }
};

using InterfaceFilter = InterfaceTest;
using InterfaceOpenDevice = InterfaceTest;

TEST(IsAdmittedModel, TakesTheBeginningOvraInAnyCase)
{
    EXPECT_TRUE(IsAdmittedModel("OVRA X"));
    EXPECT_TRUE(IsAdmittedModel("ovra"));
    EXPECT_TRUE(IsAdmittedModel("oVrA-5"));
    EXPECT_FALSE(IsAdmittedModel("ovr"));
    EXPECT_FALSE(IsAdmittedModel("xovra"));
    EXPECT_FALSE(IsAdmittedModel(" ovra"));
    EXPECT_FALSE(IsAdmittedModel(""));
}

TEST_F(InterfaceTest, IsAnInterfaceWithItsParentAndItsLowerHandle)
{
    const auto interface = Make();
    EXPECT_EQ(interface->GetModuleType(), ModuleType::Interface);
    EXPECT_EQ(interface->GetParentSystem(), parentSystem);
    EXPECT_EQ(interface->GetLowerHandle(), lowerHandle);
}

TEST_F(InterfaceTest, CallsNothingWhenItIsMade)
{
    const auto interface = Make();
    EXPECT_THAT(proxy->Calls(), IsEmpty());
}

TEST_F(InterfaceTest, ForwardsInfoQueries)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char buffer{};
    size_t size = 1;
    proxy->onIFGetInfo = [&](IF_HANDLE handle, INTERFACE_INFO_CMD command, INFO_DATATYPE *piType,
                             void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(command, INTERFACE_INFO_TLTYPE);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    const auto interface = Make();
    interface->IFGetInfo(INTERFACE_INFO_TLTYPE, &type, &buffer, &size);
    EXPECT_THAT(proxy->Calls(), ElementsAre("IFGetInfo"));
}

TEST_F(InterfaceTest, ForwardsTheDeviceList)
{
    uint32_t count = 0;
    char id{};
    size_t size = 1;
    bool8_t changed = 0;
    proxy->onIFUpdateDeviceList = [&](IF_HANDLE handle, bool8_t *pbChanged, uint64_t timeout)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(pbChanged, &changed);
        EXPECT_EQ(timeout, 123U);
        return GC_ERR_SUCCESS;
    };
    proxy->onIFGetNumDevices = [&](IF_HANDLE handle, uint32_t *piNumDevices)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(piNumDevices, &count);
        return GC_ERR_SUCCESS;
    };
    proxy->onIFGetDeviceID = [&](IF_HANDLE handle, uint32_t index, char *sID, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(index, 2U);
        EXPECT_EQ(sID, &id);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    const auto interface = Make();
    interface->IFUpdateDeviceList(&changed, 123);
    interface->IFGetNumDevices(&count);
    interface->IFGetDeviceID(2, &id, &size);
    EXPECT_THAT(proxy->Calls(), ElementsAre("IFUpdateDeviceList", "IFGetNumDevices", "IFGetDeviceID"));
}

TEST_F(InterfaceTest, PassesALowerFailureOn)
{
    proxy->onIFGetNumDevices = [](IF_HANDLE, uint32_t *) -> GC_ERROR { LowerFailure(GC_ERR_IO, "cable"); };
    const auto interface = Make();
    EXPECT_EQ(FailureOf(
                  [&]
                  {
                      uint32_t count = 0;
                      interface->IFGetNumDevices(&count);
                  }),
              (Failure{"cable", GC_ERR_IO}));
}

TEST_F(InterfaceTest, ClosesTheLowerInterfaceAtItsEnd)
{
    std::vector<IF_HANDLE> closed;
    proxy->onIFClose = [&](IF_HANDLE handle)
    {
        closed.push_back(handle);
        return GC_ERR_SUCCESS;
    };
    Make().reset();
    EXPECT_THAT(closed, ElementsAre(lowerHandle));
}

TEST_F(InterfaceTest, SwallowsAFailureAtItsEnd)
{
    proxy->onIFClose = [](IF_HANDLE) -> GC_ERROR { LowerFailure(GC_ERR_IO); };
    EXPECT_NO_THROW(Make().reset());
    proxy->onIFClose = [](IF_HANDLE) -> GC_ERROR { throw std::runtime_error("gone"); };
    EXPECT_NO_THROW(Make().reset());
    EXPECT_EQ(proxy->CountOf("IFClose"), 2U);
}

TEST_F(InterfaceFilter, AsksForTheModelBeforeEveryQuery)
{
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 16> text{};
    size_t size = text.size();
    interface->IFGetDeviceInfo("device", DEVICE_INFO_MODEL, &type, text.data(), &size);
    EXPECT_STREQ(text.data(), "OVRA X");
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 7U);
    EXPECT_THAT(queried, ElementsAre(DEVICE_INFO_MODEL, DEVICE_INFO_MODEL, DEVICE_INFO_MODEL));
}

TEST_F(InterfaceFilter, AsksNoModelWhenItIsOff)
{
    model = "other";
    const auto interface = Make(false);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    int32_t status = 0;
    size_t size = sizeof status;
    interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, &status, &size);
    EXPECT_EQ(status, DEVICE_ACCESS_STATUS_READWRITE);
    EXPECT_THAT(queried, ElementsAre(DEVICE_INFO_ACCESS_STATUS));
}

TEST_F(InterfaceFilter, ForwardsTheStatusOfAnAdmittedDevice)
{
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    int32_t status = 0;
    size_t size = sizeof status;
    interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, &status, &size);
    EXPECT_EQ(status, DEVICE_ACCESS_STATUS_READWRITE);
}

TEST_F(InterfaceFilter, ReportsAnotherDeviceAsNotAccessible)
{
    model = "xovra";
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<int32_t, 2> status{-1, -1};
    size_t size = sizeof status;
    interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, status.data(), &size);
    EXPECT_THAT(status, ElementsAre(3, -1));
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(queried, ElementsAre(DEVICE_INFO_MODEL, DEVICE_INFO_MODEL));
}

TEST_F(InterfaceFilter, TellsTheSizeOfTheStatusWithoutABuffer)
{
    model = "ovr";
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, nullptr, &size);
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(size, 4U);
}

TEST_F(InterfaceFilter, ChecksTheArgumentsOfTheStatus)
{
    model = "ovr";
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    int32_t status = -1;
    size_t size = 3;
    EXPECT_EQ(
        FailureOf(
            [&]
            { interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, nullptr, &status, nullptr); }),
        (Failure{"pType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(
        FailureOf(
            [&]
            { interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, &status, nullptr); }),
        (Failure{"pSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(
        FailureOf(
            [&] { interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, &type, &status, &size); }),
        (Failure{"Buffer is too small. Needed 4, got 3!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(size, 3U);
}

TEST_F(InterfaceFilter, ForwardsOtherQueriesAboutAnotherDevice)
{
    model = "other";
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 16> text{};
    size_t size = text.size();
    interface->IFGetDeviceInfo("device", DEVICE_INFO_MODEL, &type, text.data(), &size);
    EXPECT_STREQ(text.data(), "other");
}

TEST_F(InterfaceFilter, FailsWithTheModelQuery)
{
    proxy->onIFGetDeviceInfo = [](IF_HANDLE, const char *, DEVICE_INFO_CMD, INFO_DATATYPE *, void *,
                                  size_t *) -> GC_ERROR { LowerFailure(GC_ERR_TIMEOUT, "no answer"); };
    const auto interface = Make();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { interface->IFGetDeviceInfo("device", DEVICE_INFO_ID, &type, nullptr, &size); }),
              (Failure{"no answer", GC_ERR_TIMEOUT}));
    EXPECT_EQ(proxy->CountOf("IFGetDeviceInfo"), 1U);
    EXPECT_EQ(
        FailureOf(
            [&]
            { interface->IFGetDeviceInfo("device", DEVICE_INFO_ACCESS_STATUS, nullptr, nullptr, nullptr); }),
        (Failure{"no answer", GC_ERR_TIMEOUT}))
        << "the arguments of the status are not looked at yet";
    // Neither the flags nor the family come to be looked at.
    EXPECT_EQ(OpenFailure(99), (Failure{"no answer", GC_ERR_TIMEOUT}));
}

TEST_F(InterfaceFilter, AsksForTheDeviceThatTheConsumerNames)
{
    const auto interface = Make();
    std::vector<std::string> asked;
    std::vector<IF_HANDLE> handles;
    proxy->onIFGetDeviceInfo = [&](IF_HANDLE handle, const char *id, DEVICE_INFO_CMD, INFO_DATATYPE *type,
                                   void *buffer, size_t *size)
    {
        handles.push_back(handle);
        asked.emplace_back(id);
        utils::WriteStringInfo("ovra", type, buffer, size);
        return GC_ERR_SUCCESS;
    };
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    interface->IFGetDeviceInfo("cam 7", DEVICE_INFO_ID, &type, nullptr, &size);
    EXPECT_THAT(asked, ElementsAre("cam 7", "cam 7", "cam 7"));
    EXPECT_THAT(handles, testing::Each(lowerHandle));
}

TEST_F(InterfaceOpenDevice, NamesTheNullArgument)
{
    const auto interface = Make();
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(FailureOf([&] { interface->IFOpenDevice(nullptr, DEVICE_ACCESS_CONTROL, nullptr); }),
              (Failure{"phDevice must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { interface->IFOpenDevice(nullptr, DEVICE_ACCESS_CONTROL, &device); }),
              (Failure{"sDeviceID must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_THAT(proxy->Calls(), IsEmpty());
}

TEST_F(InterfaceOpenDevice, RefusesAnotherDeviceBeforeItsFlags)
{
    model = "other";
    const Failure expected{"Access denied!", GC_ERR_ACCESS_DENIED};
    EXPECT_EQ(OpenFailure(DEVICE_ACCESS_CONTROL), expected);
    EXPECT_EQ(OpenFailure(DEVICE_ACCESS_UNKNOWN), expected);
    EXPECT_EQ(OpenFailure(DEVICE_ACCESS_READONLY), expected);
    EXPECT_EQ(proxy->CountOf("IFOpenDevice"), 0U);
}

TEST_F(InterfaceOpenDevice, OpensAnotherDeviceWithoutTheFilter)
{
    model = "other";
    const auto interface = Make(false);
    DEV_HANDLE device = nullptr;
    interface->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &device);
    EXPECT_TRUE(library.instances.devices.Contains(device));
    EXPECT_THAT(queried, IsEmpty());
    library.instances.devices.Remove(device);
}

TEST_F(InterfaceOpenDevice, RefusesFlagsOutOfRange)
{
    EXPECT_EQ(OpenFailure(0),
              (Failure{"Invalid Access type DEVICE_ACCESS_UNKNOWN", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(OpenFailure(5), (Failure{"Invalid Access type 5", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(OpenFailure(-1), (Failure{"Invalid Access type -1", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(proxy->CountOf("IFOpenDevice"), 0U);
}

TEST_F(InterfaceOpenDevice, DoesNotKnowReadOnlyAccess)
{
    EXPECT_EQ(OpenFailure(DEVICE_ACCESS_READONLY),
              (Failure{"Access type DEVICE_ACCESS_READONLY not implemented", GC_ERR_NOT_IMPLEMENTED}));
    EXPECT_EQ(proxy->CountOf("IFOpenDevice"), 0U);
}

TEST_F(InterfaceOpenDevice, PassesTheOtherFlagsOn)
{
    std::vector<DEVICE_ACCESS_FLAGS> passed;
    proxy->onIFOpenDevice =
        [&](IF_HANDLE handle, const char *id, DEVICE_ACCESS_FLAGS flags, DEV_HANDLE *device)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_STREQ(id, "device");
        passed.push_back(flags);
        *device = LowerHandle(0xDE);
        return GC_ERR_SUCCESS;
    };
    const auto interface = Make();
    for (const auto flags : {1, 3, 4})
    {
        DEV_HANDLE device = nullptr;
        interface->IFOpenDevice("device", flags, &device);
        library.instances.devices.Remove(device);
    }
    EXPECT_THAT(passed, ElementsAre(1, 3, 4));
}

TEST_F(InterfaceOpenDevice, RegistersADeviceWithItselfAsParent)
{
    proxy->onIFOpenDevice = [](IF_HANDLE, const char *, DEVICE_ACCESS_FLAGS, DEV_HANDLE *device)
    {
        *device = LowerHandle(0xDE);
        return GC_ERR_SUCCESS;
    };
    const auto interface = Make();
    DEV_HANDLE handle = nullptr;
    interface->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &handle);
    const auto device = library.instances.devices.Find(handle);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->GetLowerHandle(), LowerHandle(0xDE));
    EXPECT_EQ(device->GetParentHandle(), ownHandle);
    library.instances.devices.Remove(handle);
}

TEST_F(InterfaceOpenDevice, LeavesNothingBehindWhenTheLowerOneFails)
{
    proxy->onIFOpenDevice = [](IF_HANDLE, const char *, DEVICE_ACCESS_FLAGS, DEV_HANDLE *) -> GC_ERROR
    { LowerFailure(GC_ERR_RESOURCE_IN_USE, "taken"); };
    const auto interface = Make();
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(FailureOf([&] { interface->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &device); }),
              (Failure{"taken", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(proxy->CountOf("DevGetPort"), 0U);
}

TEST_F(InterfaceOpenDevice, DevicesOutliveTheInterface)
{
    auto interface = Make();
    DEV_HANDLE device = nullptr;
    interface->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &device);
    interface.reset();
    EXPECT_TRUE(library.instances.devices.Contains(device));
    EXPECT_EQ(proxy->CountOf("DevClose"), 0U);
    library.instances.devices.Remove(device);
    EXPECT_EQ(proxy->CountOf("DevClose"), 1U);
}

} // namespace
} // namespace GenTL::internal
