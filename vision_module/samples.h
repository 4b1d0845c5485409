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

/// The samples of a pixel, in a format of whole samples.
struct Samples
{
    SampleType type{};
    uint32_t count = 0;
    /// Whether the last sample is transparency.
    bool hasAlpha = false;
    /// The largest value; unused for floats.
    uint32_t maximum = 0;
};

/// Nullopt for packed formats, for YUV, whose pixels share samples, and for all formats outside of
/// common::familyFormats, which are only unpacked and copied.
std::optional<Samples> SamplesOf(common::PixelFormat format);

/// Bits of a sample's value: 12 for Mono12. Only for formats of integer samples.
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

/// Converts a number to a sample: rounds it and clamps it to 0 and `maximum`; NaN gives 0. A float sample
/// keeps the value.
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
