#pragma once

#include "common/pixel_format.h"

namespace tarn::vision
{

/// The way from one pixel format to another.
enum class Conversion
{
    None,
    Copy,     ///< the bytes as they are
    Unpack,   ///< whole samples, sub-images side by side
    Shift,    ///< to another depth
    Demosaic, ///< a Bayer pattern to grey or colour
    Reorder,  ///< colour samples in another order, with or without transparency
    Yuv,      ///< to RGB
    Widen     ///< the same values in larger samples
};

/// Looks the pair up in the table of conversions; the pairs that unpack stand in unpack.h.
Conversion FindConversion(common::PixelFormat from, common::PixelFormat to);

/// Whether the pair is in the table of conversions.
bool IsOffered(common::PixelFormat from, common::PixelFormat to);

/// Whether the pair is offered with a factor, too: the target has whole samples.
bool IsOfferedWithFactor(common::PixelFormat from, common::PixelFormat to);

} // namespace tarn::vision
