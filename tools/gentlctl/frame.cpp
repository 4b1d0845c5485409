#include "gentlctl/frame.h"

#include "gentlctl/depth_files.h"
#include "gentlctl/features.h"
#include "gentlctl/output_files.h"

#include "port/proxy_module.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace
{

uint64_t Number(const Json &infos, const char *name)
{
    const auto info = infos.find(name);
    return info != infos.end() && info->is_number() ? info->get<uint64_t>() : 0;
}

const uint8_t *Address(const Json &infos, const char *name)
{
    return reinterpret_cast<const uint8_t *>(std::stoull(infos.at(name).get<std::string>(), nullptr, 16));
}

std::string NameOfPart(uint64_t type, size_t index)
{
    static constexpr std::array names{std::pair{uint64_t{PART_DATATYPE_2D_IMAGE}, "intensity"},
                                      std::pair{uint64_t{PART_DATATYPE_3D_IMAGE}, "range"},
                                      std::pair{uint64_t{PART_DATATYPE_CONFIDENCE_MAP}, "confidence"}};
    const auto *name = std::ranges::find(names, type, [](const auto &entry) { return entry.first; });
    return name != names.end() ? name->second : "part" + std::to_string(index);
}

/// Writes the images that an image holds, several as "A", "B", ... behind the name of their part.
template <typename PathOf>
void WritePictures(const std::string &part, const ImageView &image, PathOf pathOf)
{
    const auto count = ImagesIn(image.pixelFormat);
    for (size_t index = 0; index < count; ++index)
    {
        const auto letter = count > 1 ? std::string(1, "ABCD"[index]) : "";
        WritePicture(pathOf(part.empty() || letter.empty() ? part + letter : part + "-" + letter), image,
                     index);
    }
}

/// A number that has a name, and the member that tells the name.
struct NamedNumber
{
    std::string_view info;
    const char *member;
    std::string (*name)(uint64_t);
};

constexpr std::array namedNumbers{
    NamedNumber{"BUFFER_INFO_PIXELFORMAT", "pixelFormat", FormatName},
    NamedNumber{"BUFFER_INFO_PAYLOADTYPE", "payloadType", PayloadTypeName},
    NamedNumber{"BUFFER_PART_INFO_DATA_FORMAT", "dataFormat", FormatName},
    NamedNumber{"BUFFER_PART_INFO_DATA_TYPE", "dataType", PartDataTypeName},
};

/// The infos, with the names of numbers behind them.
Json WithNames(const Json &infos)
{
    auto named = Json::object();
    for (const auto &info : infos.items())
    {
        named[info.key()] = info.value();
        const auto *entry = std::ranges::find(namedNumbers, info.key(), &NamedNumber::info);
        if (entry != namedNumbers.end() && info.value().is_number())
        {
            named[entry->member] = entry->name(info.value().get<uint64_t>());
        }
    }
    return named;
}

Json PartInfos(internal::IGenTLProxy &calls, void *stream, void *buffer)
{
    uint32_t count = 0;
    internal::CloseQuietly([&] { calls.DSGetNumBufferParts(stream, buffer, &count); });
    auto parts = Json::array();
    for (uint32_t part = 0; part < count; ++part)
    {
        parts.push_back(Answers(
            BufferPartInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
            { calls.DSGetBufferPartInfo(stream, buffer, part, command, type, data, size); }));
        parts.back() = WithNames(parts.back());
    }
    return parts;
}

/// Where the chunks of a buffer are, by their numbers.
std::map<uint64_t, std::span<const uint8_t>> FindChunks(internal::IGenTLProxy &calls, void *stream,
                                                        void *buffer, const Json &infos)
{
    size_t count = 0;
    calls.DSGetBufferChunkData(stream, buffer, nullptr, &count);
    std::vector<SINGLE_CHUNK_DATA> entries(count);
    calls.DSGetBufferChunkData(stream, buffer, entries.data(), &count);
    entries.resize(std::min(count, entries.size()));
    const auto size = Number(infos, "BUFFER_INFO_SIZE");
    std::map<uint64_t, std::span<const uint8_t>> chunks;
    for (const auto &entry : entries)
    {
        const auto offset = static_cast<uint64_t>(entry.ChunkOffset);
        if (offset <= size && entry.ChunkLength <= size - offset)
        {
            chunks[entry.ChunkID] = {Address(infos, "BUFFER_INFO_BASE") + offset, entry.ChunkLength};
        }
    }
    return chunks;
}

/// Values of the features that came with a frame; none of a producer that tells nothing of chunks.
Json ChunkValues(internal::IGenTLProxy &calls, void *stream, void *buffer, const Json &infos,
                 const Features &remote)
{
    auto values = Json::object();
    if (infos.at("BUFFER_INFO_CONTAINS_CHUNKDATA") != false)
    {
        internal::CloseQuietly([&]
                               { values = remote.ChunkValues(FindChunks(calls, stream, buffer, infos)); });
    }
    return values;
}

} // namespace

