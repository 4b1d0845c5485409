#include "pictures/image_encoding.h"

#include <fmt/format.h>
#include <png.h>
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace gentlctl
{
namespace
{

template <typename T>
std::runtime_error CannotEncode(const char *format, const Raster<T> &pixels, const std::string &reason)
{
    return std::runtime_error(fmt::format("An image of {} x {} cannot be written as {}{}{}", pixels.width,
                                          pixels.height, format, reason.empty() ? "" : ": ", reason));
}

/// libpng's objects for one file, with the bytes of the file and the text of a failure.
class PngWriter
{
public:
    PngWriter()
        : m_png(
              png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, [](png_structp, const char *) {}))
    {
        m_info = png_create_info_struct(m_png);
        png_set_write_fn(m_png, this, OnBytes, [](png_structp) {});
    }
    PngWriter(const PngWriter &) = delete;
    PngWriter &operator=(const PngWriter &) = delete;
    ~PngWriter() { png_destroy_write_struct(&m_png, &m_info); }

    /// False with the reason in Failure. No local variable has a destructor, because a failure in libpng
    /// jumps out of this function.
    template <typename T>
    bool Write(const Raster<T> &pixels, uint8_t **rows)
    {
        if (setjmp(png_jmpbuf(m_png)) != 0)
        {
            return false;
        }
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(pixels.width),
                     static_cast<png_uint_32>(pixels.height), 8 * sizeof(T),
                     pixels.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(m_png, Z_BEST_SPEED);
        png_set_compression_strategy(m_png, Z_RLE);
        png_set_filter(m_png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
        png_write_info(m_png, m_info);
        if (sizeof(T) > 1)
        {
            png_set_swap(m_png);
        }
        png_write_image(m_png, rows);
        png_write_end(m_png, m_info);
        return true;
    }

    const std::string &Failure() const { return m_failure; }
    std::string Bytes() { return std::move(m_bytes); }

private:
    [[noreturn]] static void OnError(png_structp png, const char *text)
    {
        static_cast<PngWriter *>(png_get_error_ptr(png))->m_failure = text;
        png_longjmp(png, 1);
    }

    static void OnBytes(png_structp png, png_bytep bytes, size_t size)
    {
        auto &target = static_cast<PngWriter *>(png_get_io_ptr(png))->m_bytes;
        target.append(reinterpret_cast<const char *>(bytes), size);
    }

    std::string m_bytes;
    std::string m_failure;
    png_structp m_png;
    png_infop m_info = nullptr;
};

/// A file in memory for libtiff, which seeks back to bytes that it wrote.
struct MemoryFile
{
    std::string bytes;
    size_t position = 0;

    static MemoryFile &Of(thandle_t handle) { return *static_cast<MemoryFile *>(handle); }

    static tmsize_t Read(thandle_t handle, void *target, tmsize_t size)
    {
        auto &file = Of(handle);
        const auto count = file.bytes.copy(static_cast<char *>(target), static_cast<size_t>(size),
                                           std::min(file.position, file.bytes.size()));
        file.position += count;
        return static_cast<tmsize_t>(count);
    }

    static tmsize_t Write(thandle_t handle, void *source, tmsize_t size)
    {
        auto &file = Of(handle);
        const auto end = file.position + static_cast<size_t>(size);
        file.bytes.resize(std::max(file.bytes.size(), end));
        std::memcpy(file.bytes.data() + file.position, source, static_cast<size_t>(size));
        file.position = end;
        return size;
    }

    static toff_t Seek(thandle_t handle, toff_t offset, int whence)
    {
        auto &file = Of(handle);
        const toff_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.bytes.size();
        file.position = base + offset;
        return file.position;
    }

    static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }
    static int Close(thandle_t) { return 0; }
};

template <typename T>
void Describe(TIFF *tiff, const Raster<T> &pixels)
{
    constexpr bool isFloat = std::is_floating_point_v<T>;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(pixels.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(pixels.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * sizeof(T)));
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(pixels.channels));
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, pixels.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    if (!isFloat)
    {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
}

template <typename T>
bool WriteRows(TIFF *tiff, const Raster<T> &pixels)
{
    // libtiff changes the row that it gets.
    std::vector<T> row(pixels.width * pixels.channels);
    for (size_t y = 0; y < pixels.height; ++y)
    {
        std::copy_n(pixels.At(0, y), row.size(), row.data());
        if (TIFFWriteScanline(tiff, row.data(), static_cast<uint32_t>(y)) != 1)
        {
            return false;
        }
    }
    return TIFFFlush(tiff) == 1;
}

template <typename T>
std::string Png(const Raster<T> &pixels)
{
    std::vector<uint8_t *> rows;
    rows.reserve(pixels.height);
    for (size_t y = 0; y < pixels.height; ++y)
    {
        rows.push_back(reinterpret_cast<uint8_t *>(const_cast<T *>(pixels.At(0, y)))); // only read
    }
    PngWriter writer;
    if (!writer.Write(pixels, rows.data()))
    {
        throw CannotEncode("PNG", pixels, writer.Failure());
    }
    return writer.Bytes();
}

template <typename T>
std::string Tiff(const Raster<T> &pixels)
{
    // The exception reports the failure; libtiff would also print it.
    TIFFSetErrorHandler(nullptr);
    MemoryFile file;
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(
        TIFFClientOpen("image", "w", &file, MemoryFile::Read, MemoryFile::Write, MemoryFile::Seek,
                       MemoryFile::Close, MemoryFile::Size, nullptr, nullptr),
        TIFFClose);
    if (!tiff)
    {
        throw CannotEncode("TIFF", pixels, "");
    }
    Describe(tiff.get(), pixels);
    if (!WriteRows(tiff.get(), pixels))
    {
        throw CannotEncode("TIFF", pixels, "");
    }
    // TIFFClose writes nothing more: WriteRows has flushed.
    return std::move(file.bytes);
}

} // namespace

std::string EncodePng(const AnyRaster &pixels)
{
    return std::visit([](const auto &raster) { return Png(raster); }, pixels);
}

std::string EncodeTiff(const AnyRaster &pixels)
{
    return std::visit([](const auto &raster) { return Tiff(raster); }, pixels);
}

} // namespace gentlctl
