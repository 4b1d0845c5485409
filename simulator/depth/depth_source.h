#pragma once

#include "simulator/sources/frame_source.h"

#include <vector>

namespace GenTL::simulator
{

/// Marks a pixel without depth in a list of depths in mm.
constexpr double noDepth = -1.0;

/// Fills a list with the value of each pixel of the image, row by row. `valueOf` takes its column and row.
template <typename Value, typename ValueOf>
void FillPixels(const ImageSettings &s, std::vector<Value> &values, ValueOf valueOf)
{
    values.resize(s.Pixels());
    auto *value = values.data();
    for (uint32_t row = 0; row < s.height; ++row)
    {
        for (uint32_t column = 0; column < s.width; ++column)
        {
            *value++ = valueOf(column, row);
        }
    }
}

/// Makes the values of a range image from depths in mm, with the noise of this frame.
void WriteRange(const ImageSettings &settings, uint64_t frame, std::span<const double> depths,
                std::vector<uint16_t> &samples);

/// Adds the noise of this frame to an intensity image.
void WriteLight(const ImageSettings &settings, uint64_t frame, std::span<const uint16_t> light,
                std::vector<uint16_t> &samples);

/// The images of the depth camera: range, light and confidence of its scene through its lens.
class DepthSource : public FrameSource
{
public:
    void Prepare(const ImageSettings &settings) override;
    void Render(uint64_t number, std::span<uint8_t> image) override;

private:
    void PrepareRange();
    void PrepareLight();
    void PrepareConfidence();

    ImageSettings m_settings{};
    std::vector<double> m_depths;  ///< of a range image
    std::vector<uint16_t> m_still; ///< the image without noise
    std::vector<uint16_t> m_noisy; ///< the image of one frame; used with noise only
};

} // namespace GenTL::simulator
