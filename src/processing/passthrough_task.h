#pragma once

#include "processing/i_task.h"

#include <unordered_map>

namespace GenTL::internal
{

/// Copies a delivered buffer unchanged.
class PassthroughTask final : public ITask
{
public:
    /// @throws GenTLException "Output buffer is smaller than input buffer!"; copies nothing
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    void SetOutputFormat(Component component, tarn::common::PixelFormat format) override;
    /// @throws std::out_of_range for a component without a format
    tarn::common::PixelFormat OutputFormat(Component component) const override;
    /// @throws GenTLException "Unknown component {}!"
    uint64_t ImagePayloadSize(Component component, tarn::common::Size size) const override;
    std::vector<tarn::common::PixelFormat>
    AvailableOutputFormats(Component component, tarn::common::PixelFormat input) const override;
    std::optional<tarn::common::PixelFormat>
    MatchInputFormat(Component component, tarn::common::PixelFormat output,
                     const std::vector<tarn::common::PixelFormat> &inputs) const override;

private:
    std::unordered_map<Component, tarn::common::PixelFormat> m_formats;
};

} // namespace GenTL::internal
