#pragma once

#include "port/port_overrides.h"
#include "processing/i_processor.h"
#include "remote/device_features.h"
#include "remote/format_availability.h"

#include <string>

namespace GenTL::internal
{

/// What the consumer sees of PayloadSize, PixelFormat and ComponentSelector: the image as it leaves the
/// processing.
///
/// Follows the component that the consumer selects, since each has a format of its own. Owned by RemotePort;
/// features, processor and overrides must outlive it. Has no lock: used on the consumer's thread.
class FormatOverrides
{
public:
    FormatOverrides(const DeviceFeatures &features, IProcessor &processor, PortOverrides &overrides);

    /// Answers for the three features, and tells the processor the formats of each component. To read them,
    /// it selects each component of the device in turn, and at the end the original one.
    /// @throws GenTLException "Did not find node {}!"; "Not implemented component '{}'.",
    /// GC_ERR_NOT_AVAILABLE
    void Install();
    /// Answers for the registers that say which formats are available. Call it after Install and
    /// Scan3dModes::Install, because the last callback for an address counts.
    void InstallAvailability();

    /// Reads a component's formats anew.
    void UpdatePixelFormatEntries(Component component) { m_availability.Update(component); }

private:
    void OverridePayloadSize();
    void OverridePixelFormat();
    void OverrideComponents();
    void VisitComponent(const nodemap::NodeInfo &selector, const std::string &name,
                        const std::string &original);
    bool WritePixelFormat(const nodemap::NodeInfo &node, nodemap::Endianess endianess, const void *buffer,
                          size_t *size);
    bool WriteComponentSelector(const nodemap::NodeInfo &node, const void *buffer, size_t *size);

    DeviceFeatures m_features;
    IProcessor &m_processor;
    PortOverrides &m_overrides;
    FormatAvailability m_availability;
    Component m_currentComponent = Component::Image2D;
};

} // namespace GenTL::internal
