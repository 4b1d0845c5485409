#pragma once

#include "pictures/raster.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace gentlctl
{

/// A delivered image in memory: rows without padding, samples little-endian.
struct ImageView
{
    const uint8_t *data;
    size_t size;          ///< bytes of the memory
    size_t width;         ///< pixels
    size_t height;        ///< lines
    uint64_t pixelFormat; ///< PFNC code
};

/// Bytes of an image of this format; 0 for a format that the project does not know.
size_t BytesOf(uint64_t pixelFormat, size_t width, size_t height);

/// The published name of a pixel format, or its code when the project does not know it.
std::string FormatName(uint64_t pixelFormat);

/// How many images the samples of a pixel hold: 2 in `Mono10_AB`, 4 in `Mono8_ABCD`, 1 in other formats.
size_t ImagesIn(uint64_t pixelFormat);

/// How samples become a picture.
struct PictureOptions
{
    std::optional<bool> scale{}; ///< samples of 10 to 14 bits to the full 16; default: in a PNG alone
    bool keepsMosaic = false;    ///< Bayer images as they are, not in colour
};

/// Writes a picture in the format of the file's extension (.png, .tiff, .npy, .exr). In a PNG samples of 10
/// to 14 bits are scaled to the full 16, so that every viewer shows them right; in the others they keep their
/// values. Bayer images are written in colour. The images of an interleaved Bayer format are written as they
/// are: the format does not define which lines of the mosaic each has. A PNG shows depth in colours; the
/// others keep its values, or x, y and z of points.
/// @param index selects one of the images of an interleaved format
/// @throws std::runtime_error the format is not supported, the image is larger than its memory, or the file
/// cannot be written
void WritePicture(const std::filesystem::path &file, const ImageView &image, size_t index = 0,
                  const PictureOptions &options = {});

/// The picture as a screen shows it: 8 bits, grey, or red, green and blue; depth in colours.
/// @throws std::runtime_error the format is not supported, or the image is larger than its memory
Raster<uint8_t> ShownPicture(const ImageView &image, const PictureOptions &options = {});

/// Writes an image in the format of the file's extension.
/// @param pixels grey, or red, green and blue
/// @throws std::runtime_error the file cannot be written
void WriteImage(const std::filesystem::path &file, const AnyRaster &pixels);

} // namespace gentlctl
