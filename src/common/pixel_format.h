#pragma once

#include "common/size.h"

#include <cstdint>
#include <string>

namespace tarn::common
{

/// A pixel format code, published (PFNC) or vendor-specific. Signed 64-bit, so that values of GenTL queries
/// fit unchanged.
enum class PixelFormat : int64_t
{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) name = code,
#include "common/pixel_formats.inc"
#include "common/published_formats.inc" // which undefines the macro
};

// Each of these functions throws InvalidParameterException for a code that is not in familyFormats
// (common/format_table.h).

/// Bytes of an image without padding between its rows.
uint64_t GetSizeInBytes(PixelFormat format, Size size);

/// The name of the format, as "BayerRG12p".
std::string PixelFormatName(PixelFormat format);

/// The largest value of a sample.
/// @throws InvalidParameterException also for a floating point format
uint64_t MaximumPixelValue(PixelFormat format);

/// Whether samples share bytes. An interleaved format of whole samples is not packed.
bool IsPackedFormat(PixelFormat format);

/// The format after unpacking; the same format when there is nothing to unpack.
PixelFormat UnpackedFormat(PixelFormat format);

} // namespace tarn::common
