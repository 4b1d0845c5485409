#include "simulator/images/picture.h"

#include <algorithm>
#include <cmath>

namespace GenTL::simulator
{

namespace
{

/// How a value of the result is made: the values from `first` on, each times its weight.
struct Mix
{
    size_t first;
    std::vector<float> weights;
};

Mix MeanOf(double from, double to)
{
    Mix mix{static_cast<size_t>(from), {}};
    const auto end = static_cast<size_t>(std::ceil(to));
    for (size_t i = mix.first; i < end; ++i)
    {
        const auto at = static_cast<double>(i);
        const double part = std::min(at + 1.0, to) - std::max(at, from);
        mix.weights.push_back(static_cast<float>(part / (to - from)));
    }
    return mix;
}

Mix Between(double at, uint32_t length)
{
    const double inside = std::clamp(at, 0.0, length - 1.0);
    const double first = std::min(std::floor(inside), std::max(length - 2.0, 0.0));
    const auto part = static_cast<float>(inside - first);
    return length == 1 ? Mix{0, {1.0F}} : Mix{static_cast<size_t>(first), {1.0F - part, part}};
}

/// Along one axis: scales `length` values to `scaled` values and keeps the middle `count`.
std::vector<Mix> Mixes(uint32_t length, uint32_t scaled, uint32_t count)
{
    const double step = static_cast<double>(length) / scaled;
    const uint32_t cut = (scaled - count) / 2;
    std::vector<Mix> mixes;
    mixes.reserve(count);
    for (uint32_t i = cut; i < cut + count; ++i)
    {
        mixes.push_back(length >= scaled ? MeanOf(i * step, std::min<double>((i + 1) * step, length))
                                         : Between((i + 0.5) * step - 0.5, length));
    }
    return mixes;
}

template <typename T>
float Mixed(const Mix &mix, const T *values, size_t distance)
{
    float sum = 0.0F;
    const T *value = values + mix.first * distance;
    for (const float weight : mix.weights)
    {
        sum += weight * static_cast<float>(*value);
        value += distance;
    }
    return sum;
}

} // namespace

void Cover(const Picture &picture, uint32_t width, uint32_t height, uint16_t *out)
{
    const double scale = std::max(1.0 * width / picture.width, 1.0 * height / picture.height);
    const auto scaled = [&](uint32_t length, uint32_t least)
    { return std::max(least, static_cast<uint32_t>(std::lround(length * scale))); };
    const auto columns = Mixes(picture.width, scaled(picture.width, width), width);
    const auto rows = Mixes(picture.height, scaled(picture.height, height), height);

    std::vector<float> narrowed(size_t{picture.height} * width);
    for (uint32_t row = 0; row < picture.height; ++row)
    {
        const uint16_t *const line = picture.values.data() + size_t{row} * picture.width;
        std::ranges::transform(columns, narrowed.begin() + ptrdiff_t{row} * width,
                               [&](const Mix &mix) { return Mixed(mix, line, 1); });
    }
    for (const auto &mix : rows)
    {
        for (uint32_t column = 0; column < width; ++column)
        {
            const float value = Mixed(mix, narrowed.data() + column, width);
            *out++ = static_cast<uint16_t>(std::clamp(std::lround(value), 0L, 65535L));
        }
    }
}

} // namespace GenTL::simulator
