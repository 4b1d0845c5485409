#pragma once

#include "vision_module/handles.h"
#include "vision_module/interface.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tarn::vision
{

struct Image;

/// Neighbouring pixels of one line, from `begin` up to but not including `end`.
struct Run
{
    uint32_t line;
    uint32_t begin;
    uint32_t end;
};

/// A set of pixels, stored as runs ordered by line and column. Two runs of a line never touch.
struct Region
{
    static constexpr Kind kind = Kind::Region;

    std::vector<Run> runs;
};

/// Calls use(first, end) with the pixel indices of each run, clipped to an image of this size; `end` is one
/// past the last pixel.
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

/// Adds a run for each stretch of ones among the bits of a given run.
void AddOnes(std::vector<Run> &runs, const Run &within, const uint64_t *bits);

/// Sets the bits of the pixels from `begin` up to but not including `end`.
void SetBits(uint64_t *bits, uint64_t begin, uint64_t end);

/// The pixels whose value lies in the range, limits included.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED unless a pixel is one whole sample
Region PixelsInRange(const Image &image, const tarn_cvl_Range &range);

/// Gives the region's pixels one colour.
/// @throws Failure with TARN_CVL_NOT_SUPPORTED unless a pixel has one to three whole samples, besides
/// transparency
void Draw(Image &image, const Region &region, const tarn_cvl_Colour &colour);

} // namespace tarn::vision
