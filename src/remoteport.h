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
/// The description is fetched and read once, in the constructor, and constant afterwards. The consumer uses
/// ReadPort and WritePort: overrides answer for the features that the processing changes, memory holds the
/// description, and all else is the device's. ReadRegisters and WriteRegisters reach the device itself.
///
/// Has no lock: the consumer's writes change the selected component and the availability of pixel formats, on
/// the consumer's thread.
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
    /// Reads the device's 3D values, modes, lens calibration and image geometry, and gives them to the
    /// processor.
    void ReadScan3dInfo();
    void ReadLensCalibration();
    void InjectOverrides();
    /// Has each UserSetLoad read the 3D values again, because a user set may change them.
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
