#pragma once

#include "common/pixel_format.h"
#include "processing/component.h"
#include "processing/scan3d.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstdint>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

/// What becomes of the images that a device sends: the part of the processing that shows in the device's
/// features. The implementing class says which threads may call.
class IDelivery
{
public:
    using PixelFormat = tarn::common::PixelFormat;

    IDelivery() = default;
    IDelivery(const IDelivery &) = delete;
    IDelivery &operator=(const IDelivery &) = delete;
    virtual ~IDelivery() = default;

    /// Sets what images become that come in a format; the format itself ends a conversion.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs
    virtual void SetConversion(Component component, PixelFormat input, PixelFormat output) = 0;
    /// What images that come in a format are delivered as.
    virtual PixelFormat OutputOf(Component component, PixelFormat input) const = 0;
    /// The size of a consumer buffer, in bytes.
    virtual uint64_t PayloadSize() = 0;
    /// The output mode of a 3D device.
    virtual Scan3dOutputMode OutputMode() const = 0;
    virtual void SetOutputMode(Scan3dOutputMode mode) = 0;
    /// Minimum and maximum of a coordinate in the output mode.
    /// @throws GenTLException GC_ERR_NOT_AVAILABLE where there is none
    virtual std::pair<double, double> AxisRange(Scan3dCoordinate coordinate) const = 0;
    /// Whether acquisition runs, during which formats do not change.
    virtual bool IsRunning() const = 0;
};

/// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs
inline void CheckNotRunning(const IDelivery &delivery, std::string_view feature)
{
    if (delivery.IsRunning())
    {
        throw GenTLException(fmt::format("{} cannot be written while acquisition runs", feature),
                             GC_ERR_ACCESS_DENIED);
    }
}

} // namespace GenTL::internal
