#pragma once

#include "simulator/depth/depth_lens.h"
#include "simulator/sources/frame_source.h"
#include "simulator/sources/image_library.h"

#include <filesystem>
#include <optional>

namespace GenTL::simulator
{

/// Depth pictures to replay, and the lens that took them.
struct DepthReplay
{
    std::filesystem::path folder;
    Lens lens;    ///< with the size of the pictures
    double scale; ///< mm per step of the pictures
};

/// The replay that QVR_SIM_DEPTH=folder asks for; none when the variable is not set. `defaultScale` is the
/// scale when the calibration file gives none.
///
/// @throws Error GC_ERR_IO: the folder is a recording without pictures, does not contain exactly one
/// calibration file, or the file does not describe a lens.
/// @throws Error GC_ERR_NOT_AVAILABLE: the library that reads images cannot be loaded.
std::optional<DepthReplay> FindDepthReplay(double defaultScale);

/// The pictures of a folder. Shared by the sources of a stream and used on its acquisition thread.
class DepthPictures
{
public:
    static constexpr size_t keptBytes = size_t{1} << 30;

    /// What a frame shows, row by row. Light and depth have the same number of pixels.
    struct Picture
    {
        std::vector<uint16_t> depth; ///< in steps of the replay's scale, 0 without depth
        std::vector<uint16_t> light; ///< up to `white`; black when there is no file for it
    };

    /// Reads all pictures up front, so that a bad one fails the start and not a frame.
    ///
    /// @throws Error GC_ERR_IO: there is no picture, or one cannot be read or differs in size from the lens.
    explicit DepthPictures(const DepthReplay &replay);

    const DepthReplay &Replay() const { return m_replay; }

    /// The picture of frame `number`, from 1. The reference is valid until the next call.
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
    Picture m_other;             ///< the last picture read that m_kept lacks
    size_t m_otherIndex;
};

/// Makes sources of these pictures; the sources share them. Throws as DepthPictures does.
MakeFrameSource DepthReplaySources(const DepthReplay &replay);

} // namespace GenTL::simulator
