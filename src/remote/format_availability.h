#pragma once

#include "nodemap/enum_entry_bits.h"
#include "processing/i_processor.h"
#include "remote/device_features.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace GenTL::internal
{

/// Which entries of PixelFormat the consumer sees as available: those that the processing makes.
///
/// Registers of the device have a bit for each format. For each component, this class knows the bits of the
/// formats that the processing makes, and sets them in the bytes that the consumer reads. Owned by
/// FormatOverrides. Has no lock: used on the consumer's thread.
class FormatAvailability
{
public:
    FormatAvailability(const DeviceFeatures &features, IProcessor &processor)
        : m_features(features), m_processor(processor)
    {
    }

    /// Tells the processor which formats the device offers for a component in its current state, and collects
    /// the bits of the formats that the processor makes of them.
    /// @throws GenTLException "Did not find node {}!"; failures of the device and of the processor
    void Update(Component component);

    /// The addresses of the registers with such bits.
    std::vector<uint64_t> Addresses() const;

    /// Reads such a register and sets the bits of a component. For Image3D, they replace the device's bits.
    /// @throws std::out_of_range "unordered_map::at: key not found" for a component without formats
    void Read(const nodemap::NodeInfo &node, Component component, void *buffer, size_t *size) const;

private:
    std::vector<tarn::common::PixelFormat> OfferedByDevice(const std::vector<nodemap::EnumEntryBits> &) const;
    void Collect(const nodemap::EnumEntryBits &entry, Component component);

    DeviceFeatures m_features;
    IProcessor &m_processor;
    /// By address of the register and component.
    std::unordered_map<uint64_t, std::unordered_map<Component, uint64_t>> m_pixelFormatMasks;
};

} // namespace GenTL::internal
