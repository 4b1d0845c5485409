#include "simulator/depth/depth_replay.h"

#include "recording/layout.h"
#include "simulator/depth/depth_source.h"
#include "simulator/error.h"

#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace GenTL::simulator
{

namespace
{

/// What a picture shows, by the ending of its name.
enum class Shows
{
    Depth,
    Light,
    Nothing ///< that is replayed
};

struct NameEnding
{
    std::string_view text;
    Shows shows;
};

/// Those of this simulator, then those of the files that `gentlctl grab` writes.
constexpr NameEnding nameEndings[] = {{"_intensity", Shows::Light},
                                      {"-range", Shows::Depth},
                                      {"-intensity", Shows::Light},
                                      {"-confidence", Shows::Nothing}};

/// What a picture shows, and the name that it shares with the others of its frame.
std::pair<Shows, std::string> Interpreted(const std::filesystem::path &file)
{
    const std::string stem = file.stem();
    for (const auto &[ending, shows] : nameEndings)
    {
        if (stem.ends_with(ending))
        {
            return {shows, stem.substr(0, stem.size() - ending.size())};
        }
    }
    return {Shows::Depth, stem};
}

/// @throws Error GC_ERR_IO: the folder has a recording and no pictures.
void RefuseRecording(const std::filesystem::path &folder)
{
    std::error_code ignored;
    if (std::filesystem::exists(folder / recording::deviceFile, ignored) && ImageFiles(folder).empty())
    {
        throw Error(GC_ERR_IO,
                    "{} is a recording: replay it with gentlctl replay or QVR_SIM_RECORDING, or make depth "
                    "pictures of it for QVR_SIM_DEPTH",
                    folder.string());
    }
}

std::filesystem::path CalibrationFile(const std::filesystem::path &folder)
{
    const auto files = FilesIn(folder, {".yaml", ".yml"});
    if (files.size() > 1)
    {
        throw Error(GC_ERR_IO, "There is more than one calibration file in {}", folder.string());
    }
    if (files.empty())
    {
        throw Error(GC_ERR_IO, "There is no calibration file (.yaml, .yml) in {}", folder.string());
    }
    return files.front();
}

class DepthReplaySource : public FrameSource
{
public:
    explicit DepthReplaySource(std::shared_ptr<DepthPictures> pictures) : m_pictures(std::move(pictures)) {}

    void Prepare(const ImageSettings &settings) override { m_settings = settings; }

    void Render(uint64_t number, std::span<uint8_t> image) override
    {
        const auto &picture = m_pictures->At(number);
        switch (m_settings.depth.quantity)
        {
        case Quantity::Range:
            ShowRange(picture, number);
            break;
        case Quantity::Light:
            ShowLight(picture, number);
            break;
        case Quantity::Confidence:
            ShowConfidence(picture);
            break;
        }
        m_settings.format->pack(m_samples, image.data());
    }

private:
    /// Depth in the middle of the sensor pixels that a pixel of the image covers. Of an even number, it is
    /// the pixel left of or above the middle.
    uint16_t DepthAt(const DepthPictures::Picture &picture, uint32_t column, uint32_t row) const
    {
        const auto &s = m_settings;
        const size_t x = (s.offsetX + column) * s.stepX + (s.stepX - 1) / 2;
        const size_t y = (s.offsetY + row) * s.stepY + (s.stepY - 1) / 2;
        return picture.depth[y * s.sensorWidth + x];
    }

    /// Mean light of the binned pixels in the middle of the same sensor pixels.
    double LightAt(const DepthPictures::Picture &picture, uint32_t column, uint32_t row) const
    {
        const auto &s = m_settings;
        const size_t left = (s.offsetX + column) * s.stepX + (s.stepX - s.binningX) / 2;
        const size_t top = (s.offsetY + row) * s.stepY + (s.stepY - s.binningY) / 2;
        uint64_t sum = 0;
        for (size_t y = top; y < top + s.binningY; ++y)
        {
            for (size_t x = left; x < left + s.binningX; ++x)
            {
                sum += picture.light[y * s.sensorWidth + x];
            }
        }
        return static_cast<double>(sum) / (s.binningX * s.binningY);
    }

    void ShowRange(const DepthPictures::Picture &picture, uint64_t number)
    {
        FillPixels(m_settings, m_depths,
                   [&](uint32_t column, uint32_t row)
                   {
                       const uint16_t value = DepthAt(picture, column, row);
                       return value == 0 ? noDepth : value * m_pictures->Replay().scale;
                   });
        WriteRange(m_settings, number, m_depths, m_samples);
    }

    void ShowLight(const DepthPictures::Picture &picture, uint64_t number)
    {
        FillPixels(m_settings, m_light,
                   [&](uint32_t column, uint32_t row)
                   { return m_settings.SampleOf(LightAt(picture, column, row), column, row); });
        WriteLight(m_settings, number, m_light, m_samples);
    }

    void ShowConfidence(const DepthPictures::Picture &picture)
    {
        FillPixels(m_settings, m_samples,
                   [&](uint32_t column, uint32_t row)
                   {
                       const bool hasDepth = DepthAt(picture, column, row) != 0;
                       return hasDepth ? m_settings.format->MaximumSample() : uint16_t{0};
                   });
    }

    std::shared_ptr<DepthPictures> m_pictures;
    ImageSettings m_settings{};
    std::vector<double> m_depths;
    std::vector<uint16_t> m_light; ///< without noise
    std::vector<uint16_t> m_samples;
};

} // namespace

std::optional<DepthReplay> FindDepthReplay(double defaultScale)
{
    const char *const folder = std::getenv("QVR_SIM_DEPTH");
    if (folder == nullptr || *folder == '\0')
    {
        return std::nullopt;
    }
    RefuseRecording(folder);
    const std::filesystem::path file = CalibrationFile(folder);
    QvrCalibration read{};
    QvrReason reason{};
    if (LoadImageLibrary().readCalibration(file.c_str(), &read, &reason) == 0)
    {
        throw Error(GC_ERR_IO, "Calibration {}: {}", file.string(), reason.text);
    }
    const auto number = [](double value) { return static_cast<float>(value); };
    const double *const d = read.distortion;
    const Lens lens{read.width,      read.height,  number(read.fx), number(read.fy), number(read.cx),
                    number(read.cy), number(d[0]), number(d[1]),    number(d[2]),    number(d[3]),
                    number(d[4]),    number(d[5]), number(d[6]),    number(d[7])};
    return DepthReplay{folder, lens, read.depthScale > 0 ? read.depthScale : defaultScale};
}

DepthPictures::DepthPictures(const DepthReplay &replay)
    : m_replay(replay), m_library(LoadImageLibrary()), m_otherIndex(SIZE_MAX)
{
    std::map<std::string, std::filesystem::path> lights;
    std::vector<std::pair<std::string, std::filesystem::path>> depths;
    for (const auto &file : ImageFiles(replay.folder))
    {
        auto [shows, name] = Interpreted(file);
        if (shows == Shows::Light)
        {
            lights[name] = file;
        }
        else if (shows == Shows::Depth)
        {
            depths.emplace_back(std::move(name), file);
        }
    }
    if (depths.empty())
    {
        throw Error(GC_ERR_IO, "There are no depth pictures in {}", replay.folder.string());
    }
    for (const auto &[name, file] : depths)
    {
        const auto light = lights.find(name);
        m_files.push_back({file, light == lights.end() ? std::filesystem::path() : light->second});
    }
    const size_t pictureBytes = size_t{replay.lens.width} * replay.lens.height * 2 * sizeof(uint16_t);
    for (const auto &files : m_files)
    {
        Picture picture = Read(files);
        if ((m_kept.size() + 1) * pictureBytes <= keptBytes)
        {
            m_kept.push_back(std::move(picture));
        }
    }
}

std::vector<uint16_t> DepthPictures::ReadFile(const std::filesystem::path &file, bool isDepth) const
{
    std::vector<uint16_t> values(size_t{m_replay.lens.width} * m_replay.lens.height);
    QvrReason reason{};
    if (!file.empty() && m_library.readPicture(file.c_str(), m_replay.lens.width, m_replay.lens.height,
                                               isDepth ? 1 : 0, values.data(), &reason) == 0)
    {
        throw Error(GC_ERR_IO, "Picture {} {}", file.string(), reason.text);
    }
    return values;
}

DepthPictures::Picture DepthPictures::Read(const Files &files) const
{
    return {ReadFile(files.depth, true), ReadFile(files.light, false)};
}

const DepthPictures::Picture &DepthPictures::At(uint64_t number)
{
    const size_t index = (number - 1) % m_files.size();
    if (index < m_kept.size())
    {
        return m_kept[index];
    }
    if (index != m_otherIndex)
    {
        m_other = Read(m_files[index]);
        m_otherIndex = index;
    }
    return m_other;
}

MakeFrameSource DepthReplaySources(const DepthReplay &replay)
{
    return [pictures = std::make_shared<DepthPictures>(replay)]
    { return std::make_unique<DepthReplaySource>(pictures); };
}

} // namespace GenTL::simulator
