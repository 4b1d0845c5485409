#pragma once

#include "common/pixel_format.h"
#include "processing/component.h"
#include "processing/scan3d.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

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

    /// Sets the format that images of an input format become; the input format itself ends a conversion.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs
    virtual void SetConversion(Component component, PixelFormat input, PixelFormat output) = 0;
    /// The format that images of an input format are delivered in.
    virtual PixelFormat OutputOf(Component component, PixelFormat input) const = 0;
    /// The size of a consumer buffer, in bytes.
    virtual uint64_t PayloadSize() = 0;
    /// The output mode of a 3D device.
    virtual Scan3dOutputMode OutputMode() const = 0;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; why calibrated depth cannot be
    /// made, and the mode stays
    virtual void SetOutputMode(Scan3dOutputMode mode) = 0;
    /// Whether calibrated depth can be made.
    virtual bool OffersDepth() const = 0;
    /// The lens calibration file that the output mode needs; null when it needs none.
    /// @throws GenTLException why it cannot be used
    virtual std::shared_ptr<const std::vector<uint8_t>> Lens() const = 0;
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
