#include "vision/region.h"

#include "vision/error.h"
#include "vision/image.h"
#include "vision/samples.h"

#include <algorithm>

namespace tarn::vision
{

namespace
{

constexpr uint32_t colourSamples = sizeof(tarn_cvl_Colour::samples) / sizeof(double);

template <typename T>
std::vector<Run> RunsInRange(const Image &image, const tarn_cvl_Range &range)
{
    std::vector<Run> runs;
    for (uint32_t line = 0; line < image.height; ++line)
    {
        const uint8_t *row = image.data + uint64_t{line} * image.width * sizeof(T);
        const auto isIn = [&](uint32_t column)
        {
            const double value = Load<T>(row, column);
            return value >= range.minimum && value <= range.maximum;
        };
        for (uint32_t column = 0; column < image.width;)
        {
            if (!isIn(column))
            {
                ++column;
                continue;
            }
            const auto begin = column;
            while (column < image.width && isIn(column))
            {
                ++column;
            }
            runs.push_back({line, begin, column});
        }
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
