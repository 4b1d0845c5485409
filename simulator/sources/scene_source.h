#pragma once

#include "simulator/sources/frame_source.h"

#include <string>
#include <vector>

namespace GenTL::simulator
{

/// A test chart fixed to the sensor, a disc that moves over it, and the frame number in the image's upper
/// left corner.
///
/// Each element of the chart reveals one kind of fault: letters in the corners (orientation), a border
/// around the sensor (clipping), circles (aspect), ramps over 8, 10 and 12 bits (lost bits), a grid (scale).
/// Colour cameras see coloured bars in the upper half and an orange disc. Exposure and gain act
/// on the brightness. The chart is rendered once after a change of settings; each frame copies it and redraws
/// the rows with the disc and the number.
class SceneSource : public FrameSource
{
public:
    void Prepare(const ImageSettings &settings) override;
    void Render(uint64_t number, std::span<uint8_t> image) override;

private:
    void RenderChart();
    void DrawDisc(uint64_t number, std::vector<uint16_t> &rows, uint32_t firstRow, uint32_t count) const;
    void DrawNumber(const std::string &digits, std::vector<uint16_t> &rows, uint32_t firstRow,
                    uint32_t count) const;
    /// Sets a pixel to white light, of which each colour gets the share that `partOf` returns.
    void DrawPixel(std::vector<uint16_t> &rows, uint32_t firstRow, uint32_t column, uint32_t row,
                   double (*partOf)(Colour colour)) const;
    void PatchRows(uint64_t number, uint32_t firstRow, uint32_t endRow, std::span<uint8_t> image);

    ImageSettings m_settings{};
    std::vector<uint16_t> m_samples; ///< the chart: the samples of each pixel
    std::vector<uint8_t> m_packed;   ///< the same in the pixel format
};

} // namespace GenTL::simulator
