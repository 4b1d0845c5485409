#pragma once

#include "processing/conversion_processor.h"
#include "remote/i_delivery.h"

#include <memory>
#include <utility>

namespace GenTL::internal
{

/// The processing of a device, as its features show it. As thread-safe as the processor.
class ConversionDelivery final : public IDelivery
{
public:
    explicit ConversionDelivery(std::shared_ptr<ConversionProcessor> processor)
        : m_processor(std::move(processor))
    {
    }

    void SetConversion(Component component, PixelFormat input, PixelFormat output) override
    {
        m_processor->SetConversion(component, input, output);
    }
    PixelFormat OutputOf(Component component, PixelFormat input) const override
    {
        return m_processor->OutputOf(component, input);
    }
    uint64_t PayloadSize() override { return m_processor->PayloadSize(); }
    Scan3dOutputMode OutputMode() const override { return m_processor->Depth().GetMode(); }
    void SetOutputMode(Scan3dOutputMode mode) override { m_processor->ConfigureDepth().SetMode(mode); }
    std::pair<double, double> AxisRange(Scan3dCoordinate coordinate) const override
    {
        return m_processor->Depth().AxisRange(coordinate);
    }
    bool IsRunning() const override { return m_processor->IsRunning(); }

private:
    std::shared_ptr<ConversionProcessor> m_processor;
};

} // namespace GenTL::internal
