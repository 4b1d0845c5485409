#include "vision_module/region.h"

#include "vision_module/error.h"
#include "vision_module/image.h"
#include "vision_module/region_kernels.h"
#include "vision_module/samples.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace tarn::vision
{

namespace
{

constexpr uint32_t colourSamples = sizeof(tarn_cvl_Colour::samples) / sizeof(double);

void FindLine(const uint8_t *samples, uint32_t count, const tarn_cvl_Range &range, float, uint64_t *found)
{
    // A double represents both limits exactly.
    const double minimum = range.minimum;
    const double maximum = range.maximum;
    std::fill_n(found, WordsOf(count), 0);
    for (uint32_t i = 0; i < count; ++i)
    {
        const double value = Load<float>(samples, i);
        found[i / pixelsPerWord] |= uint64_t{value >= minimum && value <= maximum} << i % pixelsPerWord;
    }
}

template <typename T>
void FindLine(const uint8_t *samples, uint32_t count, const tarn_cvl_Range &range, T, uint64_t *found)
{
    constexpr int32_t largest = std::numeric_limits<T>::max();
    if (range.minimum > largest || range.maximum < 0 || range.minimum > range.maximum)
    {
        std::fill_n(found, WordsOf(count), 0);
        return;
    }
    FindInRange(samples, count, static_cast<T>(std::max(range.minimum, 0)),
                static_cast<T>(std::min(range.maximum, largest)), found);
}

template <typename T>
std::vector<Run> RunsInRange(const Image &image, const tarn_cvl_Range &range)
{
    std::vector<Run> runs;
    std::vector<uint64_t> found(WordsOf(image.width));
    for (uint32_t line = 0; line < image.height; ++line)
    {
        FindLine(image.data + uint64_t{line} * image.width * sizeof(T), image.width, range, T{},
                 found.data());
        AddOnes(runs, {line, 0, image.width}, found.data());
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

void AddOnes(std::vector<Run> &runs, const Run &within, const uint64_t *bits)
{
    const auto words = WordsOf(within.end - within.begin);
    bool isOpen = false;
    for (size_t word = 0; word < words; ++word)
    {
        // A 1 for each pixel that differs from its predecessor.
        uint64_t changes = bits[word] ^ (bits[word] << 1 | (isOpen ? 1 : 0));
        for (; changes != 0; changes &= changes - 1)
        {
            const auto bit = word * pixelsPerWord + static_cast<size_t>(std::countr_zero(changes));
            const auto column = within.begin + static_cast<uint32_t>(bit);
            if (isOpen)
            {
                runs.back().end = column;
            }
            else
            {
                runs.push_back({within.line, column, within.end});
            }
            isOpen = !isOpen;
        }
    }
}

void SetBits(uint64_t *bits, uint64_t begin, uint64_t end)
{
    const auto first = begin / pixelsPerWord;
    const auto last = (end - 1) / pixelsPerWord;
    const auto fromBegin = ~uint64_t{0} << begin % pixelsPerWord;
    const auto upToEnd = ~uint64_t{0} >> (pixelsPerWord - 1 - (end - 1) % pixelsPerWord);
    if (first == last)
    {
        bits[first] |= fromBegin & upToEnd;
        return;
    }
    bits[first] |= fromBegin;
    std::fill(bits + first + 1, bits + last, ~uint64_t{0});
    bits[last] |= upToEnd;
}

Region PixelsInRange(const Image &image, const tarn_cvl_Range &range)
{
    const auto samples = SamplesOf(image.format);
    if (!samples || samples->count != 1)
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED, "The image is of " + NameOf(image.format) +
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
                      "The image is of " + NameOf(image.format) +
                          ", expected a format of up to three whole samples for each pixel");
    }
    WithSampleType(samples->type,
                   [&](auto sample) { SetPixels<decltype(sample)>(image, region, colour, *samples); });
}

} // namespace tarn::vision
