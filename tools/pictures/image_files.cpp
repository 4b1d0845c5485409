#include "pictures/image_files.h"

#include "pictures/demosaic.h"
#include "pictures/depth_files.h"
#include "pictures/exr_encoding.h"
#include "pictures/file_writing.h"
#include "pictures/image_encoding.h"
#include "pictures/npy_encoding.h"

#include "common/format_table.h"
#include "common/pixel_format.h"
#include "utils/checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace gentlctl
{
namespace
{

using tarn::common::PixelFormat;
using tarn::common::wideFormats;

/// How the samples of a format are converted.
enum class Conversion
{
    AsItIs,
    BlueFirst,
    BayerRG,
    BayerGR,
    BayerGB,
    BayerBG,
    Depth,
    Interleaved
};
using enum Conversion;

/// How a format becomes a picture. `maximum` gives the type of a sample: 8 bits up to 255, 16 bits above, and
/// float for 0.
struct Picture
{
    PixelFormat format;
    size_t channels;
    unsigned int maximum;
    Conversion conversion;
};

constexpr std::array pictures{
    Picture{PixelFormat::Mono8, 1, 255, AsItIs},
    Picture{PixelFormat::Mono10, 1, 1023, AsItIs},
    Picture{PixelFormat::Mono12, 1, 4095, AsItIs},
    Picture{PixelFormat::Mono14, 1, 16383, AsItIs},
    Picture{PixelFormat::Mono16, 1, 65535, AsItIs},
    Picture{PixelFormat::BayerRG8, 1, 255, BayerRG},
    Picture{PixelFormat::BayerGR8, 1, 255, BayerGR},
    Picture{PixelFormat::BayerGB8, 1, 255, BayerGB},
    Picture{PixelFormat::BayerBG8, 1, 255, BayerBG},
    Picture{PixelFormat::BayerRG10, 1, 1023, BayerRG},
    Picture{PixelFormat::BayerGR10, 1, 1023, BayerGR},
    Picture{PixelFormat::BayerGB10, 1, 1023, BayerGB},
    Picture{PixelFormat::BayerBG10, 1, 1023, BayerBG},
    Picture{PixelFormat::BayerRG12, 1, 4095, BayerRG},
    Picture{PixelFormat::BayerGR12, 1, 4095, BayerGR},
    Picture{PixelFormat::BayerGB12, 1, 4095, BayerGB},
    Picture{PixelFormat::BayerBG12, 1, 4095, BayerBG},
    Picture{PixelFormat::BayerRG14, 1, 16383, BayerRG},
    Picture{PixelFormat::BayerGR14, 1, 16383, BayerGR},
    Picture{PixelFormat::BayerGB14, 1, 16383, BayerGB},
    Picture{PixelFormat::BayerBG14, 1, 16383, BayerBG},
    Picture{PixelFormat::BayerRG16, 1, 65535, BayerRG},
    Picture{PixelFormat::BayerGR16, 1, 65535, BayerGR},
    Picture{PixelFormat::BayerGB16, 1, 65535, BayerGB},
    Picture{PixelFormat::BayerBG16, 1, 65535, BayerBG},
    Picture{PixelFormat::RGB8, 3, 255, AsItIs},
    Picture{PixelFormat::BGR8, 3, 255, BlueFirst},
    Picture{PixelFormat::RGB10, 3, 1023, AsItIs},
    Picture{PixelFormat::BGR10, 3, 1023, BlueFirst},
    Picture{PixelFormat::RGB12, 3, 4095, AsItIs},
    Picture{PixelFormat::BGR12, 3, 4095, BlueFirst},
    Picture{PixelFormat::RGB14, 3, 16383, AsItIs},
    Picture{PixelFormat::BGR14, 3, 16383, BlueFirst},
    Picture{PixelFormat::RGB16, 3, 65535, AsItIs},
    Picture{PixelFormat::BGR16, 3, 65535, BlueFirst},
    Picture{PixelFormat::Confidence8, 1, 255, AsItIs},
    Picture{PixelFormat::Confidence16, 1, 65535, AsItIs},
    Picture{PixelFormat::Coord3D_C8, 1, 255, Depth},
    Picture{PixelFormat::Coord3D_C16, 1, 65535, Depth},
    Picture{PixelFormat::Coord3D_C32f, 1, 0, Depth},
    Picture{PixelFormat::Coord3D_ABC32f, 3, 0, Depth},
    Picture{PixelFormat::Mono8_AB, 2, 255, Interleaved},
    Picture{PixelFormat::Mono10_AB, 2, 1023, Interleaved},
    Picture{PixelFormat::Mono12_AB, 2, 4095, Interleaved},
    Picture{PixelFormat::Mono8_ABCD, 4, 255, Interleaved},
    Picture{PixelFormat::Mono10_ABCD, 4, 1023, Interleaved},
    Picture{PixelFormat::Mono12_ABCD, 4, 4095, Interleaved},
    Picture{PixelFormat::BayerRG8_AB, 2, 255, Interleaved},
    Picture{PixelFormat::BayerGR8_AB, 2, 255, Interleaved},
    Picture{PixelFormat::BayerGB8_AB, 2, 255, Interleaved},
    Picture{PixelFormat::BayerBG8_AB, 2, 255, Interleaved},
    Picture{PixelFormat::BayerRG10_AB, 2, 1023, Interleaved},
    Picture{PixelFormat::BayerGR10_AB, 2, 1023, Interleaved},
    Picture{PixelFormat::BayerGB10_AB, 2, 1023, Interleaved},
    Picture{PixelFormat::BayerBG10_AB, 2, 1023, Interleaved},
    Picture{PixelFormat::BayerRG12_AB, 2, 4095, Interleaved},
    Picture{PixelFormat::BayerGR12_AB, 2, 4095, Interleaved},
    Picture{PixelFormat::BayerGB12_AB, 2, 4095, Interleaved},
    Picture{PixelFormat::BayerBG12_AB, 2, 4095, Interleaved},
};

const Picture *FindPicture(uint64_t pixelFormat)
{
    for (const auto &picture : pictures)
    {
        if (static_cast<uint64_t>(picture.format) == pixelFormat)
        {
            return &picture;
        }
    }
    return nullptr;
}

template <typename T>
Raster<T> Copy(const ImageView &image, size_t channels)
{
    constexpr uint64_t sideLimit = 1U << 20U;
    if (image.width == 0 || image.height == 0 || image.width > sideLimit || image.height > sideLimit ||
        !GenTL::internal::utils::RangeFits(0, image.width * image.height * channels * sizeof(T), image.size))
    {
        throw std::runtime_error(fmt::format("A {} image of {} x {} does not fit the buffer of {} bytes",
                                             FormatName(image.pixelFormat), image.width, image.height,
                                             image.size));
    }
    Raster<T> pixels{image.width, image.height, channels};
    std::memcpy(pixels.samples.data(), image.data, pixels.samples.size() * sizeof(T));
    return pixels;
}

AnyRaster Copy(const ImageView &image, const Picture &picture)
{
    if (picture.maximum == 0)
    {
        return Copy<float>(image, picture.channels);
    }
    if (picture.maximum <= 255)
    {
        return Copy<uint8_t>(image, picture.channels);
    }
    return Copy<uint16_t>(image, picture.channels);
}

template <typename To, typename T>
Raster<To> Channel(const Raster<T> &pixels, size_t index)
{
    Raster<To> channel{pixels.width, pixels.height};
    for (size_t i = 0; i < channel.samples.size(); ++i)
    {
        channel.samples[i] = static_cast<To>(pixels.samples[i * pixels.channels + index]);
    }
    return channel;
}

template <typename T>
Raster<T> RedFirst(Raster<T> pixels)
{
    for (size_t i = 0; i < pixels.samples.size(); i += pixels.channels)
    {
        std::swap(pixels.samples[i], pixels.samples[i + 2]);
    }
    return pixels;
}

/// The samples for a file: grey, or red, green and blue, or coordinates.
template <typename T>
AnyRaster Convert(Raster<T> pixels, Conversion conversion, size_t index, bool isShown)
{
    switch (conversion)
    {
    case AsItIs:
        return pixels;
    case Interleaved:
        return Channel<T>(pixels, index);
    case BlueFirst:
        return RedFirst(std::move(pixels));
    case Depth:
        if (isShown)
        {
            return ColourDepth(
                Channel<float>(pixels, pixels.channels - 1)); // the last channel of points is z
        }
        return pixels;
    default:
        break;
    }
    if constexpr (std::is_integral_v<T>)
    {
        return Demosaic(pixels, {conversion == BayerGR || conversion == BayerBG,
                                 conversion == BayerGB || conversion == BayerBG});
    }
    throw std::logic_error("No format has a mosaic of floats");
}

/// Samples up to `maximum` as samples that use all bits of their type.
template <typename To>
Raster<To> Scaled(const Raster<uint16_t> &pixels, unsigned int maximum)
{
    constexpr double full = std::numeric_limits<To>::max();
    Raster<To> scaled{pixels.width, pixels.height, pixels.channels};
    std::ranges::transform(pixels.samples, scaled.samples.begin(),
                           [&](uint16_t sample) {
                               return static_cast<To>(std::lrint(std::min(full, sample * (full / maximum))));
                           });
    return scaled;
}

const Picture &RequirePicture(uint64_t pixelFormat)
{
    const auto *picture = FindPicture(pixelFormat);
    if (picture == nullptr)
    {
        throw std::runtime_error(
            fmt::format("Images of format {} cannot be written as a picture: use --format raw, or "
                        "a PixelFormat of `gentlctl formats` that the producer unpacks",
                        FormatName(pixelFormat)));
    }
    return *picture;
}

bool IsMosaic(Conversion conversion)
{
    return conversion == BayerRG || conversion == BayerGR || conversion == BayerGB || conversion == BayerBG;
}

/// @param isShown depth becomes colours
AnyRaster ReadPixels(const ImageView &image, const Picture &picture, size_t index, bool isShown,
                     bool keepsMosaic)
{
    const auto conversion = keepsMosaic && IsMosaic(picture.conversion) ? AsItIs : picture.conversion;
    auto samples = Copy(image, picture);
    return std::visit([&](auto &raster) { return Convert(std::move(raster), conversion, index, isShown); },
                      samples);
}

/// A format of files, by their extension.
struct FileFormat
{
    std::string_view extension;
    std::string (*encode)(const AnyRaster &pixels);
    bool isShown; ///< made for screens: depth in colours, and samples scaled to the full range
};

constexpr std::array fileFormats{FileFormat{".png", EncodePng, true}, FileFormat{".tiff", EncodeTiff, false},
                                 FileFormat{".npy", EncodeNpy, false}, FileFormat{".exr", EncodeExr, false}};

const FileFormat &FormatOf(const std::filesystem::path &file)
{
    const auto *format = std::ranges::find(fileFormats, file.extension().string(), &FileFormat::extension);
    if (format == fileFormats.end())
    {
        throw std::logic_error(
            fmt::format("No pictures are written into {} files", file.extension().string()));
    }
    return *format;
}

} // namespace

std::string FormatName(uint64_t pixelFormat)
{
    const auto *const format = wideFormats.Find(static_cast<PixelFormat>(pixelFormat));
    return format != nullptr ? std::string(format->name) : fmt::format("0x{:08X}", pixelFormat);
}

size_t BytesOf(uint64_t pixelFormat, size_t width, size_t height)
{
    const auto *const format = wideFormats.Find(static_cast<PixelFormat>(pixelFormat));
    return format != nullptr ? GetSizeInBytes(*format, {static_cast<unsigned int>(width),
                                                        static_cast<unsigned int>(height)})
                             : 0;
}

size_t ImagesIn(uint64_t pixelFormat)
{
    const auto *picture = FindPicture(pixelFormat);
    return picture != nullptr && picture->conversion == Interleaved ? picture->channels : 1;
}

void WritePicture(const std::filesystem::path &file, const ImageView &image, size_t index,
                  const PictureOptions &options)
{
    const bool isShown = FormatOf(file).isShown;
    const auto &picture = RequirePicture(image.pixelFormat);
    auto pixels = ReadPixels(image, picture, index, isShown, options.keepsMosaic);
    if (auto *deep = std::get_if<Raster<uint16_t>>(&pixels);
        deep != nullptr && options.scale.value_or(isShown))
    {
        pixels = Scaled<uint16_t>(*deep, picture.maximum);
    }
    WriteImage(file, pixels);
}

Raster<uint8_t> ShownPicture(const ImageView &image, const PictureOptions &options)
{
    const auto &picture = RequirePicture(image.pixelFormat);
    auto pixels = ReadPixels(image, picture, 0, true, options.keepsMosaic);
    if (const auto *deep = std::get_if<Raster<uint16_t>>(&pixels))
    {
        return Scaled<uint8_t>(*deep, picture.maximum);
    }
    return std::move(std::get<Raster<uint8_t>>(pixels));
}

void WriteImage(const std::filesystem::path &file, const AnyRaster &pixels)
{
    const auto bytes = FormatOf(file).encode(pixels);
    WriteBytes(file, bytes.data(), bytes.size());
}

} // namespace gentlctl
