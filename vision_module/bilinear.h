#pragma once

#include "vision_module/samples.h"
#include "vision_module/undistortion_map.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::vision
{

/// A bilinear map for images of one byte a pixel, for blocks of eight pixels that stand next to each other.
/// Where all that a block comes from lies in a window of the source, 16 pixels wide and three lines high, the
/// block is made with vectors.
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
    /// For each block the number of its window's first pixel.
    std::vector<uint32_t> windows;
    /// For each pixel of the blocks, from the lowest bit on: four bits for the column in the window, one for
    /// the line, five each for the place between columns and between lines in steps of 1/32.
    std::vector<uint16_t> codes;
    /// These have a window, too, of no meaning.
    std::vector<OddBlock> oddBlocks;
};

/// Whether images of this size have blocks: no side is smaller than a window's.
bool HasBlocks(uint32_t width, uint32_t height);

/// @param map of an image of this size, which must have blocks
BilinearBlocks MakeBlocks(const BilinearMap &map, uint32_t width, uint32_t height);

/// Makes the pixels that the map tells. The result is that of cv::remap, bit by bit.
void TakeBlocks(const BilinearBlocks &blocks, const uint8_t *source, uint8_t *target);

/// The same pixel by pixel, for images of any size.
/// @param samples one or three for each pixel
void TakePixels(const BilinearMap &map, const uint8_t *source, uint32_t width, uint32_t height,
                const Samples &samples, uint8_t *target);

} // namespace tarn::vision
