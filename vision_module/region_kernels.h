#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

// What finds pixels and follows them, in a form for each instruction set. Images need no alignment.
//
// A set of pixels is a bit for each, that of the first one the lowest of the first word. The bits behind the
// last pixel are 0.

constexpr size_t pixelsPerWord = 64;

constexpr size_t WordsOf(size_t pixels)
{
    return (pixels + pixelsPerWord - 1) / pixelsPerWord;
}

/// The samples with a value from `lowest` up to `highest`.
void FindInRange(const uint8_t *samples, size_t count, uint8_t lowest, uint8_t highest, uint64_t *found);
void FindInRange(const uint8_t *samples, size_t count, uint16_t lowest, uint16_t highest, uint64_t *found);

/// Pixels of four bytes from the places that a map names, with 0 for those that are not of a set.
struct MaskedPixels
{
    const uint8_t *source;
    /// The set, of the source.
    const uint64_t *mask;
    /// For each pixel its place in the source. Those behind the pixels that are taken tell what comes next.
    const uint32_t *places;
    size_t placeCount;
};

/// @param taken out: those of the set
void TakeMasked(const MaskedPixels &pixels, size_t count, uint8_t *target, uint64_t *taken);

} // namespace tarn::vision
