#pragma once

#include "simulator/sources/frame_source.h"

#include <filesystem>
#include <vector>

namespace GenTL::simulator
{

/// The image files of a folder in the order of their names, again and again: PNG, JPEG, TIFF, PGM and what
/// else the decoder knows. An image is scaled to cover the sensor, cut to the region, and exposure and gain
/// act on it. A file that is no image is shown as black.
///
/// Each image is read once for each change of settings and then kept, as far as `keptBytes` allows.
class ReplaySource : public FrameSource
{
public:
    static constexpr size_t keptBytes = size_t{1} << 30;

    /// @throws Error GC_ERR_IO: there is no image file in the folder.
    /// @throws Error GC_ERR_NOT_AVAILABLE: the library that reads images cannot be loaded.
    explicit ReplaySource(const std::filesystem::path &folder);

    void Prepare(const ImageSettings &settings) override;
    void Render(uint64_t number, std::span<uint8_t> image) override;

private:
    using ReadImage = int (*)(const char *path, uint32_t width, uint32_t height, uint16_t *out);

    void RenderFile(const std::filesystem::path &file, std::span<uint8_t> image) const;

    ReadImage m_readImage;
    std::vector<std::filesystem::path> m_files;
    ImageSettings m_settings{};
    std::vector<std::vector<uint8_t>> m_kept; ///< an image in the pixel format for each file, or nothing
};

/// The source that the environment asks for: QVR_SIM_IMAGES=folder. None when it is not set.
std::unique_ptr<FrameSource> MakeReplaySource();

} // namespace GenTL::simulator
