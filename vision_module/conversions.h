#pragma once

#include "common/pixel_format.h"

namespace tarn::vision
{

/// How one pixel format is converted into another.
enum class Conversion
{
    None,
    Copy,     ///< the bytes, unchanged
    Unpack,   ///< whole samples, sub-images side by side
    Shift,    ///< to another depth
    Demosaic, ///< a Bayer pattern to grey or colour
    Reorder,  ///< colour samples into another order, with or without transparency
    Yuv,      ///< to RGB
    Widen     ///< the same values in larger samples
};

/// Looks up the pair in the table of conversions. Pairs that unpack come from unpack.h.
Conversion FindConversion(common::PixelFormat from, common::PixelFormat to);

/// Whether the pair is in the table of conversions.
bool IsOffered(common::PixelFormat from, common::PixelFormat to);

/// Whether the pair is also offered with a factor, for which the target must have whole samples.
bool IsOfferedWithFactor(common::PixelFormat from, common::PixelFormat to);

} // namespace tarn::vision
