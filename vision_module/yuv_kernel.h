#pragma once

#include <cstdint>

namespace tarn::vision
{

/// A line of pairs of pixels that share U and V.
struct YuvLine
{
    /// U, luminance, V, luminance of each pair; or the luminances alone, when `colours` are elsewhere.
    const uint8_t *samples;
    /// Two for each pair; null when they are among `samples`.
    const uint8_t *colours;
    /// V stands before U in `colours`.
    bool isVFirst;
};

/// Makes red, green and blue of each pixel, by ITU-R BT.601 with luminance from 16 to 235.
void YuvLineToRgb(const YuvLine &line, uint32_t pairs, uint8_t *rgb);

} // namespace tarn::vision
