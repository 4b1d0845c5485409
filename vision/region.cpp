#include "vision/region.h"

#include "vision/error.h"
#include "vision/image.h"
#include "vision/samples.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace tarn::vision
{

namespace
{

constexpr uint32_t colourSamples = sizeof(tarn_cvl_Colour::samples) / sizeof(double);

template <typename T>
std::vector<Run> RunsInRange(const Image &image, const tarn_cvl_Range &range)
{
    using Number = std::conditional_t<std::is_same_v<T, float>, double, int32_t>;
    const Number minimum = range.minimum;
    const Number maximum = range.maximum;
    std::vector<Run> runs;
    std::vector<uint8_t> isIn(image.width);
    for (uint32_t line = 0; line < image.height; ++line)
    {
        const uint8_t *const row = image.data + uint64_t{line} * image.width * sizeof(T);
        for (uint32_t column = 0; column < image.width; ++column)
        {
            const Number value = Load<T>(row, column);
            // Without a branch, for many pixels at once.
            isIn[column] = static_cast<uint8_t>((value >= minimum) & (value <= maximum));
        }
        AddOnes(runs, {line, 0, image.width}, isIn.data());
    }
    return runs;
}

template <typename T>
void SetPixels(Image &image, const Region &region, const tarn_cvl_Colour &colour, const Samples &samples)
{
    const auto count = std::min(samples.count, colourSamples);
    for (const auto &run : region.runs)
    {
        if (run.line >= image.height)
        {
            continue;
        }
        const auto end = std::min(run.end, image.width);
        for (uint32_t column = run.begin; column < end; ++column)
        {
            const auto first = (uint64_t{run.line} * image.width + column) * samples.count;
            for (uint32_t i = 0; i < count; ++i)
            {
                Store(image.data, first + i, SampleOf<T>(colour.samples[i], samples.maximum));
            }
        }
    }
}

} // namespace

void AddOnes(std::vector<Run> &runs, const Run &within, const uint8_t *bytes)
{
    const auto *const end = bytes + (within.end - within.begin);
    const auto next = [end](const uint8_t *from, int value)
    {
        const void *found = std::memchr(from, value, static_cast<size_t>(end - from));
        return found != nullptr ? static_cast<const uint8_t *>(found) : end;
    };
    const auto columnOf = [&](const uint8_t *byte)
    { return within.begin + static_cast<uint32_t>(byte - bytes); };
    for (const auto *first = next(bytes, 1); first != end;)
    {
        const auto *const last = next(first, 0);
        runs.push_back({within.line, columnOf(first), columnOf(last)});
        first = next(last, 1);
    }
}

Region PixelsInRange(const Image &image, const tarn_cvl_Range &range)
{
    const auto samples = SamplesOf(image.format);
    if (!samples || samples->count != 1)
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED, "The image is of " + common::PixelFormatName(image.format) +
                                                  ", expected a format of one whole sample for each pixel");
    }
    Region region;
    WithSampleType(samples->type,
                   [&](auto sample) { region.runs = RunsInRange<decltype(sample)>(image, range); });
    return region;
}

void Draw(Image &image, const Region &region, const tarn_cvl_Colour &colour)
{
    const auto samples = SamplesOf(image.format);
    if (!samples || samples->count - (samples->hasAlpha ? 1 : 0) > colourSamples)
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED,
                      "The image is of " + common::PixelFormatName(image.format) +
                          ", expected a format of up to three whole samples for each pixel");
    }
    WithSampleType(samples->type,
                   [&](auto sample) { SetPixels<decltype(sample)>(image, region, colour, *samples); });
}

} // namespace tarn::vision
