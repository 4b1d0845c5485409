#pragma once

#include "common/format_table.h"
#include "processing/component.h"
#include "processing/pixel_work.h"

#include <cstdint>
#include <span>
#include <vector>

namespace GenTL::internal
{

class DepthOutput;

/// An image that arrived in a frame, and what it becomes.
struct ImageConversion
{
    Component component{};
    const tarn::common::FormatInfo *input = nullptr;
    const tarn::common::FormatInfo *output = nullptr;
    tarn::common::Size size{};
    uint64_t xPadding = 0; ///< bytes behind each line

    // A number of bytes that does not fit in 64 bits is given as the largest one.

    /// Bytes of the image as it arrives, with the padding of its lines.
    uint64_t InputBytes() const;
    /// Bytes of the image that is delivered, without padding.
    uint64_t OutputBytes() const;
    /// Whole lines in the first bytes of the image as it arrives.
    uint64_t LinesIn(uint64_t bytes) const;
    /// Bytes of a line that is delivered.
    uint64_t OutputLineBytes() const;
};

/// Writes converted images into the consumer's memory.
///
/// Owned by ConversionProcessor and used by the acquisition thread. Keeps memory for images that need a copy
/// first, so that frames of one kind allocate it once.
class ImageWriter
{
public:
    explicit ImageWriter(const DepthOutput &depth) : m_depth(depth) {}

    /// Writes the lines that have arrived.
    /// @param arrived the bytes of the image that have arrived; all of them for a complete image
    /// @param output has room for the whole image
    /// @return bytes of these lines in the output
    /// @throws GenTLException for padded lines that do not end on a byte; as DepthOutput::Process; whatever
    /// the vision library throws
    uint64_t Write(const ImageConversion &image, std::span<uint8_t> arrived, std::span<uint8_t> output);

private:
    PixelSource Arrived(const ImageConversion &image, std::span<uint8_t> arrived, uint64_t lines);
    PixelSource Whole(const ImageConversion &image, const PixelSource &source);
    PixelSource Unpacked(const ImageConversion &image, const PixelSource &source);

    const DepthOutput &m_depth;
    std::vector<uint8_t> m_dense;    ///< lines without their padding
    std::vector<uint8_t> m_whole;    ///< an incomplete image with empty lines
    std::vector<uint8_t> m_unpacked; ///< what the undistortion reads
};

} // namespace GenTL::internal
