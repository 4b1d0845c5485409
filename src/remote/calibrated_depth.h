#pragma once

#include "processing/conversion_processor.h"
#include "processing/scan3d.h"
#include "remote/lens_reader.h"

#include <functional>
#include <optional>
#include <utility>

namespace GenTL::internal
{

/// The output mode of a 3D device with a lens calibration. Until the consumer chooses one, it is the grid;
/// raw depth where the device's calibration cannot be used.
///
/// Made when a device is opened, and owned by its ConversionDelivery. Used under the lock of EditedView. What
/// it refers to must outlive it.
class CalibratedDepth
{
public:
    /// Questions to the device.
    struct Device
    {
        std::function<Scan3dInfo()> encoding; ///< of its raw depth
        std::function<bool()> sendsRawDepth;  ///< false while it has an output mode of its own
    };

    /// Turns the processing into that of a 3D device.
    CalibratedDepth(ConversionProcessor &processor, LensReader &lens, Device device);

    /// A raw mode while the device has an output mode of its own. Reads the lens calibration if the answer
    /// depends on it.
    Scan3dOutputMode Mode();
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; as LensReader::Get for a
    /// calibrated mode, and the mode stays
    void SetMode(Scan3dOutputMode mode);
    bool IsOffered() { return m_lens.IsThere(); }
    /// The calibration that the mode needs; null in a raw mode, and while acquisition runs.
    /// @throws as LensReader::Get
    LensReader::File Lens();
    /// Computed with what the device says now.
    /// @throws as LensReader::Get; GC_ERR_NOT_AVAILABLE for A and B in a mode without them
    std::pair<double, double> AxisRange(Scan3dCoordinate coordinate);

private:
    Scan3dOutputMode Wanted();

    ConversionProcessor &m_processor;
    LensReader &m_lens;
    Device m_device;
    std::optional<Scan3dOutputMode> m_chosen;
};

} // namespace GenTL::internal
