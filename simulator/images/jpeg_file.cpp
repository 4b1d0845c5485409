#include "simulator/images/picture.h"

#include <csetjmp>
#include <cstdio> // jpeglib.h uses it and does not include it

#include <jpeglib.h>

namespace GenTL::simulator
{

namespace
{

/// Owns the objects of libjpeg and receives its failures.
struct JpegReader
{
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};

    JpegReader()
    {
        jpeg.err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr file)
        { std::longjmp(static_cast<JpegReader *>(file->client_data)->failed, 1); };
        errors.emit_message = [](j_common_ptr, int) {};
        jpeg.client_data = this;
    }
    JpegReader(const JpegReader &) = delete;
    JpegReader &operator=(const JpegReader &) = delete;
    ~JpegReader() { jpeg_destroy_decompress(&jpeg); }
};

// A failure in libjpeg jumps out of these two functions, so they hold no object that needs a destructor.

bool ReadHeader(JpegReader &reader, Bytes file)
{
    if (setjmp(reader.failed) != 0)
    {
        return false;
    }
    jpeg_create_decompress(&reader.jpeg);
    reader.jpeg.client_data = &reader; // create clears it
    jpeg_mem_src(&reader.jpeg, file.data(), file.size());
    jpeg_read_header(&reader.jpeg, TRUE);
    reader.jpeg.out_color_space = reader.jpeg.num_components == 4 ? JCS_CMYK : JCS_GRAYSCALE;
    return true;
}

bool ReadRows(JpegReader &reader, uint8_t *out)
{
    if (setjmp(reader.failed) != 0)
    {
        return false;
    }
    jpeg_start_decompress(&reader.jpeg);
    while (reader.jpeg.output_scanline < reader.jpeg.output_height)
    {
        uint8_t *row = out + size_t{reader.jpeg.output_scanline} * reader.jpeg.output_width *
                                 static_cast<size_t>(reader.jpeg.output_components);
        jpeg_read_scanlines(&reader.jpeg, &row, 1);
    }
    return true;
}

/// The light that inks leave of white. The values are inverted, as is common in files: 255 is no ink.
uint16_t GreyOfInks(const uint8_t *inks)
{
    const uint32_t black = inks[3];
    return GreyOf(inks[0] * black / 255, inks[1] * black / 255, inks[2] * black / 255);
}

} // namespace

Picture ReadJpeg(Bytes file)
{
    JpegReader reader;
    if (!ReadHeader(reader, file))
    {
        throw NoPicture();
    }
    Picture picture;
    picture.Resize(reader.jpeg.image_width, reader.jpeg.image_height);
    const bool isInk = reader.jpeg.out_color_space == JCS_CMYK;
    std::vector<uint8_t> bytes(picture.values.size() * (isInk ? 4 : 1));
    if (!ReadRows(reader, bytes.data()))
    {
        throw NoPicture();
    }
    for (size_t i = 0; i < picture.values.size(); ++i)
    {
        picture.values[i] = isInk ? GreyOfInks(bytes.data() + 4 * i) : bytes[i];
    }
    return picture;
}

} // namespace GenTL::simulator
