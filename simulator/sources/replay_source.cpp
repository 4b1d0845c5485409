#include "simulator/sources/replay_source.h"

#include "simulator/error.h"
#include "simulator/sources/image_library.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace GenTL::simulator
{

ReplaySource::ReplaySource(const std::filesystem::path &folder)
    : m_readImage(LoadImageLibrary().readGreyImage), m_files(ImageFiles(folder)), m_kept(m_files.size())
{
    if (m_files.empty())
    {
        throw Error(GC_ERR_IO, "There are no images in {}", folder.string());
    }
}

void ReplaySource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
    m_kept.assign(m_files.size(), {});
}

void ReplaySource::Render(uint64_t number, std::span<uint8_t> image)
{
    const size_t index = (number - 1) % m_files.size();
    auto &kept = m_kept[index];
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
    const auto &s = m_settings;
    const uint32_t width = s.sensorWidth / s.stepX;
    const uint32_t height = s.sensorHeight / s.stepY;
    std::vector<uint16_t> light(size_t{width} * height);
    if (m_readImage(file.c_str(), width, height, light.data()) == 0)
    {
        std::ranges::fill(light, uint16_t{0});
    }
    std::vector<uint16_t> samples(s.Samples());
    auto out = samples.begin();
    for (uint32_t row = 0; row < s.height; ++row)
    {
        const uint32_t y = s.offsetY + row;
        const uint16_t *const line = light.data() + size_t{s.reverseY ? height - 1 - y : y} * width;
        for (uint32_t column = 0; column < s.width; ++column)
        {
            const uint32_t x = s.offsetX + column;
            const uint16_t sample = s.SampleOf(line[s.reverseX ? width - 1 - x : x], column, row);
            out = std::fill_n(out, s.format->components, sample);
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
