#include "vision_module/unpack_scalar.h"

#include "vision_module/unpack_layout.h"

#include <algorithm>

namespace tarn::vision
{

void UnpackScalar(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
                  uint32_t height)
{
    const auto [packing, interleaving] = GetLayout(from, to);
    const auto perPixel = SamplesPerPixel(packing);
    const auto samples = uint64_t{width} * height * perPixel;

    const auto put = [&, packing = packing](uint32_t x, uint32_t y, uint32_t component = 0)
    {
        const auto index = (uint64_t{y} * width + x) * perPixel + component;
        const auto sample = ReadSample(packing, source, samples, index);
        *target++ = static_cast<uint8_t>(sample);
        if (BytesPerSample(packing) == 2)
        {
            *target++ = static_cast<uint8_t>(sample >> 8);
        }
    };

    for (uint32_t y = 0; y < height; ++y)
    {
        const auto upper = y - y % 2;
        const auto lower = std::min(upper + 1, height - 1);
        for (uint32_t x = 0; x < width; ++x)
        {
            const auto left = x - x % 2;
            const auto right = std::min(left + 1, width - 1);
            switch (interleaving)
            {
            case Interleaving::None:
                for (uint32_t component = 0; component < perPixel; ++component)
                {
                    put(x, y, component);
                }
                break;
            case Interleaving::Lines:
                put(x, upper);
                put(x, lower);
                break;
            case Interleaving::Cells:
                put(left, upper);
                put(right, upper);
                put(left, lower);
                put(right, lower);
                break;
            }
        }
    }
}

} // namespace tarn::vision
