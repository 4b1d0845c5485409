#include "proxy_system.h"

#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "utils/info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;

struct ProxySystemTest : testing::Test
{
    const TL_HANDLE lowerHandle = LowerHandle(0x71);
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    std::optional<ProxySystem> system{std::in_place, proxy, lowerHandle};
};

TEST_F(ProxySystemTest, IsASystemOverTheLowerOne)
{
    EXPECT_EQ(system->GetModuleType(), ModuleType::System);
    EXPECT_EQ(system->GetLowerHandle(), lowerHandle);
    EXPECT_EQ(system->GetProxy(), proxy);
    EXPECT_THAT(proxy->Calls(), testing::IsEmpty());
}

TEST_F(ProxySystemTest, ClosesTheLowerSystemAtItsEnd)
{
    std::vector<TL_HANDLE> closed;
    proxy->onTLClose = [&](TL_HANDLE handle)
    {
        closed.push_back(handle);
        return GC_ERR_SUCCESS;
    };
    system.reset();
    EXPECT_THAT(closed, ElementsAre(lowerHandle));
}

TEST_F(ProxySystemTest, SwallowsAFailureAtItsEnd)
{
    proxy->onTLClose = [](TL_HANDLE) -> GC_ERROR { LowerFailure(GC_ERR_IO); };
    EXPECT_NO_THROW(system.reset());
    system.emplace(proxy, lowerHandle);
    proxy->onTLClose = [](TL_HANDLE) -> GC_ERROR { throw std::runtime_error("gone"); };
    EXPECT_NO_THROW(system.reset());
    EXPECT_EQ(proxy->CountOf("TLClose"), 2U);
}

TEST_F(ProxySystemTest, AsksTheLowerProducerForItsType)
{
    std::vector<bool> hadBuffer;
    proxy->onGCGetInfo = [&](TL_INFO_CMD command, INFO_DATATYPE *type, void *buffer, size_t *size)
    {
        EXPECT_EQ(command, TL_INFO_TLTYPE);
        hadBuffer.push_back(buffer != nullptr);
        utils::WriteStringInfo("U3V", type, buffer, size);
        return GC_ERR_SUCCESS;
    };
    EXPECT_EQ(system->GetTLType(), "U3V");
    EXPECT_THAT(hadBuffer, ElementsAre(false, true));
    EXPECT_EQ(proxy->CountOf("TLGetInfo"), 0U);
}

TEST_F(ProxySystemTest, ReadsTheLowerDescriptionThroughItsPort)
{
    const std::string document = "<RegisterDescription/>";
    proxy->onGCGetPortURLInfo =
        [&](PORT_HANDLE handle, uint32_t, URL_INFO_CMD command, INFO_DATATYPE *, void *buffer, size_t *)
    {
        EXPECT_EQ(handle, lowerHandle);
        const uint64_t value = command == URL_INFO_FILE_SIZE ? document.size() : 0x4000;
        std::memcpy(buffer, &value, sizeof value);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCReadPort = [&](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *size)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(address, 0x4000U);
        EXPECT_EQ(*size, document.size());
        std::memcpy(buffer, document.data(), document.size());
        return GC_ERR_SUCCESS;
    };
    EXPECT_EQ(system->GetXml(), document);
    EXPECT_EQ(proxy->CountOf("GCGetPortURL"), 0U);
}

TEST_F(ProxySystemTest, NeedsUrlInfosOfTheLowerProducer)
{
    proxy->onGCGetPortURLInfo = [](PORT_HANDLE, uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *,
                                   size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_NOT_IMPLEMENTED, "no such function"); };
    EXPECT_EQ(FailureOf([&] { system->GetXml(); }), (Failure{"no such function", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(ProxySystemTest, ForwardsInterfaceCalls)
{
    bool8_t changed = 0;
    uint32_t count = 0;
    char id{};
    size_t size = 1;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    IF_HANDLE interface = nullptr;
    proxy->onTLUpdateInterfaceList = [&](TL_HANDLE handle, bool8_t *pbChanged, uint64_t timeout)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(pbChanged, &changed);
        EXPECT_EQ(timeout, 55U);
        return GC_ERR_SUCCESS;
    };
    proxy->onTLGetNumInterfaces = [&](TL_HANDLE handle, uint32_t *piNumIfaces)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(piNumIfaces, &count);
        return GC_ERR_SUCCESS;
    };
    proxy->onTLGetInterfaceID = [&](TL_HANDLE handle, uint32_t index, char *sID, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(index, 6U);
        EXPECT_EQ(sID, &id);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onTLGetInterfaceInfo = [&](TL_HANDLE handle, const char *sIfaceID, INTERFACE_INFO_CMD command,
                                      INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_STREQ(sIfaceID, "eth0");
        EXPECT_EQ(command, INTERFACE_INFO_DISPLAYNAME);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &id);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onTLOpenInterface = [&](TL_HANDLE handle, const char *sIfaceID, IF_HANDLE *phIface)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_STREQ(sIfaceID, "eth1");
        EXPECT_EQ(phIface, &interface);
        return GC_ERR_SUCCESS;
    };
    IProxySystem &lower = *system;
    lower.TLUpdateInterfaceList(&changed, 55);
    lower.TLGetNumInterfaces(&count);
    lower.TLGetInterfaceID(6, &id, &size);
    lower.TLGetInterfaceInfo("eth0", INTERFACE_INFO_DISPLAYNAME, &type, &id, &size);
    lower.TLOpenInterface("eth1", &interface);
    EXPECT_THAT(proxy->Calls(), ElementsAre("TLUpdateInterfaceList", "TLGetNumInterfaces", "TLGetInterfaceID",
                                            "TLGetInterfaceInfo", "TLOpenInterface"));
}

TEST_F(ProxySystemTest, ForwardsPortAccessAndEvents)
{
    char byte{};
    size_t size = 1;
    EVENT_HANDLE event = nullptr;
    proxy->onGCReadPort = [&](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(address, 0x88U);
        EXPECT_EQ(buffer, &byte);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCWritePort = [&](PORT_HANDLE handle, uint64_t address, const void *buffer, size_t *piSize)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(address, 0x99U);
        EXPECT_EQ(buffer, &byte);
        EXPECT_EQ(piSize, &size);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCRegisterEvent = [&](EVENTSRC_HANDLE handle, EVENT_TYPE type, EVENT_HANDLE *phEvent)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(type, EVENT_MODULE);
        EXPECT_EQ(phEvent, &event);
        return GC_ERR_SUCCESS;
    };
    proxy->onGCUnregisterEvent = [&](EVENTSRC_HANDLE handle, EVENT_TYPE type)
    {
        EXPECT_EQ(handle, lowerHandle);
        EXPECT_EQ(type, EVENT_ERROR);
        return GC_ERR_SUCCESS;
    };
    IProxySystem &lower = *system;
    lower.ReadPort(0x88, &byte, &size);
    lower.WritePort(0x99, &byte, &size);
    lower.RegisterEvent(EVENT_MODULE, &event);
    lower.UnregisterEvent(EVENT_ERROR);
    EXPECT_THAT(proxy->Calls(),
                ElementsAre("GCReadPort", "GCWritePort", "GCRegisterEvent", "GCUnregisterEvent"));
}

} // namespace
} // namespace GenTL::internal