Frame::Frame(internal::IGenTLProxy &calls, void *stream, void *buffer, const Features &remote)
    : m_buffer(buffer),
      m_infos(WithNames(Answers(BufferInfoCommands(),
                                [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                                { calls.DSGetBufferInfo(stream, buffer, command, type, data, size); })))
{
    m_infos["parts"] = PartInfos(calls, stream, buffer);
    m_infos["chunks"] = Incomplete() ? Json::object() : ChunkValues(calls, stream, buffer, m_infos, remote);
}

bool Frame::Incomplete() const
{
    return m_infos.value("BUFFER_INFO_IS_INCOMPLETE", Json(false)) == true;
}

std::vector<NamedImage> Frame::Images() const
{
    const auto &parts = m_infos.at("parts");
    if (Number(m_infos, "BUFFER_INFO_PAYLOADTYPE") != PAYLOAD_TYPE_MULTI_PART)
    {
        const auto offset = Number(m_infos, "BUFFER_INFO_IMAGEOFFSET");
        const auto size = Number(m_infos, "BUFFER_INFO_SIZE");
        return {{"",
                 {Address(m_infos, "BUFFER_INFO_BASE") + offset, size - std::min(size, offset),
                  Number(m_infos, "BUFFER_INFO_WIDTH"), Number(m_infos, "BUFFER_INFO_HEIGHT"),
                  Number(m_infos, "BUFFER_INFO_PIXELFORMAT")}}};
    }
    std::vector<NamedImage> images;
    for (const auto &part : parts)
    {
        images.push_back({NameOfPart(Number(part, "BUFFER_PART_INFO_DATA_TYPE"), images.size()),
                          {Address(part, "BUFFER_PART_INFO_BASE"), Number(part, "BUFFER_PART_INFO_DATA_SIZE"),
                           Number(part, "BUFFER_PART_INFO_WIDTH"), Number(part, "BUFFER_PART_INFO_HEIGHT"),
                           Number(part, "BUFFER_PART_INFO_DATA_FORMAT")}});
    }
    return images;
}

// A producer that unpacks reports as filled what the camera sent, which is less than the image.
size_t Frame::Delivered(const ImageView &image) const
{
    const auto imageSize = BytesOf(image.pixelFormat, image.width, image.height);
    return std::min(image.size, std::max<size_t>(Number(m_infos, "BUFFER_INFO_SIZE_FILLED"), imageSize));
}

Json Frame::Write(const std::filesystem::path &folder, uint64_t number, const std::string &format,
                  const std::optional<ViewAngles> &angles) const
{
    auto files = Json::array();
    const auto path = [&](const std::string &part, const std::string &extension)
    {
        auto file =
            folder / fmt::format("frame-{:05}{}{}.{}", number, part.empty() ? "" : "-", part, extension);
        files.push_back(file.string());
        return file;
    };
    const auto images = Incomplete() ? std::vector<NamedImage>() : Images();
    for (const auto &[name, view] : images)
    {
        if (format == "raw")
        {
            WriteBytes(path(name, format), view.data, Delivered(view));
        }
        else
        {
            WritePictures(name, view, [&](const std::string &picture) { return path(picture, format); });
        }
    }
    const auto points =
        std::ranges::find_if(images, [](const NamedImage &image) { return IsPointGrid(image.view); });
    if (points != images.end())
    {
        const auto found = std::ranges::find(images, std::string("intensity"), &NamedImage::name);
        const auto *intensity = found != images.end() ? &found->view : nullptr;
        if (format != "raw")
        {
            WritePly(path(points->name, "ply"), points->view, intensity);
        }
        if (angles)
        {
            WriteView(path("view", "png"), points->view, intensity, *angles);
        }
    }
    else if (angles && !images.empty())
    {
        throw std::runtime_error("A view needs a grid of points, which these frames are not: choose a depth "
                                 "camera, with -s PixelFormat=Coord3D_ABC32f");
    }
    const auto text = m_infos.dump(2) + "\n";
    WriteBytes(path("", "json"), text.data(), text.size());
    return files;
}

} // namespace gentlctl
