#pragma once

#include <cstdint>

namespace tarn::vision
{

enum class DemosaicResult
{
    Grey,
    Rgb,
    Bgr
};

/// A line of a Bayer image between its neighbours.
struct MosaicLine
{
    const uint8_t *above;
    const uint8_t *here;
    const uint8_t *below;
    uint32_t width;
    /// True for samples of one byte, false for samples of 16 bits.
    bool isByte;
    /// Whether green alternates with red on this line; it alternates with blue otherwise.
    bool hasRed;
    /// Whether the first pixel is green.
    bool beginsGreen;
};

/// Makes the pixels of the line except the first and the last, at the depth of the source. Source and target
/// may begin at any address.
void DemosaicLine(const MosaicLine &line, DemosaicResult result, uint8_t *target);

} // namespace tarn::vision
