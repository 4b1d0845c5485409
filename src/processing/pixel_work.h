#pragma once

#include "common/pixel_format.h"
#include "common/size.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// Pixels as they arrived, without padding between their lines.
struct PixelSource
{
    tarn::common::PixelFormat format{};
    tarn::common::Size size;
    uint8_t *data = nullptr;
    uint64_t byteSize = 0;
};

/// Room for the pixels of one image.
struct PixelTarget
{
    tarn::common::PixelFormat format{};
    std::span<uint8_t> memory;
};

/// Converts an image through the vision library, from the one memory directly into the other.
/// @throws tarn::cvl::Exception for a pair of formats that the library does not convert, and for memory that
/// is too small or shared
void UnpackImage(const PixelSource &source, const PixelTarget &target);

} // namespace GenTL::internal
