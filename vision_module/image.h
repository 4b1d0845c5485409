#pragma once

#include "common/pixel_format.h"
#include "vision_module/handles.h"
#include "vision_module/interface.h"
#include "vision_module/metadata.h"
#include "vision_module/pixel_memory.h"
#include "vision_module/region.h"

#include <optional>
#include <string>

namespace tarn::vision
{

using common::PixelFormat;

/// The limit for images with memory of their own, in bytes.
constexpr uint64_t maximumOwnSize = uint64_t{1} << 36;

/// Pixels, in the image's own memory or in the caller's.
struct Image
{
    static constexpr Kind kind = Kind::Image;

    PixelFormat format{};
    uint32_t width = 0;
    uint32_t height = 0;
    /// Size of the memory in bytes; at least PixelBytes.
    uint64_t size = 0;
    uint8_t *data = nullptr;

    Metadata metadata;
    std::optional<Region> region;

    /// Empty when the memory is the caller's.
    PixelMemory memory;

    uint64_t PixelCount() const { return uint64_t{width} * height; }
};

/// The name of a format that FormatOf has let in.
std::string NameOf(PixelFormat format);

/// @throws Failure with TARN_CVL_NOT_SUPPORTED for an unknown code, and for a format without a fixed size
PixelFormat FormatOf(uint32_t code);

/// Bytes of the pixels, without padding.
/// @throws Failure with TARN_CVL_OUT_OF_RANGE when the number does not fit in 64 bits
uint64_t PixelBytes(PixelFormat format, uint32_t width, uint32_t height);

/// An image over the caller's memory.
/// @throws Failure for an unknown format, for padding, and for memory that is null or too small
std::shared_ptr<Image> MakeImage(const tarn_cvl_ImageInfo &info);

/// An image with zeroed memory of its own.
/// @throws Failure for an unknown format, and for more than maximumOwnSize bytes
std::shared_ptr<Image> MakeZeroedImage(uint32_t pixelFormat, tarn_cvl_Size size);

/// Whether the pixels of the two images overlap in memory.
bool ShareMemory(const Image &one, const Image &other);

tarn_cvl_ImageInfo InfoOf(const Image &image);

} // namespace tarn::vision
