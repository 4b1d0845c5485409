#pragma once

#include "port/port_overrides.h"
#include "port/proxy_module.h"
#include "processing/i_processor.h"
#include "remote/device_description.h"
#include "remote/device_features.h"
#include "remote/format_overrides.h"
#include "remote/scan3d_modes.h"
#include "remote/scan3d_values.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace GenTL::internal
{

/// The remote device port of an opened device: the device's own description, byte for byte, and the
/// registers behind it.
///
/// Made and owned by Device, which closes the lower handle; the RemotePort registry and the stream share it.
/// The description is fetched and read once, in the constructor, and constant afterwards. ReadPort and
/// WritePort are what the consumer sees: the features of a better camera, which an override answers for, and
/// the description from memory. ReadRegisters and WriteRegisters are the device itself.
///
/// Without a lock: which component is selected, and the availability of pixel formats, follow the consumer's
/// writes on the consumer's thread.
class RemotePort final : public ProxyModule
{
public:
    /// @throws GenTLException "Parser not initialized" when the port's URL names no address and size;
    /// GC_ERR_IO for a bad archive; whatever the lower producer fails with
    RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
               std::shared_ptr<IProcessor> processor);

    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

    /// A node of the device's description.
    /// @throws GenTLException "Parser not initialized"; "Did not find node {}!"
    const nodemap::NodeInfo &FindNode(const std::string &name) const;
    /// @throws GenTLException "Parser not initialized"
    std::optional<nodemap::NodeInfo> TryFindNode(const std::string &name) const;

private:
    void ReadFromDevice(uint64_t address, void *buffer, size_t size);
    /// Gives the processor what the device says of its 3D output and of its image geometry.
    void ReadScan3dInfo();
    void ReadLensCalibration();
    void InjectOverrides();
    /// A user set may change the 3D values.
    void OverrideUserSetLoad();

    std::shared_ptr<IProcessor> m_processor;
    DeviceDescription m_description;
    DeviceFeatures m_features;
    PortOverrides m_overrides;
    FormatOverrides m_formats;
    Scan3dModes m_scan3dModes;
    Scan3dValues m_scan3dValues;
};

} // namespace GenTL::internal
