#include "remote/calibrated_depth.h"

#include <utility>

namespace GenTL::internal
{

CalibratedDepth::CalibratedDepth(ConversionProcessor &processor, LensReader &lens,
                                 std::function<Scan3dInfo()> encoding)
    : m_processor(processor), m_lens(lens), m_encoding(std::move(encoding))
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
    const auto wanted = m_chosen           ? *m_chosen
                        : m_lens.IsThere() ? Scan3dOutputMode::CalibratedABC_Grid
                                           : Scan3dOutputMode::UncalibratedC;
    if (wanted != present)
    {
        m_processor.ConfigureDepth().SetMode(wanted);
    }
    return wanted;
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
    depth.SetInfo(m_encoding());
    depth.SetLensCalibrationData(*m_lens.Get());
    return depth.AxisRange(coordinate);
}

} // namespace GenTL::internal
