#include "remote/calibrated_depth.h"

#include <utility>

namespace GenTL::internal
{

CalibratedDepth::CalibratedDepth(ConversionProcessor &processor, LensReader &lens, Device device)
    : m_processor(processor), m_lens(lens), m_device(std::move(device))
{
    // The values are read at each start.
    m_processor.ConfigureDepth().SetInfo({});
}

Scan3dOutputMode CalibratedDepth::Mode()
{
    const auto present = m_processor.Depth().GetMode();
    if (m_processor.IsRunning())
    {
        return present;
    }
    const auto wanted = Wanted();
    if (wanted != present)
    {
        m_processor.ConfigureDepth().SetMode(wanted);
    }
    return wanted;
}

Scan3dOutputMode CalibratedDepth::Wanted()
{
    constexpr auto raw = Scan3dOutputMode::UncalibratedC;
    if (m_chosen == raw || !m_device.sendsRawDepth())
    {
        return raw;
    }
    return m_chosen ? *m_chosen : m_lens.IsThere() ? Scan3dOutputMode::CalibratedABC_Grid : raw;
}

void CalibratedDepth::SetMode(Scan3dOutputMode mode)
{
    auto &depth = m_processor.ConfigureDepth();
    if (!TraitsOf(mode).isRaw)
    {
        m_lens.Get();
    }
    m_chosen = mode;
    depth.SetMode(mode);
}

LensReader::File CalibratedDepth::Lens()
{
    return TraitsOf(Mode()).isRaw || m_processor.IsRunning() ? nullptr : m_lens.Get();
}

std::pair<double, double> CalibratedDepth::AxisRange(Scan3dCoordinate coordinate)
{
    DepthOutput depth;
    depth.SetMode(Mode());
    depth.SetInfo(m_device.encoding());
    depth.SetLensCalibrationData(*m_lens.Get());
    return depth.AxisRange(coordinate);
}

} // namespace GenTL::internal
