#pragma once

#include "common/pixel_format.h"
#include "vision_module.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace GenTL::internal
{

using tarn::common::PixelFormat;
using Bytes = std::vector<uint8_t>;

inline constexpr std::array allFormats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) PixelFormat::name,
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
};

inline uint32_t Code(PixelFormat format)
{
    return static_cast<uint32_t>(format);
}

/// Memory of exactly the size of an image, at an odd address, between fence bytes that must not change.
class Pixels
{
public:
    Pixels(PixelFormat format, uint32_t width, uint32_t height)
        : m_format(format), m_width(width), m_height(height),
          m_size(tarn::common::GetSizeInBytes(format, {width, height}))
    {
        m_memory.resize(border, fence);
        m_memory.resize(border + m_size, 0);
        m_memory.resize(border + m_size + border, fence);
    }

    template <typename T>
    Pixels(PixelFormat format, uint32_t width, uint32_t height, std::initializer_list<T> samples)
        : Pixels(format, width, height)
    {
        Set(std::vector<T>(samples));
    }

    template <typename T>
    void Set(const std::vector<T> &samples)
    {
        ASSERT_EQ(samples.size() * sizeof(T), m_size);
        std::memcpy(Data(), samples.data(), m_size);
    }

    template <typename T>
    std::vector<T> As() const
    {
        std::vector<T> samples(m_size / sizeof(T));
        std::memcpy(samples.data(), m_memory.data() + border, samples.size() * sizeof(T));
        return samples;
    }

    bool FencesStand() const
    {
        const auto stands = [](uint8_t byte) { return byte == fence; };
        return std::all_of(m_memory.begin(), m_memory.begin() + border, stands) &&
               std::all_of(m_memory.end() - border, m_memory.end(), stands);
    }

    uint8_t *Data() { return m_memory.data() + border; }
    size_t Size() const { return m_size; }
    PixelFormat Format() const { return m_format; }

    tarn_cvl_ImageInfo Info() { return {Code(m_format), m_width, m_height, 0, m_size, Data()}; }

private:
    static constexpr uint8_t fence = 0xA5;
    static constexpr std::ptrdiff_t border = 65;

    PixelFormat m_format;
    uint32_t m_width;
    uint32_t m_height;
    size_t m_size;
    std::vector<uint8_t> m_memory;
};

/// An image handle with one owner.
class ImageHandle
{
public:
    ImageHandle(const VisionModule &vision, const tarn_cvl_ImageInfo &info) : m_vision(vision)
    {
        EXPECT_EQ(vision.Image_CreateFromImageInfo(&m_handle, &info, sizeof info), TARN_CVL_SUCCESS);
    }
    ImageHandle(const VisionModule &vision, Pixels &pixels) : ImageHandle(vision, pixels.Info()) {}
    ImageHandle(const ImageHandle &) = delete;
    ImageHandle &operator=(const ImageHandle &) = delete;
    ~ImageHandle() { EXPECT_EQ(m_vision.Image_Destroy(m_handle), TARN_CVL_SUCCESS); }

    operator void *() const { return m_handle; }

private:
    const VisionModule &m_vision;
    void *m_handle = nullptr;
};

/// Tests that convert pixels in memory.
class ConversionTest : public VisionTest
{
protected:
    Answered Convert(Pixels &source, Pixels &target)
    {
        const ImageHandle from(vision, source);
        const ImageHandle to(vision, target);
        const auto answered = AnswerOf(vision.Image_ConvertPixelFormat(from, Code(target.Format()), to));
        EXPECT_TRUE(target.FencesStand());
        return answered;
    }

    Answered ConvertWithFactor(Pixels &source, Pixels &target, double factor)
    {
        const ImageHandle from(vision, source);
        const ImageHandle to(vision, target);
        const auto answered =
            AnswerOf(vision.Image_ConvertPixelFormatWithFactor(from, Code(target.Format()), to, factor));
        EXPECT_TRUE(target.FencesStand());
        return answered;
    }
};

} // namespace GenTL::internal
