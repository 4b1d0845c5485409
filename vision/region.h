#pragma once

#include "vision/handles.h"
#include "vision/interface.h"

#include <cstdint>
#include <vector>

namespace tarn::vision
{

struct Image;

/// Pixels of one line that stand next to each other: from `begin` up to, without, `end`.
struct Run
{
    uint32_t line;
    uint32_t begin;
    uint32_t end;
};

/// A set of pixels, as runs in the order of lines and columns, with a gap between any two of a line.
struct Region
{
    static constexpr Kind kind = Kind::Region;

    std::vector<Run> runs;
};

/// Adds the stretches of ones among the bytes, 0 or 1, of the pixels of a run.
void AddOnes(std::vector<Run> &runs, const Run &within, const uint8_t *bytes);

/// The pixels with a value in the closed range.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED when a pixel is not one whole sample
Region PixelsInRange(const Image &image, const tarn_cvl_Range &range);

/// Sets the region's pixels.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED when a pixel is not up to three whole samples, not counting
/// transparency
void Draw(Image &image, const Region &region, const tarn_cvl_Colour &colour);

} // namespace tarn::vision
