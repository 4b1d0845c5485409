#pragma once

#include "consumer/frame_info.h"
#include "pictures/image_files.h"
#include "pictures/point_view.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

/// An image in a buffer: the whole payload, or one part of it.
struct NamedImage
{
    std::string name; ///< of the part, as "range"; empty for a buffer that is one image
    ImageView view;
};

/// @throws std::runtime_error the producer does not say where the image is in memory
std::vector<NamedImage> ImagesOf(const FrameInfo &frame);

/// Bytes of an image as it was delivered. The filled size alone would be too small: a producer that unpacks
/// reports the size that the camera sent.
size_t DeliveredBytes(const FrameInfo &frame, const ImageView &image);

/// Where and how frames are written.
struct FrameFileOptions
{
    std::filesystem::path folder;      ///< it exists
    std::string format = "png";        ///< "png", "tiff", "npy", "exr" or "raw"
    PictureOptions pictures;           ///< for all formats but "raw"
    std::optional<std::string> points; ///< "ply", "pcd" or "none"; default: none with "raw", else "ply"
    std::optional<ViewAngles> view;    ///< also picture a grid of points from here
};

/// Writes the images of a frame as `frame-NNNNN.png` (or .tiff, ...) and its infos beside them as
/// `frame-NNNNN.json`; a grid of points also as `frame-NNNNN.ply` or `.pcd`, with the intensity if the frame
/// has it, and with a view as `frame-NNNNN-view.png`. Of an incomplete frame only the infos are written.
/// @return the names of the files; after a failure, none of them stays
/// @throws std::runtime_error a view is asked for and the frame has no grid of points; as ImagesOf and
/// WritePicture
std::vector<std::string> WriteFrame(const FrameInfo &frame, uint64_t number, const FrameFileOptions &options);

} // namespace gentlctl
