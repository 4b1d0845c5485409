#include "simulator/images/picture.h"

#include <csetjmp>
#include <cstring>
#include <png.h>

namespace GenTL::simulator
{

namespace
{

void TakeBytes(png_structp png, png_bytep out, size_t size)
{
    auto &left = *static_cast<Bytes *>(png_get_io_ptr(png));
    if (size > left.size())
    {
        png_error(png, "The file is cut off");
    }
    std::memcpy(out, left.data(), size);
    left = left.subspan(size);
}

/// Owns the objects of libpng.
struct PngReader
{
    png_structp png = png_create_read_struct(
        PNG_LIBPNG_VER_STRING, nullptr, [](png_structp failed, png_const_charp) { png_longjmp(failed, 1); },
        [](png_structp, png_const_charp) {});
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;

    PngReader() = default;
    PngReader(const PngReader &) = delete;
    PngReader &operator=(const PngReader &) = delete;
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

// A failure in libpng jumps out of these two functions, so they hold no object that needs a destructor.

/// Asks libpng for grey or RGB of 8 or 16 bits, in little-endian byte order.
bool ReadHeader(const PngReader &reader, Bytes *file, bool *canBeDepth)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0)
    {
        return false;
    }
    png_set_read_fn(reader.png, file, TakeBytes);
    png_read_info(reader.png, reader.info);
    *canBeDepth = png_get_color_type(reader.png, reader.info) == PNG_COLOR_TYPE_GRAY &&
                  png_get_bit_depth(reader.png, reader.info) == 16;
    png_set_expand(reader.png);
    png_set_strip_alpha(reader.png);
    png_set_swap(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool ReadRows(const PngReader &reader, png_bytepp rows)
{
    if (setjmp(png_jmpbuf(reader.png)) != 0)
    {
        return false;
    }
    png_read_image(reader.png, rows);
    return true;
}

} // namespace

Picture ReadPng(Bytes file)
{
    const PngReader reader;
    Picture picture;
    if (reader.info == nullptr || !ReadHeader(reader, &file, &picture.canBeDepth))
    {
        throw NoPicture();
    }
    picture.Resize(png_get_image_width(reader.png, reader.info),
                   png_get_image_height(reader.png, reader.info));
    const size_t channels = png_get_channels(reader.png, reader.info);
    const size_t sampleBytes = png_get_bit_depth(reader.png, reader.info) / 8U;
    picture.white = sampleBytes == 2 ? 65535 : 255;

    const size_t lineBytes = png_get_rowbytes(reader.png, reader.info);
    std::vector<uint8_t> bytes(lineBytes * picture.height);
    std::vector<png_bytep> rows;
    for (size_t row = 0; row < picture.height; ++row)
    {
        rows.push_back(bytes.data() + row * lineBytes);
    }
    if (!ReadRows(reader, rows.data()))
    {
        throw NoPicture();
    }
    const uint8_t *at = bytes.data();
    const auto sample = [&](size_t channel)
    {
        uint16_t value = 0;
        std::memcpy(&value, at + channel * sampleBytes, sampleBytes);
        return value;
    };
    for (uint16_t &value : picture.values)
    {
        value = channels == 1 ? sample(0) : GreyOf(sample(0), sample(1), sample(2));
        at += channels * sampleBytes;
    }
    return picture;
}

} // namespace GenTL::simulator
