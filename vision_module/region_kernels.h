#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

// Functions that find pixels and trace where they come from, compiled for each instruction set. Images need
// no alignment.
//
// A set of pixels has one bit per pixel, beginning with the lowest bit of the first word. Bits past the last
// pixel are 0.

constexpr size_t pixelsPerWord = 64;

constexpr size_t WordsOf(size_t pixels)
{
    return (pixels + pixelsPerWord - 1) / pixelsPerWord;
}

/// Finds the samples from `lowest` to `highest`, limits included.
void FindInRange(const uint8_t *samples, size_t count, uint8_t lowest, uint8_t highest, uint64_t *found);
void FindInRange(const uint8_t *samples, size_t count, uint16_t lowest, uint16_t highest, uint64_t *found);

/// Pixels of four bytes, picked from a source by a map. A pixel outside the set reads as 0.
struct MaskedPixels
{
    const uint8_t *source;
    /// The set of pixels of the source.
    const uint64_t *mask;
    /// The source index of each pixel. Entries past the pixels of one call announce the pixels of the next,
    /// for prefetching.
    const uint32_t *places;
    size_t placeCount;
};

/// @param taken out: the pixels that belong to the set
void TakeMasked(const MaskedPixels &pixels, size_t count, uint8_t *target, uint64_t *taken);

} // namespace tarn::vision
