// Uncompressed bitmaps: 1, 4 and 8 bits with a palette, 24 and 32 bits.

#include "simulator/images/picture.h"

namespace GenTL::simulator
{

namespace
{

/// The `size` bytes from `offset` on.
/// @throws NoPicture the file is shorter
const uint8_t *At(Bytes file, size_t offset, size_t size)
{
    if (offset > file.size() || size > file.size() - offset)
    {
        throw NoPicture();
    }
    return file.data() + offset;
}

uint32_t Number(Bytes file, size_t offset, size_t size)
{
    const uint8_t *const bytes = At(file, offset, size);
    uint32_t value = 0;
    for (size_t i = size; i > 0; --i)
    {
        value = value << 8 | bytes[i - 1];
    }
    return value;
}

uint16_t GreyOfBgr(const uint8_t *bgr)
{
    return GreyOf(bgr[2], bgr[1], bgr[0]);
}

/// The index in the `bits` bits of the byte that follow its upper `bit` bits.
size_t IndexAt(uint8_t byte, size_t bit, size_t bits)
{
    return (byte >> (8 - bit - bits)) & ((1U << bits) - 1);
}

} // namespace

Picture ReadBmp(Bytes file)
{
    constexpr size_t fileHeader = 14;
    const size_t pixels = Number(file, 10, 4);
    const size_t infoHeader = Number(file, fileHeader, 4);
    const auto height = static_cast<int32_t>(Number(file, 22, 4));
    const size_t pixelBits = Number(file, 28, 2);
    const uint32_t compression = Number(file, 30, 4);
    const bool hasPalette = pixelBits == 1 || pixelBits == 4 || pixelBits == 8;
    if (infoHeader < 40 || compression != 0 || (!hasPalette && pixelBits != 24 && pixelBits != 32))
    {
        throw NoPicture();
    }
    const bool isTopDown = height < 0;
    Picture picture;
    picture.Resize(Number(file, 18, 4),
                   isTopDown ? 0U - static_cast<uint32_t>(height) : static_cast<uint32_t>(height));

    const size_t palette = fileHeader + infoHeader;
    const size_t lineBytes = (picture.width * pixelBits + 7) / 8;
    const size_t distance = (lineBytes + 3) / 4 * 4;
    uint16_t *value = picture.values.data();
    for (size_t row = 0; row < picture.height; ++row)
    {
        const size_t line = isTopDown ? row : picture.height - 1 - row;
        const uint8_t *const bytes = At(file, pixels + line * distance, lineBytes);
        for (size_t bit = 0; bit < picture.width * pixelBits; bit += pixelBits)
        {
            const uint8_t *const pixel = bytes + bit / 8;
            *value++ = GreyOfBgr(hasPalette ? At(file, palette + 4 * IndexAt(*pixel, bit % 8, pixelBits), 4)
                                            : pixel);
        }
    }
    return picture;
}

} // namespace GenTL::simulator
