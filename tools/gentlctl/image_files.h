#pragma once

#include <opencv2/core.hpp>

#include <cstdint>
#include <filesystem>
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

/// Whether an image of this format can be written as a picture; others can be written raw.
bool CanWritePicture(uint64_t pixelFormat);

/// Writes a picture in the format of the file's extension (.png, .tiff). In a PNG samples of 10 and 12 bits
/// are scaled to the full 16, so that every viewer shows them right; in a TIFF they keep their values.
/// Bayer images are written in colour. Depth is coloured in a PNG and keeps its values in a TIFF.
/// @throws std::runtime_error format not supported, image larger than its memory, or the file cannot be
/// written
void WritePicture(const std::filesystem::path &file, const ImageView &image);

/// Writes bytes as they are.
/// @throws std::runtime_error the file cannot be written
void WriteBytes(const std::filesystem::path &file, const void *data, size_t size);

/// Writes an image in the format of the file's extension.
/// @throws std::runtime_error the file cannot be written
void WriteImage(const std::filesystem::path &file, const cv::Mat &pixels);

/// Makes a folder, and those above it, if it is not there.
/// @throws std::runtime_error it cannot be made
void MakeFolder(const std::filesystem::path &folder);

/// Text for a file that cannot be written, with the reason in errno.
std::string CannotWrite(const std::filesystem::path &file);

} // namespace gentlctl
