#include "vision_module/unpack_scalar.h"

#include "vision_module/unpack_layout.h"

#include <algorithm>

namespace tarn::vision
{

namespace
{

/// Writes samples of a source, each picked by its pixel, one behind the other.
class SampleWriter
{
public:
    SampleWriter(const Layout &layout, const uint8_t *source, uint8_t *target, uint32_t width,
                 uint32_t height)
        : m_packing(layout.packing), m_samplesPerPixel(layout.samplesPerPixel), m_source(source),
          m_target(target), m_width(width), m_samples(uint64_t{width} * height * layout.samplesPerPixel)
    {
    }

    void Put(uint32_t x, uint32_t y, uint32_t component = 0)
    {
        const auto index = (uint64_t{y} * m_width + x) * m_samplesPerPixel + component;
        const auto sample = ReadSample(m_packing, m_source, m_samples, index);
        *m_target++ = static_cast<uint8_t>(sample);
        if (BytesPerSample(m_packing) == 2)
        {
            *m_target++ = static_cast<uint8_t>(sample >> 8);
        }
    }

private:
    Packing m_packing;
    uint32_t m_samplesPerPixel;
    const uint8_t *m_source;
    uint8_t *m_target;
    uint32_t m_width;
    uint64_t m_samples;
};

} // namespace

void UnpackScalar(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
                  uint32_t height)
{
    const auto layout = GetLayout(from, to);
    SampleWriter writer(layout, source, target, width, height);
    for (uint32_t y = 0; y < height; ++y)
    {
        const auto upper = y - y % 2;
        const auto lower = std::min(upper + 1, height - 1);
        for (uint32_t x = 0; x < width; ++x)
        {
            const auto left = x - x % 2;
            const auto right = std::min(left + 1, width - 1);
            switch (layout.interleaving)
            {
            case Interleaving::None:
                for (uint32_t component = 0; component < layout.samplesPerPixel; ++component)
                {
                    writer.Put(x, y, component);
                }
                break;
            case Interleaving::Lines:
                writer.Put(x, upper);
                writer.Put(x, lower);
                break;
            case Interleaving::Cells:
                writer.Put(left, upper);
                writer.Put(right, upper);
                writer.Put(left, lower);
                writer.Put(right, lower);
                break;
            }
        }
    }
}

} // namespace tarn::vision
