#pragma once

#include "port/port_overrides.h"
#include "port/proxy_module.h"
#include "processing/i_processor.h"
#include "remote/device_description.h"
#include "remote/device_features.h"
#include "remote/format_overrides.h"
#include "remote/i_remote_view.h"
#include "remote/scan3d_modes.h"
#include "remote/scan3d_values.h"

#include <memory>

namespace GenTL::internal
{

/// The device under its own description, byte for byte. Overrides answer at the addresses of the features
/// that the processing changes, memory holds the description, and all else is the device's.
///
/// The description is fetched and read once, in the constructor, and constant afterwards. Has no lock: the
/// consumer's writes change the selected component and the availability of pixel formats, on the consumer's
/// thread.
class OverriddenView final : public IRemoteView
{
public:
    /// @param port must outlive this object
    /// @throws GenTLException "Parser not initialized" when the port's URL names no address and size;
    /// GC_ERR_IO for a bad archive; whatever the lower producer fails with
    OverriddenView(ProxyModule &port, std::shared_ptr<IProcessor> processor);

    void Read(uint64_t address, void *buffer, size_t size) override;
    void Write(uint64_t address, const void *buffer, size_t size) override;
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    const nodemap::NodeMapParser *Parser() const override { return m_description.Parser(); }

private:
    void ReadFromDevice(uint64_t address, void *buffer, size_t size);
    /// Reads the device's 3D values, modes, lens calibration and image geometry, and gives them to the
    /// processor.
    void ReadScan3dInfo();
    void ReadLensCalibration();
    void InjectOverrides();
    /// Makes each UserSetLoad read the 3D values again, because a user set may change them.
    void OverrideUserSetLoad();

    ProxyModule &m_port;
    std::shared_ptr<IProcessor> m_processor;
    DeviceDescription m_description;
    DeviceFeatures m_features;
    PortOverrides m_overrides;
    FormatOverrides m_formats;
    Scan3dModes m_scan3dModes;
    Scan3dValues m_scan3dValues;
};

} // namespace GenTL::internal
