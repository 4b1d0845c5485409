#pragma once

#include "vision_module/samples.h"
#include "vision_module/undistortion_map.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::vision
{

/// A bilinear map for images with one byte per pixel, in blocks of eight neighbouring pixels. A block whose
/// source pixels all lie in a window 16 pixels wide and three lines high is made with vectors.
struct BilinearBlocks
{
    static constexpr uint32_t blockPixels = 8;
    static constexpr uint32_t windowWidth = 16;
    static constexpr uint32_t windowHeight = 3;

    /// A block made pixel by pixel.
    struct OddBlock
    {
        uint64_t pixel;
        std::array<int16_t, size_t{2} * blockPixels> positions;
        std::array<uint16_t, blockPixels> fractions;
    };

    uint32_t width = 0;
    uint32_t height = 0;
    /// For each block, the index of the first pixel of its window.
    std::vector<uint32_t> windows;
    /// For each pixel, from the lowest bit up: four bits for its column in the window, one for its line, and
    /// five each for its position between columns and between lines, in steps of 1/32.
    std::vector<uint16_t> codes;
    /// Blocks without a window. Their entry in `windows` is ignored.
    std::vector<OddBlock> oddBlocks;
};

/// Whether images of this size have blocks: they are at least as wide and as high as a window.
bool HasBlocks(uint32_t width, uint32_t height);

/// @param map of an image of this size, which must have blocks
BilinearBlocks MakeBlocks(const BilinearMap &map, uint32_t width, uint32_t height);

/// Makes the target by the map. The result equals that of cv::remap bit for bit.
void TakeBlocks(const BilinearBlocks &blocks, const uint8_t *source, uint8_t *target);

/// The same pixel by pixel, for images of any size.
/// @param samples one or three samples per pixel
void TakePixels(const BilinearMap &map, const uint8_t *source, uint32_t width, uint32_t height,
                const Samples &samples, uint8_t *target);

} // namespace tarn::vision
