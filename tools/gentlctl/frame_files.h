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

/// Where and how frames are written.
struct FrameFileOptions
{
    std::filesystem::path folder;   ///< it exists; empty: nothing is written
    std::string format = "png";     ///< "png", "tiff" or "raw"
    std::optional<ViewAngles> view; ///< also picture a grid of points from here
};

/// Writes the images of a frame as `frame-NNNNN.png` (or .tiff, .raw) and its infos beside them as
/// `frame-NNNNN.json`; a grid of points also as `frame-NNNNN.ply`, with the intensity if the frame has it,
/// and with a view as `frame-NNNNN-view.png`. Of an incomplete frame only the infos are written.
/// @return the names of the files
/// @throws std::runtime_error a view is asked for and the frame has no grid of points; as ImagesOf and
/// WritePicture
std::vector<std::string> WriteFrame(const FrameInfo &frame, uint64_t number, const FrameFileOptions &options);

} // namespace gentlctl
