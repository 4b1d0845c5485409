#pragma once

#include "common/pixel_format.h"
#include "vision_module/handles.h"
#include "vision_module/interface.h"
#include "vision_module/metadata.h"
#include "vision_module/pixel_memory.h"
#include "vision_module/region.h"

#include <optional>

namespace tarn::vision
{

using common::PixelFormat;

/// The largest image that is made with memory of its own, in bytes.
constexpr uint64_t maximumOwnSize = uint64_t{1} << 36;

/// Pixels in memory of the image's own or of the caller.
struct Image
{
    static constexpr Kind kind = Kind::Image;

    PixelFormat format{};
    uint32_t width = 0;
    uint32_t height = 0;
    /// Bytes of the memory, at least those of the pixels.
    uint64_t size = 0;
    uint8_t *data = nullptr;

    Metadata metadata;
    std::optional<Region> region;

    /// Empty when the memory is the caller's.
    PixelMemory memory;

    uint64_t PixelCount() const { return uint64_t{width} * height; }
};

/// @throws Failure with TARN_CVL_NOT_SUPPORTED for a code that is not in the table of formats
PixelFormat FormatOf(uint32_t code);

/// Bytes that the pixels take.
/// @throws Failure with TARN_CVL_OUT_OF_RANGE when that is more than any memory
uint64_t PixelBytes(PixelFormat format, uint32_t width, uint32_t height);

/// An image over the caller's memory.
/// @throws Failure for a bad format, padding, or memory that is null or too small
std::shared_ptr<Image> MakeImage(const tarn_cvl_ImageInfo &info);

/// An image with zeroed memory of its own.
/// @throws Failure for a bad format, or for more than maximumOwnSize
std::shared_ptr<Image> MakeZeroedImage(uint32_t pixelFormat, tarn_cvl_Size size);

/// Whether pixels of the two lie in the same bytes.
bool ShareMemory(const Image &one, const Image &other);

tarn_cvl_ImageInfo InfoOf(const Image &image);

} // namespace tarn::vision
