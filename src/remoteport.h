#pragma once

#include "port/proxy_module.h"
#include "processing/i_processor.h"
#include "remote/device_features.h"
#include "remote/i_remote_view.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace GenTL::internal
{

/// The remote device port of an opened device.
///
/// Made and owned by Device, which closes the lower handle; the RemotePort registry and the stream share it.
/// The consumer uses ReadPort, WritePort and the URLs: the view answers. ReadRegisters and WriteRegisters
/// reach the device itself. As thread-safe as the view.
class RemotePort final : public ProxyModule
{
public:
    /// Makes the view of a port whose lower functions can be called already.
    using MakeView = std::function<std::unique_ptr<IRemoteView>(ProxyModule &port)>;

    /// Makes an OverriddenView.
    /// @throws as its constructor
    RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
               std::shared_ptr<IProcessor> processor);
    RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle, const MakeView &makeView);

    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

    /// A node of the device's description.
    /// @throws GenTLException "Parser not initialized"; "Did not find node {}!"
    const nodemap::NodeInfo &FindNode(const std::string &name) const;
    /// @throws GenTLException "Parser not initialized"
    std::optional<nodemap::NodeInfo> TryFindNode(const std::string &name) const;

private:
    std::unique_ptr<IRemoteView> m_view; ///< null while it is made
    std::optional<DeviceFeatures> m_features;
};

} // namespace GenTL::internal
