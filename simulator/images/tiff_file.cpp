#include "simulator/images/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <tiffio.h>

namespace GenTL::simulator
{

namespace
{

/// A file in memory as libtiff reads it.
struct MemoryFile
{
    Bytes bytes;
    size_t at = 0;

    static MemoryFile &Of(thandle_t handle) { return *static_cast<MemoryFile *>(handle); }

    static tmsize_t Read(thandle_t handle, void *out, tmsize_t size)
    {
        MemoryFile &file = Of(handle);
        const Bytes left = file.bytes.subspan(std::min(file.at, file.bytes.size()));
        const size_t count = std::min(static_cast<size_t>(size), left.size());
        std::memcpy(out, left.data(), count);
        file.at += count;
        return static_cast<tmsize_t>(count);
    }

    static tmsize_t Write(thandle_t, void *, tmsize_t) { return -1; }

    static toff_t Seek(thandle_t handle, toff_t offset, int origin)
    {
        MemoryFile &file = Of(handle);
        const size_t from = origin == SEEK_CUR ? file.at : origin == SEEK_END ? file.bytes.size() : 0;
        return file.at = from + offset;
    }

    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }
};

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

/// Opens the file and silences libtiff, which writes to standard error otherwise.
Tiff Open(MemoryFile &file)
{
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    const TIFFErrorHandlerExtR silent = [](TIFF *, void *, const char *, const char *, va_list) { return 1; };
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silent, nullptr);
    Tiff tiff(TIFFClientOpenExt("picture", "rm", &file, MemoryFile::Read, MemoryFile::Write, MemoryFile::Seek,
                                MemoryFile::Close, MemoryFile::Size, nullptr, nullptr, options.get()),
              TIFFClose);
    if (!tiff)
    {
        throw NoPicture();
    }
    return tiff;
}

template <typename T>
T Field(const Tiff &tiff, uint32_t tag)
{
    T value = 0;
    TIFFGetFieldDefaulted(tiff.get(), tag, &value);
    return value;
}

/// Reads a file of up to 8 bits by libtiff's own conversion.
void ReadEightBits(const Tiff &tiff, Picture &picture)
{
    std::vector<uint32_t> colours(picture.values.size());
    if (TIFFReadRGBAImageOriented(tiff.get(), picture.width, picture.height, colours.data(),
                                  ORIENTATION_TOPLEFT, 1) == 0)
    {
        throw NoPicture();
    }
    std::ranges::transform(colours, picture.values.begin(),
                           [](uint32_t colour)
                           { return GreyOf(TIFFGetR(colour), TIFFGetG(colour), TIFFGetB(colour)); });
}

/// Samples of floating point files go from 0 to 1.
template <typename T>
uint16_t SampleAt(const uint8_t *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    if constexpr (std::is_floating_point_v<T>)
    {
        return value > 0 ? static_cast<uint16_t>(std::min(std::round(double{value} * 65535), 65535.0)) : 0;
    }
    else
    {
        return value;
    }
}

/// Place and size of a block in pixels, and the samples of each pixel.
struct TiffBlock
{
    uint32_t left;
    uint32_t top;
    uint32_t width;
    uint32_t height;
    size_t samples;
};

/// Copies the part of a block that lies in the picture.
template <typename T>
void CopyBlock(const uint8_t *bytes, const TiffBlock &block, Picture &picture)
{
    const size_t pixelBytes = block.samples * sizeof(T);
    for (uint32_t row = block.top; row < std::min(block.top + block.height, picture.height); ++row)
    {
        const uint8_t *at = bytes + size_t{row - block.top} * block.width * pixelBytes;
        uint16_t *value = picture.values.data() + size_t{row} * picture.width + block.left;
        for (uint32_t i = 0; i < std::min(block.width, picture.width - block.left); ++i, at += pixelBytes)
        {
            *value++ = block.samples < 3 ? SampleAt<T>(at)
                                         : GreyOf(SampleAt<T>(at), SampleAt<T>(at + sizeof(T)),
                                                  SampleAt<T>(at + 2 * sizeof(T)));
        }
    }
}

/// Reads tiles, or strips as tiles as wide as the picture. The samples of a pixel stand beside each other.
template <typename T>
void ReadBlocks(const Tiff &tiff, Picture &picture, size_t samples)
{
    picture.white = 65535;
    const bool isTiled = TIFFIsTiled(tiff.get()) != 0;
    const uint32_t width = isTiled ? Field<uint32_t>(tiff, TIFFTAG_TILEWIDTH) : picture.width;
    const uint32_t height = isTiled ? Field<uint32_t>(tiff, TIFFTAG_TILELENGTH)
                                    : std::min(Field<uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), picture.height);
    const size_t pixelBytes = samples * sizeof(T);
    const tmsize_t blockBytes = isTiled ? TIFFTileSize(tiff.get()) : TIFFStripSize(tiff.get());
    constexpr tmsize_t mostBytes = tmsize_t{1} << 30;
    if (width == 0 || height == 0 || blockBytes <= 0 || blockBytes > mostBytes ||
        static_cast<size_t>(blockBytes) / width / height < pixelBytes)
    {
        throw NoPicture();
    }
    std::vector<uint8_t> block(static_cast<size_t>(blockBytes));
    for (uint32_t top = 0; top < picture.height; top += height)
    {
        for (uint32_t left = 0; left < picture.width; left += width)
        {
            const tmsize_t read =
                isTiled ? TIFFReadEncodedTile(tiff.get(), TIFFComputeTile(tiff.get(), left, top, 0, 0),
                                              block.data(), blockBytes)
                        : TIFFReadEncodedStrip(tiff.get(), TIFFComputeStrip(tiff.get(), top, 0), block.data(),
                                               blockBytes);
            if (read < 0)
            {
                throw NoPicture();
            }
            CopyBlock<T>(block.data(), {left, top, width, height, samples}, picture);
        }
    }
}

} // namespace

Picture ReadTiff(Bytes bytes)
{
    MemoryFile file{bytes};
    const Tiff tiff = Open(file);
    Picture picture;
    picture.Resize(Field<uint32_t>(tiff, TIFFTAG_IMAGEWIDTH), Field<uint32_t>(tiff, TIFFTAG_IMAGELENGTH));
    const auto bits = Field<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
    if (bits <= 8)
    {
        ReadEightBits(tiff, picture);
        return picture;
    }
    const auto samples = Field<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
    const auto meaning = Field<uint16_t>(tiff, TIFFTAG_PHOTOMETRIC);
    if ((meaning != PHOTOMETRIC_MINISBLACK && meaning != PHOTOMETRIC_RGB) ||
        (samples > 1 && Field<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG))
    {
        throw NoPicture();
    }
    switch (Field<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT) << 16 | bits)
    {
    case SAMPLEFORMAT_UINT << 16 | 16:
        picture.canBeDepth = samples == 1;
        ReadBlocks<uint16_t>(tiff, picture, samples);
        return picture;
    case SAMPLEFORMAT_IEEEFP << 16 | 32:
        ReadBlocks<float>(tiff, picture, samples);
        return picture;
    case SAMPLEFORMAT_IEEEFP << 16 | 64:
        ReadBlocks<double>(tiff, picture, samples);
        return picture;
    default:
        throw NoPicture();
    }
}

} // namespace GenTL::simulator
