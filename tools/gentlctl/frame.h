#pragma once

#include "gentlctl/image_files.h"
#include "gentlctl/info.h"
#include "gentlctl/point_view.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// An image in a buffer: the whole payload, or one part of it.
struct NamedImage
{
    std::string name; ///< of the part, as "range"; empty for a buffer that is one image
    ImageView view;
};

/// One delivered buffer, with its infos and those of its parts. Valid until the buffer is queued again.
class Frame
{
public:
    /// @param remote features of the device, which give the chunks their meaning
    Frame(GenTL::internal::IGenTLProxy &calls, void *stream, void *buffer, const Features &remote);

    void *Buffer() const { return m_buffer; }
    const Json &Infos() const { return m_infos; }
    /// Values of the features that came with the frame, by name.
    const Json &Chunks() const { return m_infos.at("chunks"); }
    bool Incomplete() const;
    std::vector<NamedImage> Images() const;

    /// Writes the images, in the form of `format` ("png", "tiff", "raw"), and the infos; a grid of points as
    /// PLY, too, with the intensity if the frame has it.
    /// @param angles from where to picture a grid of points, too
    /// @return the names of the files
    /// @throws std::runtime_error a view of a frame without a grid of points, or what WritePicture throws
    Json Write(const std::filesystem::path &folder, uint64_t number, const std::string &format,
               const std::optional<ViewAngles> &angles = {}) const;

private:
    size_t Delivered(const ImageView &image) const;

    void *m_buffer;
    Json m_infos;
};

} // namespace gentlctl
