#pragma once

#include <cstdint>

namespace tarn::vision
{

// Unpacking of pixel formats. docs/pixel-layouts.md draws the layouts. Formats are the low 32 bits of their
// codes in common::wideFormats.

/// Whether Unpack converts between the formats: each packed format to its unpacked form, and each interleaved
/// format to the format whose pixels hold the samples of all sub-images.
bool IsUnpackOffered(uint32_t from, uint32_t to);

/// Unpacks an image. A format of several samples per pixel keeps their order. Samples of more than 8 bits
/// become 16-bit little-endian. The images need no alignment and must not overlap. No byte outside them is
/// read or written.
///
/// Lines of `_I_A_B` belong to A and B in turn, and a pair of them is a cell. Lines of `_I_AB_CD` alternate
/// between A and B, and between C and D; the cells are blocks of 2 x 2. Every pixel of the output, which has
/// the size of the input, holds the samples of its cell. In an unpaired last line or column, the missing
/// samples of a cell repeat their nearest neighbour: B repeats A when the last line of `_I_A_B` is an A; in
/// `_I_AB_CD`, B and D repeat A and C in an odd last column, and C and D repeat A and B in an odd last line.
///
/// @param source GetSizeInBytes(from, {width, height}) bytes
/// @param target GetSizeInBytes(to, {width, height}) bytes
/// @throws InvalidParameterException when the pair of formats is not offered
void Unpack(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
            uint32_t height);

} // namespace tarn::vision
