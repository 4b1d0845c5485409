#pragma once

#include "common/format_table.h"
#include "processing/component.h"
#include "processing/depth_output.h"
#include "processing/image_writer.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Images of one component as the device sends them now.
struct DeviceImage
{
    Component component{};
    tarn::common::PixelFormat code{};                 ///< value of PixelFormat on the device
    const tarn::common::FormatInfo *format = nullptr; ///< what the code means; null when that is unknown
    tarn::common::Size size{};
};

/// What the images of a device become: by their component and the format that they come in, and by the mode
/// of the 3D output.
///
/// Owned by ConversionProcessor, which changes it while no acquisition runs.
class ImageConversions
{
public:
    using PixelFormat = tarn::common::PixelFormat;
    using FormatInfo = tarn::common::FormatInfo;

    /// @param formats the known ones; others stay as they are
    explicit ImageConversions(const tarn::common::FormatTable &formats) : m_formats(formats) {}

    /// Sets the format that images of an input format become; the input format itself ends a conversion.
    /// @throws GenTLException GC_ERR_INVALID_VALUE for a format that is not known
    void Set(Component component, PixelFormat input, PixelFormat output);
    PixelFormat OutputOf(Component component, PixelFormat input) const;
    DepthOutput &Depth() { return m_depth; }
    const DepthOutput &Depth() const { return m_depth; }
    /// Sets the meaning of the codes in the frames of the next acquisition. A code that is not among them
    /// means the known format of this code.
    void SetImages(std::vector<DeviceImage> images) { m_images = std::move(images); }
    const std::vector<DeviceImage> &Images() const { return m_images; }

    /// The format of a frame or a part; null when it is not known.
    /// @param numbering PIXELFORMAT_NAMESPACE_IDS; none: the published one
    const FormatInfo *FormatOf(std::optional<uint64_t> code, std::optional<uint64_t> numbering) const;
    /// What becomes of an image without padding; none when it passes through.
    /// @param input null: not known
    std::optional<ImageConversion> Find(Component component, const FormatInfo *input,
                                        std::optional<tarn::common::Size> size) const;

private:
    const tarn::common::FormatTable &m_formats;
    std::map<std::pair<Component, PixelFormat>, PixelFormat> m_outputs;
    DepthOutput m_depth;
    std::vector<DeviceImage> m_images;
};

} // namespace GenTL::internal
