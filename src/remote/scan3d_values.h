#pragma once

#include "port/port_overrides.h"
#include "processing/i_processor.h"
#include "remote/device_features.h"

#include <functional>
#include <string>

namespace GenTL::internal
{

/// What the consumer sees of the Scan3d values (scale, offset, axis, invalid data): those of the depth that
/// leaves the processing. While the device's raw depth passes through, the device's own values show, except
/// Scan3dInvalidDataFlag, which then is always 1.
///
/// Owned by RemotePort; features, processor and overrides must outlive it. Has no lock: used on the
/// consumer's thread.
class Scan3dValues
{
public:
    /// @param currentCoordinate gives the coordinate that the consumer selected
    Scan3dValues(const DeviceFeatures &features, IProcessor &processor, PortOverrides &overrides,
                 std::function<Scan3dCoordinate()> currentCoordinate);

    /// Answers for the registers behind the values.
    /// @throws std::out_of_range "unordered_map::at: key not found" for a formula of an axis that divides by
    /// a literal
    void InjectScan3dOverrides();

private:
    void OverrideConstant(const std::string &feature, int64_t constant);
    void OverrideAxis(const std::string &feature, bool isMaximum);
    void OverrideInvalidDataFlag();
    /// Overrides the divisor of an axis where it is a feature of the device.
    /// @return the divisor from now on
    uint64_t OverrideDivisor(const nodemap::ConverterRecord &axis, const std::string &operand);
    /// Makes `store` answer for a register unless raw depth passes through.
    void AddCalibratedRead(const nodemap::NodeInfo &node,
                           std::function<void(void *buffer, size_t size)> store);

    DeviceFeatures m_features;
    IProcessor &m_processor;
    PortOverrides &m_overrides;
    std::function<Scan3dCoordinate()> m_currentCoordinate;
};

} // namespace GenTL::internal
