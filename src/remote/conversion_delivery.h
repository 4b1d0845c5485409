#pragma once

#include "processing/conversion_processor.h"
#include "remote/calibrated_depth.h"
#include "remote/i_delivery.h"

#include <memory>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// The processing of a device, as the device's features need it.
///
/// Made when a device is opened, and owned by its EditedRemote. Used under the lock of EditedView.
class ConversionDelivery final : public IDelivery
{
public:
    explicit ConversionDelivery(std::shared_ptr<ConversionProcessor> processor)
        : m_processor(std::move(processor))
    {
    }

    /// Adds calibrated depth.
    void SetDepth(std::unique_ptr<CalibratedDepth> depth) { m_depth = std::move(depth); }

    void SetConversion(Component component, PixelFormat input, PixelFormat output) override
    {
        m_processor->SetConversion(component, input, output);
    }
    PixelFormat OutputOf(Component component, PixelFormat input) const override
    {
        OutputMode(); // may change the mode, and with it the format of depth
        return m_processor->OutputOf(component, input);
    }
    uint64_t PayloadSize() override { return m_processor->PayloadSize(); }
    Scan3dOutputMode OutputMode() const override
    {
        return m_depth ? m_depth->Mode() : Scan3dOutputMode::UncalibratedC;
    }
    void SetOutputMode(Scan3dOutputMode mode) override { m_depth->SetMode(mode); }
    bool OffersDepth() const override { return m_depth && m_depth->IsOffered(); }
    std::shared_ptr<const std::vector<uint8_t>> Lens() const override
    {
        return m_depth ? m_depth->Lens() : nullptr;
    }
    std::pair<double, double> AxisRange(Scan3dCoordinate coordinate) const override
    {
        return m_depth->AxisRange(coordinate);
    }
    bool IsRunning() const override { return m_processor->IsRunning(); }

private:
    std::shared_ptr<ConversionProcessor> m_processor;
    std::unique_ptr<CalibratedDepth> m_depth; ///< null for a device without calibrated depth
};

} // namespace GenTL::internal
