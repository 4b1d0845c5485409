// Unpacking: for any pair of formats, size and bytes, Unpack and UnpackScalar give the same result and stay
// within the images. The images have exactly the required size.

#include "vision_module/unpack.h"
#include "common/pixel_format.h"
#include "require.h"
#include "vision_module/unpack_scalar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace
{

using tarn::common::PixelFormat;

constexpr std::array formats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) PixelFormat::name,
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
};

} // namespace

/// One byte for the format, two each for width and height, then the bytes of the image, repeated as needed.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize)
{
    constexpr size_t headSize = 5;
    if (dataSize <= headSize)
    {
        return 0;
    }
    const auto format = formats[data[0] % formats.size()];
    const auto unpacked = UnpackedFormat(format);
    const auto from = static_cast<uint32_t>(format);
    const auto to = static_cast<uint32_t>(unpacked);
    const tarn::common::Size size{(data[1] | uint32_t{data[2]} << 8) % 5000,
                                  (data[3] | uint32_t{data[4]} << 8) % 12};
    if (!tarn::vision::IsUnpackOffered(from, to))
    {
        return 0;
    }

    std::vector<uint8_t> source(GetSizeInBytes(format, size));
    const auto bytesSize = dataSize - headSize;
    for (size_t i = 0; i < source.size(); ++i)
    {
        source[i] = data[headSize + i % bytesSize];
    }
    std::vector<uint8_t> fast(GetSizeInBytes(unpacked, size), 0x00);
    std::vector<uint8_t> plain(fast.size(), 0xFF);
    tarn::vision::Unpack(from, source.data(), to, fast.data(), size.width, size.height);
    tarn::vision::UnpackScalar(from, source.data(), to, plain.data(), size.width, size.height);
    Require(fast == plain);
    return 0;
}
