#include "processing/image_writer.h"

#include "processing/depth_output.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace GenTL::internal
{

namespace
{

/// The numbers of a frame come from the lower producer and may be wrong. A product or sum beyond 64 bits
/// becomes the largest number, which exceeds every buffer.
uint64_t Product(uint64_t first, uint64_t second)
{
    uint64_t product = 0;
    return __builtin_mul_overflow(first, second, &product) ? std::numeric_limits<uint64_t>::max() : product;
}

uint64_t Sum(uint64_t first, uint64_t second)
{
    uint64_t sum = 0;
    return __builtin_add_overflow(first, second, &sum) ? std::numeric_limits<uint64_t>::max() : sum;
}

uint64_t LineBits(const ImageConversion &image)
{
    return uint64_t{image.size.width} * image.input->bits;
}

/// Bytes from the beginning of a padded line to that of the next.
uint64_t Stride(const ImageConversion &image)
{
    return Sum(LineBits(image) / 8, image.xPadding);
}

} // namespace

uint64_t ImageConversion::InputBytes() const
{
    return xPadding == 0 ? Sum(Product(LineBits(*this), size.height), 7) / 8
                         : Product(Stride(*this), size.height);
}

uint64_t ImageConversion::OutputBytes() const
{
    return Product(OutputLineBytes(), size.height);
}

uint64_t ImageConversion::LinesIn(uint64_t bytes) const
{
    const auto lineBits = LineBits(*this);
    if (lineBits == 0)
    {
        return size.height;
    }
    if (xPadding == 0)
    {
        return std::min<uint64_t>(size.height, Product(bytes, 8) / lineBits);
    }
    const auto lineBytes = lineBits / 8;
    return bytes < lineBytes ? 0 : std::min<uint64_t>(size.height, (bytes - lineBytes) / Stride(*this) + 1);
}

uint64_t ImageConversion::OutputLineBytes() const
{
    return uint64_t{size.width} * output->bits / 8;
}

uint64_t ImageWriter::Write(const ImageConversion &image, std::span<uint8_t> arrived,
                            std::span<uint8_t> output)
{
    const auto lines = image.LinesIn(arrived.size());
    const auto bytes = lines * image.OutputLineBytes();
    if (bytes == 0)
    {
        return 0;
    }
    auto source = Arrived(image, arrived, lines);
    if (!m_depth.Changes(image.component, image.input->format))
    {
        UnpackImage(source, {image.output->format, output.first(bytes)});
        return bytes;
    }
    // The geometry of the lens is that of the whole image.
    source = lines == image.size.height ? source : Whole(image, source);
    if (image.component == Component::Image2D && image.input != image.output)
    {
        source = Unpacked(image, source);
    }
    m_depth.Process(image.component, source, {image.output->format, output.first(image.OutputBytes())});
    return bytes;
}

/// The lines that have arrived, one directly behind the other.
PixelSource ImageWriter::Arrived(const ImageConversion &image, std::span<uint8_t> arrived, uint64_t lines)
{
    const tarn::common::Size size{image.size.width, static_cast<unsigned int>(lines)};
    if (image.xPadding == 0)
    {
        return {image.input->format, size, arrived.data(), arrived.size()};
    }
    if (LineBits(image) % 8 != 0)
    {
        throw GenTLException(fmt::format("Padded lines of {} pixels in {} do not end on a byte!", size.width,
                                         image.input->name),
                             GC_ERR_ERROR);
    }
    const auto lineBytes = LineBits(image) / 8;
    m_dense.resize(lineBytes * lines);
    for (uint64_t line = 0; line < lines; ++line)
    {
        const auto from = arrived.subspan(line * Stride(image), lineBytes);
        std::ranges::copy(from, m_dense.data() + line * lineBytes);
    }
    return {image.input->format, size, m_dense.data(), m_dense.size()};
}

/// The image with zeros where it has not arrived.
PixelSource ImageWriter::Whole(const ImageConversion &image, const PixelSource &source)
{
    const auto present = GetSizeInBytes(*image.input, source.size);
    m_whole.assign(GetSizeInBytes(*image.input, image.size), 0);
    std::copy_n(source.data, std::min(present, source.byteSize), m_whole.data());
    return {source.format, image.size, m_whole.data(), m_whole.size()};
}

PixelSource ImageWriter::Unpacked(const ImageConversion &image, const PixelSource &source)
{
    m_unpacked.resize(image.OutputBytes());
    UnpackImage(source, {image.output->format, m_unpacked});
    return {image.output->format, image.size, m_unpacked.data(), m_unpacked.size()};
}

} // namespace GenTL::internal
