#pragma once

#include "common/pixel_format.h"

#include <cstdint>
#include <cstring>
#include <optional>

namespace tarn::vision
{

enum class SampleType
{
    Unsigned8,
    Unsigned16,
    Float32
};

/// What a pixel consists of, when it consists of whole samples.
struct Samples
{
    SampleType type{};
    uint32_t count = 0;
    /// The last sample is transparency.
    bool hasAlpha = false;
    /// The largest value; of no meaning for floats.
    uint32_t maximum = 0;
};

/// None for packed formats and for YUV, where pixels share samples.
std::optional<Samples> SamplesOf(common::PixelFormat format);

/// Bits of a sample's value, as 12 of Mono12. For formats of integer samples.
uint32_t DepthOf(common::PixelFormat format);

// A caller's image memory may begin at any address.

template <typename T>
T Load(const uint8_t *memory, uint64_t index)
{
    T value;
    std::memcpy(&value, memory + index * sizeof(T), sizeof(T));
    return value;
}

template <typename T>
void Store(uint8_t *memory, uint64_t index, T value)
{
    std::memcpy(memory + index * sizeof(T), &value, sizeof(T));
}

/// Calls `action` with a value of the sample type.
template <typename Action>
void WithSampleType(SampleType type, Action action)
{
    switch (type)
    {
    case SampleType::Unsigned8:
        action(uint8_t{});
        break;
    case SampleType::Unsigned16:
        action(uint16_t{});
        break;
    case SampleType::Float32:
        action(float{});
        break;
    }
}

/// A number as a sample: rounded, kept between 0 and `maximum`, 0 when it is none. Floats stay as they are.
template <typename T>
T SampleOf(double number, uint32_t maximum)
{
    if constexpr (std::is_same_v<T, float>)
    {
        return static_cast<float>(number);
    }
    else
    {
        constexpr double half = 0.5;
        const double top = maximum;
        const double kept = number > 0 ? (number < top ? number : top) : 0;
        return static_cast<T>(kept + half);
    }
}

} // namespace tarn::vision
