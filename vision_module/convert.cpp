#include "vision_module/convert.h"

#include "vision_module/conversions.h"
#include "vision_module/demosaic.h"
#include "vision_module/error.h"
#include "vision_module/samples.h"
#include "vision_module/scale.h"
#include "vision_module/shift.h"
#include "vision_module/unpack.h"

#include <cmath>
#include <cstring>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

std::string Pair(PixelFormat from, PixelFormat to)
{
    return NameOf(from) + " to " + NameOf(to);
}

bool BlueStandsFirst(PixelFormat format)
{
    return NameOf(format).starts_with("BGR");
}

template <typename T>
void ReorderAs(const Image &image, Image &target, const Samples &from, const Samples &to)
{
    const auto fromDepth = DepthOf(image.format);
    const auto toDepth = DepthOf(target.format);
    const bool isTurned = BlueStandsFirst(image.format) != BlueStandsFirst(target.format);
    const auto pixels = image.PixelCount();
    for (uint64_t pixel = 0; pixel < pixels; ++pixel)
    {
        const auto shifted = [&](uint32_t i)
        {
            const auto sample = Load<T>(image.data, pixel * from.count + i);
            return static_cast<T>(ShiftSample(sample, fromDepth, toDepth));
        };
        const auto first = pixel * to.count;
        Store(target.data, first, shifted(isTurned ? 2 : 0));
        Store(target.data, first + 1, shifted(1));
        Store(target.data, first + 2, shifted(isTurned ? 0 : 2));
        if (to.hasAlpha)
        {
            Store(target.data, first + 3, from.hasAlpha ? shifted(3) : static_cast<T>(to.maximum));
        }
    }
}

void Reorder(const Image &image, Image &target)
{
    const auto from = *SamplesOf(image.format);
    const auto to = *SamplesOf(target.format);
    if (from.type == SampleType::Unsigned8)
    {
        ReorderAs<uint8_t>(image, target, from, to);
    }
    else
    {
        ReorderAs<uint16_t>(image, target, from, to);
    }
}

template <typename From, typename To>
void WidenAs(const Image &image, Image &target)
{
    const auto pixels = image.PixelCount();
    // Read once: the compiler must assume that writing pixels changes the images.
    const auto *const from = image.data;
    auto *const to = target.data;
    for (uint64_t i = 0; i < pixels; ++i)
    {
        Store(to, i, static_cast<To>(Load<From>(from, i)));
    }
}

template <typename T>
void Multiply(Image &image, const Samples &samples, double factor)
{
    const auto count = image.PixelCount() * samples.count;
    const auto maximum = samples.maximum;
    auto *const data = image.data;
    for (uint64_t i = 0; i < count; ++i)
    {
        Store(data, i, SampleOf<T>(Load<T>(data, i) * factor, maximum));
    }
}

void Widen(const Image &image, Image &target)
{
    if (SamplesOf(image.format)->type == SampleType::Unsigned16)
    {
        WidenAs<uint16_t, float>(image, target);
    }
    else if (SamplesOf(target.format)->type == SampleType::Unsigned16)
    {
        WidenAs<uint8_t, uint16_t>(image, target);
    }
    else
    {
        WidenAs<uint8_t, float>(image, target);
    }
}

void RequireTarget(const Image &image, PixelFormat format, const Image &target)
{
    if (target.format != format)
    {
        throw Failure(TARN_CVL_MISMATCH,
                      "The target is of " + NameOf(target.format) + ", expected " + NameOf(format));
    }
    if (target.width != image.width || target.height != image.height)
    {
        throw Failure(TARN_CVL_MISMATCH, "The target has " + std::to_string(target.width) + " x " +
                                             std::to_string(target.height) + " pixels, expected " +
                                             std::to_string(image.width) + " x " +
                                             std::to_string(image.height));
    }
}

/// Only a copy works in place.
void RequireMemoryOfItsOwn(const Image &image, const Image &target)
{
    if (ShareMemory(image, target))
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE, "The target shares memory with the image; expected memory of "
                                             "its own for " +
                                                 Pair(image.format, target.format));
    }
}

void Perform(Conversion conversion, const Image &image, Image &target)
{
    if (image.PixelCount() == 0)
    {
        return;
    }
    if (conversion != Conversion::Copy)
    {
        RequireMemoryOfItsOwn(image, target);
    }
    switch (conversion)
    {
    case Conversion::None:
        break;
    case Conversion::Copy:
        std::memmove(target.data, image.data, PixelBytes(image.format, image.width, image.height));
        break;
    case Conversion::Unpack:
        Unpack(static_cast<uint32_t>(image.format), image.data, static_cast<uint32_t>(target.format),
               target.data, image.width, image.height);
        break;
    case Conversion::Shift:
        ShiftSamples(image.format, image.data, target.format, target.data, image.PixelCount());
        break;
    case Conversion::Demosaic:
        Demosaic(image, target);
        break;
    case Conversion::Reorder:
        Reorder(image, target);
        break;
    case Conversion::Yuv:
        YuvToRgb(image, target);
        break;
    case Conversion::Widen:
        Widen(image, target);
        break;
    }
}

} // namespace

void Convert(const Image &image, PixelFormat format, Image &target)
{
    const auto conversion = FindConversion(image.format, format);
    if (conversion == Conversion::None)
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED,
                      "The conversion from " + Pair(image.format, format) + " is not offered");
    }
    RequireTarget(image, format, target);
    Perform(conversion, image, target);
}

void ConvertWithFactor(const Image &image, PixelFormat format, Image &target, double factor)
{
    if (!IsOfferedWithFactor(image.format, format))
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED,
                      "The conversion from " + Pair(image.format, format) + " with a factor is not offered");
    }
    if (!std::isfinite(factor))
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE,
                      "The factor is " + std::to_string(factor) + ", expected a finite number");
    }
    const auto samples = *SamplesOf(format);
    if (image.format == Coord3D_C16 && format == Coord3D_C32f)
    {
        // One pass instead of two, because the memory limits the speed of each.
        RequireTarget(image, format, target);
        RequireMemoryOfItsOwn(image, target);
        ScaleWords(image.data, image.PixelCount(), factor, target.data);
        return;
    }
    Convert(image, format, target);
    WithSampleType(samples.type, [&](auto sample) { Multiply<decltype(sample)>(target, samples, factor); });
}

} // namespace tarn::vision
