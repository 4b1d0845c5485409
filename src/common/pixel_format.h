#pragma once

#include "common/size.h"

#include <cstdint>
#include <string>

namespace tarn::common
{

/// A pixel format code of the published naming convention (PFNC) or of the maker. Signed 64-bit, so that a
/// value from a GenTL query fits unchanged.
enum class PixelFormat : int64_t
{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) name = code,
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
};

// Each of the following throws InvalidParameterException for a code that is not in the table.

/// Bytes of one image, rows following each other without padding.
uint64_t GetSizeInBytes(PixelFormat format, Size size);

/// The published name, as "BayerRG12p".
std::string PixelFormatName(PixelFormat format);

/// The largest value of a sample.
/// @throws InvalidParameterException for a floating point format, too
uint64_t MaximumPixelValue(PixelFormat format);

/// Whether samples share bytes. The interleaved forms of formats with whole samples are not packed.
bool IsPackedFormat(PixelFormat format);

/// The format that unpacking gives; the format itself when there is nothing to unpack.
PixelFormat UnpackedFormat(PixelFormat format);

} // namespace tarn::common
