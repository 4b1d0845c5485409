#pragma once

#include "processing/i_task.h"

namespace GenTL::internal
{

/// Unpacks a 2D image into the consumer's buffer and moves the chunks behind the larger image.
///
/// The vision library unpacks directly from the lower buffer into the consumer's.
class UnpackerTask final : public ITask
{
public:
    /// @throws tarn::cvl::Exception when the conversion fails; GenTLException for chunks without an image,
    /// and for chunks outside the buffers. The output may be partly written then.
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    /// @throws GenTLException for another component than Image2D
    void SetOutputFormat(Component component, tarn::common::PixelFormat format) override;
    tarn::common::PixelFormat OutputFormat(Component component) const override;
    /// C-12: more than the image needs.
    /// @throws GenTLException for another component than Image2D
    uint64_t ImagePayloadSize(Component component, tarn::common::Size size) const override;
    std::vector<tarn::common::PixelFormat>
    AvailableOutputFormats(Component component, tarn::common::PixelFormat input) const override;
    std::optional<tarn::common::PixelFormat>
    MatchInputFormat(Component component, tarn::common::PixelFormat output,
                     const std::vector<tarn::common::PixelFormat> &inputs) const override;

private:
    tarn::common::PixelFormat m_format = tarn::common::PixelFormat::Mono8;
};

} // namespace GenTL::internal
