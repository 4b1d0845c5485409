#pragma once

#include "simulator/sources/frame_source.h"

#include <string>
#include <vector>

namespace GenTL::simulator
{

/// A test chart fixed to the sensor, a disc that moves over it, and the frame number in the image's upper
/// left corner.
///
/// The chart shows at a glance what is wrong with a picture: letters in the corners (orientation), a border
/// around the sensor (clipping), circles (aspect), ramps over 8, 10 and 12 bits (lost bits), a grid (scale).
/// Cameras with colours see the upper half in bars of colours and the disc in orange. Exposure and gain act
/// on the brightness. The chart is rendered once for each change of settings; a frame is a copy of it in
/// which the rows with the disc and the number are drawn anew.
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
    /// Sets the samples of a pixel to what white light gives, of which each colour has its part.
    void DrawPixel(std::vector<uint16_t> &rows, uint32_t firstRow, uint32_t column, uint32_t row,
                   double (*partOf)(Colour colour)) const;
    void PatchRows(uint64_t number, uint32_t firstRow, uint32_t endRow, std::span<uint8_t> image);

    ImageSettings m_settings{};
    std::vector<uint16_t> m_samples; ///< the chart, the samples of each image pixel
    std::vector<uint8_t> m_packed;   ///< the same in the pixel format
};

} // namespace GenTL::simulator
