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
    /// Else samples of 16 bits.
    bool isByte;
    /// Of the two colours that stand beside green, this line has red.
    bool hasRed;
    /// The first pixel is green.
    bool beginsGreen;
};

/// Makes all pixels of the line but the first and the last, at the depth of the source. All memory may begin
/// at any address.
void DemosaicLine(const MosaicLine &line, DemosaicResult result, uint8_t *target);

} // namespace tarn::vision
