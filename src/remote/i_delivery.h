#pragma once

#include "common/pixel_format.h"
#include "processing/component.h"

#include <cstdint>

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
    /// Whether acquisition runs, during which formats do not change.
    virtual bool IsRunning() const = 0;
};

} // namespace GenTL::internal
