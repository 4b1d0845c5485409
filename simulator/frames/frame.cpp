#include "simulator/frames/frame.h"

#include "simulator/checksum.h"
#include "simulator/frames/frame_check.h"
#include "simulator/sources/pattern_source.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace GenTL::simulator
{

namespace
{

/// Writes the lowest bytes of the value.
void PutNumber(std::span<uint8_t> out, uint64_t value, bool bigEndian)
{
    for (size_t i = 0; i < out.size(); ++i)
    {
        const size_t place = bigEndian ? out.size() - 1 - i : i;
        out[place] = static_cast<uint8_t>(value >> (8 * i));
    }
}

uint64_t ValueOfChunk(ChunkValue value, const FrameOrder &order, std::span<const uint8_t> image)
{
    const auto &settings = *order.settings;
    switch (value)
    {
    case ChunkValue::FrameId:
        return order.number;
    case ChunkValue::Timestamp:
        return order.timestamp;
    case ChunkValue::ExposureTime:
        return std::bit_cast<uint32_t>(static_cast<float>(settings.exposureTime));
    case ChunkValue::Gain:
        return std::bit_cast<uint32_t>(static_cast<float>(settings.gain));
    case ChunkValue::ImageChecksum:
        return Checksum(image);
    case ChunkValue::Image:
        break;
    }
    return 0;
}

} // namespace

PARTDATATYPE_IDS FramePart::Type() const
{
    switch (image.depth.quantity)
    {
    case Quantity::Range:
        return PART_DATATYPE_3D_IMAGE;
    case Quantity::Confidence:
        return PART_DATATYPE_CONFIDENCE_MAP;
    case Quantity::Light:
        break;
    }
    return PART_DATATYPE_2D_IMAGE;
}

size_t ImageChunkSize(const FrameSettings &settings)
{
    return (settings.ImageBytes() + 3) / 4 * 4;
}

size_t PayloadSize(const FrameSettings &settings)
{
    if (settings.chunks.empty())
    {
        return settings.ImageBytes();
    }
    size_t size = 0;
    for (const auto &chunk : settings.chunks)
    {
        size +=
            chunkTrailerSize + (chunk.value == ChunkValue::Image ? ImageChunkSize(settings) : chunk.length);
    }
    return size;
}

FrameWriter::FrameWriter(MakeFrameSource makeSource) : m_makeSource(std::move(makeSource))
{
    AddSources();
}

void FrameWriter::AddSources()
{
    m_sources.push_back({m_makeSource(), std::make_unique<PatternSource>(), nullptr});
}

Frame FrameWriter::Write(const FrameOrder &order, std::span<uint8_t> buffer)
{
    Frame frame{order, order.settings->payloadSize, false, {}};
    if (buffer.size() >= frame.filled)
    {
        WriteWhole(frame, buffer.first(frame.filled));
        return frame;
    }
    m_oversize.resize(frame.filled);
    WriteWhole(frame, m_oversize);
    std::memcpy(buffer.data(), m_oversize.data(), buffer.size());
    frame.filled = buffer.size();
    frame.cutOff = true;
    frame.chunks.clear();
    return frame;
}

void FrameWriter::WriteWhole(Frame &frame, std::span<uint8_t> payload)
{
    WriteImages(frame.order, payload.first(frame.order.settings->ImageBytes()));
    WriteChunks(frame, payload);
}

void FrameWriter::WriteImages(const FrameOrder &order, std::span<uint8_t> images)
{
    const auto &parts = order.settings->parts;
    for (size_t i = 0; i < parts.size(); ++i)
    {
        SourceFor(parts[i].image, i)
            .Render(order.number, images.subspan(parts[i].offset, parts[i].image.Bytes()));
    }
    if (order.settings->frameCheck)
    {
        WriteFrameCheck(order.number, images);
    }
}

FrameSource &FrameWriter::SourceFor(const ImageSettings &settings, size_t part)
{
    while (m_sources.size() <= part)
    {
        AddSources();
    }
    auto &sources = m_sources[part];
    auto &source = settings.testPattern == 0 ? *sources.camera : *sources.pattern;
    if (!sources.prepared || *sources.prepared != settings)
    {
        source.Prepare(settings);
        sources.prepared = std::make_unique<ImageSettings>(settings);
    }
    return source;
}

void FrameWriter::WriteChunks(Frame &frame, std::span<uint8_t> payload) const
{
    const auto &settings = *frame.order.settings;
    const size_t imageSize = settings.ImageBytes();
    size_t offset = 0;
    for (const auto &chunk : settings.chunks)
    {
        const bool isImage = chunk.value == ChunkValue::Image;
        const size_t length = isImage ? ImageChunkSize(settings) : chunk.length;
        if (isImage)
        {
            std::fill_n(payload.begin() + static_cast<ptrdiff_t>(imageSize), length - imageSize, uint8_t{0});
        }
        else
        {
            const uint64_t value = ValueOfChunk(chunk.value, frame.order, payload.first(imageSize));
            PutNumber(payload.subspan(offset, length), value, settings.bigEndianChunks);
        }
        PutNumber(payload.subspan(offset + length, 4), chunk.id, settings.bigEndianTrailers);
        PutNumber(payload.subspan(offset + length + 4, 4), length, settings.bigEndianTrailers);
        frame.chunks.push_back({chunk.id, static_cast<ptrdiff_t>(offset), length});
        offset += length + chunkTrailerSize;
    }
}

} // namespace GenTL::simulator
