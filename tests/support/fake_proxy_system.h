#pragma once

#include "i_proxy_system.h"
#include "support/fake_gentl_proxy.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// A lower system module whose operations a test can script. Calls are recorded by name, in their order.
class FakeProxySystem final : public IProxySystem
{
public:
    std::shared_ptr<IGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    std::string tlType = "GEV";
    std::string xml;
    std::vector<std::string> calls;

    std::function<void(bool8_t *, uint64_t)> onTLUpdateInterfaceList;
    std::function<void(uint32_t *)> onTLGetNumInterfaces;
    std::function<void(uint32_t, char *, size_t *)> onTLGetInterfaceID;
    std::function<void(const char *, INTERFACE_INFO_CMD, INFO_DATATYPE *, void *, size_t *)>
        onTLGetInterfaceInfo;
    std::function<void(const char *, IF_HANDLE *)> onTLOpenInterface;
    std::function<void(uint64_t, void *, size_t *)> onReadPort;
    std::function<void(uint64_t, const void *, size_t *)> onWritePort;
    std::function<void(EVENT_TYPE, EVENT_HANDLE *)> onRegisterEvent;
    std::function<void(EVENT_TYPE)> onUnregisterEvent;

    const std::shared_ptr<IGenTLProxy> &GetProxy() override { return proxy; }

    std::string GetTLType() override
    {
        calls.emplace_back("GetTLType");
        return tlType;
    }

    std::string GetXml() override
    {
        calls.emplace_back("GetXml");
        return xml;
    }

    void TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout) override
    {
        Run("TLUpdateInterfaceList", onTLUpdateInterfaceList, pbChanged, iTimeout);
    }

    void TLGetNumInterfaces(uint32_t *piNumIfaces) override
    {
        Run("TLGetNumInterfaces", onTLGetNumInterfaces, piNumIfaces);
    }

    void TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize) override
    {
        Run("TLGetInterfaceID", onTLGetInterfaceID, iIndex, sID, piSize);
    }

    void TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                            void *pBuffer, size_t *piSize) override
    {
        Run("TLGetInterfaceInfo", onTLGetInterfaceInfo, sIfaceID, iInfoCmd, piType, pBuffer, piSize);
    }

    void TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface) override
    {
        Run("TLOpenInterface", onTLOpenInterface, sIfaceID, phIface);
    }

    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override
    {
        Run("ReadPort", onReadPort, iAddress, pBuffer, piSize);
    }

    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override
    {
        Run("WritePort", onWritePort, iAddress, pBuffer, piSize);
    }

    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override
    {
        Run("RegisterEvent", onRegisterEvent, iEventID, phEvent);
    }

    void UnregisterEvent(EVENT_TYPE iEventID) override
    {
        Run("UnregisterEvent", onUnregisterEvent, iEventID);
    }

private:
    template <typename Script, typename... Arguments>
    void Run(const char *name, const Script &script, Arguments... arguments)
    {
        calls.emplace_back(name);
        if (script)
        {
            script(arguments...);
        }
    }
};

} // namespace GenTL::internal
