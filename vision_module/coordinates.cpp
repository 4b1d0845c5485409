#include "vision_module/coordinates.h"

#include "vision_module/coordinates_kernel.h"
#include "vision_module/error.h"
#include "vision_module/past_cache.h"
#include "vision_module/region_kernels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

constexpr uint64_t pointBytes = 3 * sizeof(float);

void RequireFormat(const Image &image, const std::string &name, PixelFormat format)
{
    if (image.format != format)
    {
        throw Failure(TARN_CVL_MISMATCH,
                      "The " + name + " is of " + NameOf(image.format) + ", expected " + NameOf(format));
    }
}

void RequireSize(const std::string &name, uint32_t width, uint32_t height, const Image &depth)
{
    if (width != depth.width || height != depth.height)
    {
        throw Failure(TARN_CVL_MISMATCH, "The " + name + " has " + std::to_string(width) + " x " +
                                             std::to_string(height) + " pixels, expected " +
                                             std::to_string(depth.width) + " x " +
                                             std::to_string(depth.height));
    }
}

/// Iterates over the lines of an image's region.
class LinesOfRegion
{
public:
    explicit LinesOfRegion(const Image &image)
        : m_width(image.width), m_bits(image.region ? WordsOf(image.width) : 0)
    {
        if (image.region)
        {
            m_next = image.region->runs.data();
            m_end = m_next + image.region->runs.size();
        }
    }

    /// One bit per pixel of the next line; null for an image without a region.
    const uint64_t *Next()
    {
        if (m_bits.empty())
        {
            return nullptr;
        }
        std::ranges::fill(m_bits, 0);
        for (; m_next != m_end && m_next->line == m_line; ++m_next)
        {
            const auto end = std::min(m_next->end, m_width);
            if (m_next->begin < end)
            {
                SetBits(m_bits.data(), m_next->begin, end);
            }
        }
        ++m_line;
        return m_bits.data();
    }

private:
    uint32_t m_width;
    uint32_t m_line = 0;
    std::vector<uint64_t> m_bits; ///< empty for an image without a region
    const Run *m_next = nullptr;
    const Run *m_end = nullptr;
};

} // namespace

void MakeCoordinates(const Image &depth, const tarn_cvl_CalibrationParameters &camera, Image &target)
{
    RequireFormat(depth, "depth image", Coord3D_C32f);
    RequireFormat(target, "target", Coord3D_ABC32f);
    RequireSize("target", target.width, target.height, depth);
    RequireSize("camera", camera.width, camera.height, depth);
    if (depth.PixelCount() == 0)
    {
        return;
    }
    if (ShareMemory(depth, target))
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE,
                      "The target shares memory with the depth image; expected memory of its own");
    }
    std::vector<float> slopesX(depth.width);
    for (uint32_t x = 0; x < depth.width; ++x)
    {
        slopesX[x] = (static_cast<float>(x) - camera.principalPointX) / camera.focalLengthX;
    }
    const auto lineBytes = depth.width * pointBytes;
    const bool isPastCache = lineBytes * depth.height >= pastCacheFrom;
    LinesOfRegion lines(depth);
    for (uint32_t y = 0; y < depth.height; ++y)
    {
        const float slopeY = (static_cast<float>(y) - camera.principalPointY) / camera.focalLengthY;
        CoordinatesOfLine({slopesX.data(), slopeY}, depth.data + uint64_t{y} * depth.width * sizeof(float),
                          lines.Next(), depth.width, target.data + y * lineBytes, isPastCache);
    }
}

} // namespace tarn::vision
