#pragma once

#include "vision_module/handles.h"
#include "vision_module/interface.h"

#include <algorithm>
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

/// Calls `use` with the numbers of the first pixel and of the one behind the last of each run, as far as it
/// is in an image of this size.
template <typename Use>
void ForEachRunWithin(const Region &region, uint32_t width, uint32_t height, Use use)
{
    for (const auto &run : region.runs)
    {
        const auto end = std::min(run.end, width);
        if (run.line < height && run.begin < end)
        {
            const auto line = uint64_t{run.line} * width;
            use(line + run.begin, line + end);
        }
    }
}

/// Adds the stretches of ones among the bits of the pixels of a run.
void AddOnes(std::vector<Run> &runs, const Run &within, const uint64_t *bits);

/// Sets the bits of the pixels from `begin` up to, without, `end`.
void SetBits(uint64_t *bits, uint64_t begin, uint64_t end);

/// The pixels with a value in the closed range.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED when a pixel is not one whole sample
Region PixelsInRange(const Image &image, const tarn_cvl_Range &range);

/// Sets the region's pixels.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED when a pixel is not up to three whole samples, not counting
/// transparency
void Draw(Image &image, const Region &region, const tarn_cvl_Colour &colour);

} // namespace tarn::vision
