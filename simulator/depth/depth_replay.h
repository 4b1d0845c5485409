#pragma once

#include "simulator/depth/depth_lens.h"
#include "simulator/sources/frame_source.h"
#include "simulator/sources/image_library.h"

#include <filesystem>
#include <optional>

namespace GenTL::simulator
{

/// Depth pictures to replay, and the lens they were made with.
struct DepthReplay
{
    std::filesystem::path folder;
    Lens lens;    ///< with the size of the pictures
    double scale; ///< mm of a step of the pictures
};

/// What the environment asks for: QVR_SIM_DEPTH=folder. None when it is not set.
///
/// @throws Error GC_ERR_IO: the folder has not exactly one calibration file, or one that says no lens.
/// @throws Error GC_ERR_NOT_AVAILABLE: the library that reads images cannot be loaded.
std::optional<DepthReplay> FindDepthReplay(double defaultScale);

/// The pictures of a folder. Read before they are made known, then read by one thread.
class DepthPictures
{
public:
    static constexpr size_t keptBytes = size_t{1} << 30;

    /// What a frame shows, row by row; of light and depth the same number of pixels.
    struct Picture
    {
        std::vector<uint16_t> depth; ///< in steps of the replay's scale, 0 without depth
        std::vector<uint16_t> light; ///< up to `white`; black when there is no file of it
    };

    /// Reads them all, to refuse what cannot be replayed before there is a frame.
    ///
    /// @throws Error GC_ERR_IO: there are none, or one that cannot be read or does not have the lens's size.
    explicit DepthPictures(const DepthReplay &replay);

    const DepthReplay &Replay() const { return m_replay; }

    /// The picture of frame `number`. Stays as it is until the next call.
    const Picture &At(uint64_t number);

private:
    struct Files
    {
        std::filesystem::path depth;
        std::filesystem::path light; ///< empty when there is none
    };

    Picture Read(const Files &files) const;
    std::vector<uint16_t> ReadFile(const std::filesystem::path &file, bool isDepth) const;

    DepthReplay m_replay;
    ImageLibrary m_library;
    std::vector<Files> m_files;
    std::vector<Picture> m_kept; ///< the first pictures
    Picture m_other;             ///< the last one of the others that was asked for
    size_t m_otherIndex;
};

/// A function that makes sources of these pictures, which share them. Fails as DepthPictures does.
MakeFrameSource DepthReplaySources(const DepthReplay &replay);

} // namespace GenTL::simulator
