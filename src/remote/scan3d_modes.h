#pragma once

#include "port/port_overrides.h"
#include "processing/i_processor.h"
#include "remote/device_features.h"
#include "remote/scan3d_reader.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// What the consumer sees of Scan3dOutputMode and Scan3dCoordinateSelector: the modes that the processing
/// makes, and the coordinate whose values are shown.
///
/// The device's own two features stay as they are. Owned by RemotePort; features, processor and overrides
/// must outlive it. Has no lock: used on the consumer's thread.
class Scan3dModes
{
public:
    /// @param updateFormats called when another mode changed the formats of the component Image3D
    Scan3dModes(const DeviceFeatures &features, IProcessor &processor, PortOverrides &overrides,
                std::function<void()> updateFormats);

    void SetValues(OutputModeValues modes) { m_outputModes = std::move(modes); }
    /// Answers for the two features, and for the registers that say which of their entries are available.
    void Install();

    /// The coordinate that the consumer selected.
    Scan3dCoordinate CurrentCoordinate() const { return m_currentCoordinate; }

private:
    void OverrideOutputMode();
    void EnableScan3dOutputModes(const nodemap::NodeInfo &node);
    void EnableCoordinateSelectorEntries();
    /// @param masks bits to set, by the address of their register
    void ForceBits(const std::map<uint64_t, uint64_t> &masks, bool inTheGridOnly);
    bool ReadOutputMode(nodemap::Endianess endianess, void *buffer, const size_t *size) const;
    bool WriteOutputMode(nodemap::Endianess endianess, const void *buffer, size_t *size);
    bool ReadCoordinate(nodemap::Endianess endianess, void *buffer, const size_t *size) const;
    bool WriteCoordinate(nodemap::Endianess endianess, const void *buffer, const size_t *size);

    DeviceFeatures m_features;
    IProcessor &m_processor;
    PortOverrides &m_overrides;
    std::function<void()> m_updateFormats;
    OutputModeValues m_outputModes; ///< the device's
    /// The coordinates that the device has, with its values for them.
    std::vector<std::pair<Scan3dCoordinate, int32_t>> m_coordinates;
    Scan3dCoordinate m_currentCoordinate = Scan3dCoordinate::CoordinateA;
};

} // namespace GenTL::internal
