#pragma once

#include <cstdint>

namespace tarn::vision
{

/// A line of pixel pairs. The pixels of a pair share U and V.
struct YuvLine
{
    /// U, luminance, V, luminance of each pair; only the luminances when `colours` is set.
    const uint8_t *samples;
    /// U and V of each pair; null when `samples` holds them.
    const uint8_t *colours;
    /// Whether V precedes U in `colours`.
    bool isVFirst;
};

/// Converts pixels to RGB by ITU-R BT.601, with luminance from 16 to 235.
void YuvLineToRgb(const YuvLine &line, uint32_t pairs, uint8_t *rgb);

} // namespace tarn::vision
