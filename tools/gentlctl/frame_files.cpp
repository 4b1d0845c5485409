#include "gentlctl/frame_files.h"

#include "consumer/json.h"
#include "gentlctl/frame_json.h"
#include "pictures/depth_files.h"
#include "pictures/file_writing.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace fs = std::filesystem;

namespace
{

std::string NameOfPart(uint64_t type, size_t index)
{
    static constexpr std::array names{std::pair{uint64_t{PART_DATATYPE_2D_IMAGE}, "intensity"},
                                      std::pair{uint64_t{PART_DATATYPE_3D_IMAGE}, "range"},
                                      std::pair{uint64_t{PART_DATATYPE_CONFIDENCE_MAP}, "confidence"}};
    const auto *name = std::ranges::find(names, type, [](const auto &entry) { return entry.first; });
    return name != names.end() ? name->second : "part" + std::to_string(index);
}

const uint8_t *CheckedAddress(const uint8_t *address)
{
    if (address == nullptr)
    {
        throw std::runtime_error("The producer does not say where the image is in memory");
    }
    return address;
}

/// The files of one frame, named as they are written.
class FrameFiles
{
public:
    FrameFiles(const FrameInfo &frame, uint64_t number, const FrameFileOptions &options)
        : m_frame(frame), m_number(number), m_options(options)
    {
    }

    std::vector<std::string> Write()
    {
        const auto images = m_frame.isIncomplete ? std::vector<NamedImage>() : ImagesOf(m_frame);
        for (const auto &image : images)
        {
            WriteOne(image);
        }
        const auto points = std::ranges::find_if(images, IsPointGrid, &NamedImage::view);
        if (points != images.end())
        {
            const auto intensity = std::ranges::find(images, "intensity", &NamedImage::name);
            WritePoints(*points, intensity != images.end() ? &intensity->view : nullptr);
        }
        else if (m_options.view && !images.empty())
        {
            throw std::runtime_error(
                "A view needs a grid of points, which these frames are not: choose a depth "
                "camera, with -s PixelFormat=Coord3D_ABC32f");
        }
        const auto text = JsonText(ToJson(m_frame), 2) + "\n";
        Add("", "json", [&](const fs::path &file) { WriteBytes(file, text.data(), text.size()); });
        return std::move(m_files);
    }

    /// Removes the files so far: a frame without all of its files counts as not written.
    void Remove() const
    {
        for (const auto &file : m_files)
        {
            std::error_code ignored;
            fs::remove(file, ignored);
        }
    }

private:
    /// Has a file of the frame written.
    template <typename Write>
    void Add(const std::string &part, const std::string &extension, Write write)
    {
        const auto file = m_options.folder / fmt::format("frame-{:05}{}{}.{}", m_number,
                                                         part.empty() ? "" : "-", part, extension);
        write(file);
        m_files.push_back(file.string());
    }

    void WriteOne(const NamedImage &image)
    {
        if (m_options.format == "raw")
        {
            Add(image.name, "raw",
                [&](const fs::path &file)
                { WriteBytes(file, image.view.data, DeliveredBytes(m_frame, image.view)); });
        }
        else
        {
            WritePictures(image);
        }
    }

    /// Writes each image that an image holds. Several images get "A", "B", ... after the name of their part.
    void WritePictures(const NamedImage &image)
    {
        const auto count = ImagesIn(image.view.pixelFormat);
        for (size_t index = 0; index < count; ++index)
        {
            const auto letter = count > 1 ? std::string(1, "ABCD"[index]) : "";
            const auto *separator = image.name.empty() || letter.empty() ? "" : "-";
            Add(image.name + separator + letter, m_options.format,
                [&](const fs::path &file) { WritePicture(file, image.view, index, m_options.pictures); });
        }
    }

    void WritePoints(const NamedImage &points, const ImageView *intensity)
    {
        const auto format = m_options.points.value_or(m_options.format == "raw" ? "none" : "ply");
        if (format != "none")
        {
            const auto write = format == "pcd" ? WritePcd : WritePly;
            Add(points.name, format, [&](const fs::path &file) { write(file, points.view, intensity); });
        }
        if (m_options.view)
        {
            Add("view", "png",
                [&](const fs::path &file) { WriteView(file, points.view, intensity, *m_options.view); });
        }
    }

    const FrameInfo &m_frame;
    uint64_t m_number;
    const FrameFileOptions &m_options;
    std::vector<std::string> m_files;
};

} // namespace

std::vector<NamedImage> ImagesOf(const FrameInfo &frame)
{
    if (frame.payloadType != PAYLOAD_TYPE_MULTI_PART)
    {
        return {{"",
                 {CheckedAddress(frame.base) + frame.imageOffset,
                  frame.size - std::min(frame.size, frame.imageOffset), frame.width, frame.height,
                  frame.pixelFormat}}};
    }
    std::vector<NamedImage> images;
    for (const auto &part : frame.parts)
    {
        images.push_back({NameOfPart(part.dataType, images.size()),
                          {CheckedAddress(part.base), part.size, part.width, part.height, part.pixelFormat}});
    }
    return images;
}

size_t DeliveredBytes(const FrameInfo &frame, const ImageView &image)
{
    const auto imageSize = BytesOf(image.pixelFormat, image.width, image.height);
    return std::min(image.size, std::max(frame.sizeFilled, imageSize));
}

std::vector<std::string> WriteFrame(const FrameInfo &frame, uint64_t number, const FrameFileOptions &options)
{
    FrameFiles files(frame, number, options);
    try
    {
        return files.Write();
    }
    catch (...)
    {
        files.Remove();
        throw;
    }
}

} // namespace gentlctl
