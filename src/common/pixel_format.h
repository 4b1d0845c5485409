#pragma once

#include <cstdint>

namespace tarn::common
{

/// A pixel format code of the published naming convention (PFNC) or of the maker. Signed 64-bit, so that a
/// value from a GenTL query fits unchanged.
enum class PixelFormat : int64_t;

} // namespace tarn::common
