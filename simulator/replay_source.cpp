#include "replay_source.h"

#include "error.h"
#include "images/image_file.h"
#include "own_path.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <set>

namespace GenTL::simulator
{

namespace
{

decltype(&qvrReadGreyImage) LoadReader()
{
    const std::filesystem::path path = OwnPath().parent_path() / "qvr_sim_images.so";
    // The decoders start threads and keep per-thread data: they stay loaded.
    void *const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, std::string("Images can not be read: ") + dlerror());
    }
    const auto function = reinterpret_cast<decltype(&qvrReadGreyImage)>(dlsym(library, "qvrReadGreyImage"));
    dlclose(library);
    if (function == nullptr)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "Images can not be read: " + path.string() + " has no reader");
    }
    return function;
}

bool IsImageFile(const std::filesystem::directory_entry &entry)
{
    static const std::set<std::string> extensions = {".png",  ".jpg", ".jpeg", ".tif",
                                                     ".tiff", ".pgm", ".ppm",  ".bmp"};
    std::string extension = entry.path().extension();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return entry.is_regular_file() && extensions.contains(extension);
}

std::vector<std::filesystem::path> ImageFiles(const std::filesystem::path &folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code ignored; // a folder that can not be read has no files
    for (const auto &entry : std::filesystem::directory_iterator(folder, ignored))
    {
        if (IsImageFile(entry))
        {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty())
    {
        throw Error(GC_ERR_IO, "There are no images in " + folder.string());
    }
    return files;
}

} // namespace

ReplaySource::ReplaySource(const std::filesystem::path &folder)
    : m_readImage(LoadReader()), m_files(ImageFiles(folder)), m_kept(m_files.size())
{
}

void ReplaySource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
    m_kept.assign(m_files.size(), {});
}

void ReplaySource::Render(uint64_t number, std::span<uint8_t> image)
{
    const size_t index = (number - 1) % m_files.size();
    std::vector<uint8_t> &kept = m_kept[index];
    if (!kept.empty())
    {
        std::memcpy(image.data(), kept.data(), image.size());
        return;
    }
    RenderFile(m_files[index], image);
    if ((index + 1) * image.size() <= keptBytes)
    {
        kept.assign(image.begin(), image.end());
    }
}

void ReplaySource::RenderFile(const std::filesystem::path &file, std::span<uint8_t> image) const
{
    const ImageSettings &s = m_settings;
    const uint32_t width = s.sensorWidth / s.stepX;
    const uint32_t height = s.sensorHeight / s.stepY;
    std::vector<uint16_t> light(size_t{width} * height);
    if (m_readImage(file.c_str(), width, height, light.data()) == 0)
    {
        std::fill(light.begin(), light.end(), uint16_t{0});
    }
    std::vector<uint16_t> samples;
    samples.reserve(s.Samples());
    for (uint32_t row = 0; row < s.height; ++row)
    {
        const uint32_t y = s.offsetY + row;
        const uint16_t *const line = light.data() + size_t{s.reverseY ? height - 1 - y : y} * width;
        for (uint32_t column = 0; column < s.width; ++column)
        {
            const uint32_t x = s.offsetX + column;
            const uint16_t sample = s.SampleOf(line[s.reverseX ? width - 1 - x : x], column, row);
            samples.insert(samples.end(), s.format->components, sample);
        }
    }
    s.format->pack(samples, image.data());
}

std::unique_ptr<FrameSource> MakeReplaySource()
{
    const char *const folder = std::getenv("QVR_SIM_IMAGES");
    return folder != nullptr && *folder != '\0' ? std::make_unique<ReplaySource>(folder) : nullptr;
}

} // namespace GenTL::simulator
