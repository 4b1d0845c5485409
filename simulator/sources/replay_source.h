#pragma once

#include "simulator/sources/frame_source.h"

#include <filesystem>
#include <vector>

namespace GenTL::simulator
{

/// Loops over the image files of a folder, sorted by name. An image is scaled to cover the sensor and cut to
/// the region; exposure and gain act on it. A file that cannot be read is shown as black.
///
/// Each image is read once after a change of settings and then kept, up to `keptBytes` in all.
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
    std::vector<std::vector<uint8_t>>
        m_kept; ///< each file's image in the pixel format; empty when it is not kept
};

/// The source that QVR_SIM_IMAGES=folder asks for; null when the variable is not set.
std::unique_ptr<FrameSource> MakeReplaySource();

} // namespace GenTL::simulator
