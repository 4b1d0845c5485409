#include "pictures/exr_encoding.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <variant>
#include <vector>

namespace gentlctl
{
namespace
{

/// A file in memory. The library goes back in it to write the offsets of the lines.
class MemoryStream : public Imf::OStream
{
public:
    MemoryStream() : OStream("image") {}

    void write(const char *bytes, int count) override
    {
        const auto end = m_position + static_cast<size_t>(count);
        m_bytes.resize(std::max(m_bytes.size(), end));
        std::memcpy(m_bytes.data() + m_position, bytes, static_cast<size_t>(count));
        m_position = end;
    }
    uint64_t tellp() override { return m_position; }
    void seekp(uint64_t position) override { m_position = position; }

    std::string Bytes() { return std::move(m_bytes); }

private:
    std::string m_bytes;
    size_t m_position = 0;
};

/// @param samples of the picture, as floats
template <typename T>
void WriteChannels(MemoryStream &stream, const Raster<T> &pixels, std::vector<float> &samples)
{
    static constexpr std::array colours{"R", "G", "B"};
    Imf::Header header(static_cast<int>(pixels.width), static_cast<int>(pixels.height));
    header.compression() = Imf::ZIP_COMPRESSION;
    Imf::FrameBuffer frame;
    const auto step = sizeof(float) * pixels.channels;
    for (size_t channel = 0; channel < pixels.channels; ++channel)
    {
        const auto *const name = pixels.channels == colours.size() ? colours.at(channel) : "Y";
        header.channels().insert(name, Imf::Channel(Imf::FLOAT));
        frame.insert(name, Imf::Slice(Imf::FLOAT, reinterpret_cast<char *>(samples.data() + channel), step,
                                      step * pixels.width));
    }
    Imf::OutputFile file(stream, header);
    file.setFrameBuffer(frame);
    file.writePixels(static_cast<int>(pixels.height));
}

template <typename T>
std::string Exr(const Raster<T> &pixels)
{
    std::vector<float> samples(pixels.samples.begin(), pixels.samples.end());
    MemoryStream stream;
    try
    {
        WriteChannels(stream, pixels, samples);
    }
    catch (const std::exception &exception)
    {
        throw std::runtime_error(fmt::format("An image of {} x {} cannot be written as EXR: {}", pixels.width,
                                             pixels.height, exception.what()));
    }
    return stream.Bytes();
}

} // namespace

std::string EncodeExr(const AnyRaster &pixels)
{
    return std::visit([](const auto &raster) { return Exr(raster); }, pixels);
}

} // namespace gentlctl
