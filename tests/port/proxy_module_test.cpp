#include "port/proxy_module.h"

#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "test_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

struct ProxyModuleTest : testing::Test
{
    void *const lowerHandle = LowerHandle(0xABC);
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char buffer{};
    size_t size = 1;
};

TEST_F(ProxyModuleTest, CallsNothingWhenItIsMadeAndAtItsEnd)
{
    {
        const TestModule module(proxy, lowerHandle);
        EXPECT_EQ(module.GetLowerHandle(), lowerHandle);
    }
    EXPECT_THAT(proxy->Calls(), IsEmpty());
}

TEST_F(ProxyModuleTest, KeepsTheLowerProducerAlive)
{
    const std::weak_ptr<FakeGenTLProxy> observer = proxy;
    {
        const TestModule module(std::move(proxy), lowerHandle);
        EXPECT_FALSE(observer.expired());
    }
    EXPECT_TRUE(observer.expired());
}

TEST_F(ProxyModuleTest, ForwardsPortQueries)
{
    uint32_t count = 0;
    proxy->onGCGetPortURL = [&](PORT_HANDLE handle, char *sURL, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(sURL, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCGetPortInfo =
        [&](PORT_HANDLE handle, PORT_INFO_CMD command, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(command, PORT_INFO_MODULE);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCGetNumPortURLs = [&](PORT_HANDLE handle, uint32_t *piNumURLs)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(piNumURLs, &count);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCGetPortURLInfo = [&](PORT_HANDLE handle, uint32_t index, URL_INFO_CMD command,
                                    INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(index, 3U);
        EXPECT_EQ(command, URL_INFO_SCHEME);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    TestModule module(proxy, lowerHandle);
    module.GetPortURL(&buffer, &size);
    module.GetPortInfo(PORT_INFO_MODULE, &type, &buffer, &size);
    module.GetNumPortURLs(&count);
    module.GetPortURLInfo(3, URL_INFO_SCHEME, &type, &buffer, &size);
    EXPECT_THAT(proxy->Calls(),
                ElementsAre("GCGetPortURL", "GCGetPortInfo", "GCGetNumPortURLs", "GCGetPortURLInfo"));
}

TEST_F(ProxyModuleTest, ForwardsPortAccess)
{
    proxy->onGCReadPort = [&](PORT_HANDLE handle, uint64_t address, void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(address, 0x1234U);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCWritePort = [&](PORT_HANDLE handle, uint64_t address, const void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(address, 0x5678U);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    TestModule module(proxy, lowerHandle);
    module.ReadPort(0x1234, &buffer, &size);
    module.ReadRegisters(0x1234, &buffer, &size);
    module.WritePort(0x5678, &buffer, &size);
    module.WriteRegisters(0x5678, &buffer, &size);
    EXPECT_THAT(proxy->Calls(), ElementsAre("GCReadPort", "GCReadPort", "GCWritePort", "GCWritePort"));
}

TEST_F(ProxyModuleTest, ForwardsEvents)
{
    EVENT_HANDLE event = nullptr;
    proxy->onGCRegisterEvent = [&](EVENTSRC_HANDLE handle, EVENT_TYPE eventType, EVENT_HANDLE *phEvent)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(eventType, EVENT_REMOTE_DEVICE);
        *phEvent = LowerHandle(0xE);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCUnregisterEvent = [&](EVENTSRC_HANDLE handle, EVENT_TYPE eventType)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(eventType, EVENT_ERROR);
        return GC_ERR_SUCCESS;
    };
    TestModule module(proxy, lowerHandle);
    module.RegisterEvent(EVENT_REMOTE_DEVICE, &event);
    module.UnregisterEvent(EVENT_ERROR);
    EXPECT_EQ(event, LowerHandle(0xE));
    EXPECT_THAT(proxy->Calls(), ElementsAre("GCRegisterEvent", "GCUnregisterEvent"));
}

TEST_F(ProxyModuleTest, PassesLowerFailuresOn)
{
    proxy->onGCGetPortInfo = [](PORT_HANDLE, PORT_INFO_CMD, INFO_DATATYPE *, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_NOT_AVAILABLE, "not now"); };
    TestModule module(proxy, lowerHandle);
    EXPECT_EQ(FailureOf([&] { module.GetPortInfo(PORT_INFO_ID, &type, &buffer, &size); }),
              (Failure{"not now", GC_ERR_NOT_AVAILABLE}));
}

TEST(CloseQuietly, SwallowsEveryStandardException)
{
    int runs = 0;
    CloseQuietly(
        [&]
        {
            ++runs;
            LowerFailure(GC_ERR_IO);
        });
    CloseQuietly(
        [&]
        {
            ++runs;
            throw std::logic_error("other");
        });
    EXPECT_EQ(runs, 2);
}

TEST(CloseQuietlyDeathTest, EndsTheProcessForAnythingElse)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(CloseQuietly([] { throw 1; }), "terminate");
}

} // namespace
} // namespace GenTL::internal
