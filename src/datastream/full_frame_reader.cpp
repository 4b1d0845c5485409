#include "datastream/full_frame_reader.h"

#include "datastream/proxy_buffer.h"
#include "utils/checks.h"
#include "utils/scaled.h"

#include <algorithm>
#include <array>

namespace GenTL::internal
{

namespace
{

/// More parts or chunks than any frame has. A producer that claims more is wrong.
constexpr size_t mostEntries = 65536;

constexpr std::array imagePayloads{PAYLOAD_TYPE_IMAGE,    PAYLOAD_TYPE_CHUNK_DATA, PAYLOAD_TYPE_JPEG,
                                   PAYLOAD_TYPE_JPEG2000, PAYLOAD_TYPE_H264,       PAYLOAD_TYPE_MULTI_PART};

ChunkTrailers TrailersOf(std::string_view tlType)
{
    if (tlType == "GEV")
    {
        return ChunkTrailers::BigEndian;
    }
    return tlType == "U3V" ? ChunkTrailers::LittleEndian : ChunkTrailers::None;
}

template <typename T>
std::optional<T> As(const std::optional<uint64_t> &value)
{
    return value ? std::optional(static_cast<T>(*value)) : std::nullopt;
}

uint8_t *AddressOf(uint64_t value)
{
    return reinterpret_cast<uint8_t *>(static_cast<uintptr_t>(value));
}

/// Bytes of an image without padding. Codes of PFNC and of GigE Vision contain the bits per pixel.
std::optional<uint64_t> ImageBytes(const std::optional<uint64_t> &format,
                                   const std::optional<uint64_t> &numbering,
                                   const std::optional<uint64_t> &width,
                                   const std::optional<uint64_t> &height)
{
    const auto known = numbering.value_or(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    if (!format || !width || !height ||
        (known != PIXELFORMAT_NAMESPACE_PFNC_32BIT && known != PIXELFORMAT_NAMESPACE_GEV))
    {
        return std::nullopt;
    }
    const auto bitsPerPixel = (*format >> 16U) & 0xFFU;
    if (bitsPerPixel == 0)
    {
        return std::nullopt; // a number of the device's own
    }
    const auto bitsPerLine = utils::Scaled(*width, bitsPerPixel, 1);
    const auto bytes = bitsPerLine ? utils::Scaled(*bitsPerLine, *height, 8) : std::nullopt;
    return bytes;
}

/// @param what and its number, for the text
void CheckWithin(std::string_view what, uint64_t number, uint64_t offset, uint64_t size, uint64_t limit)
{
    if (!utils::RangeFits(offset, size, limit))
    {
        throw GenTLException(
            fmt::format("{} {} at offset {} with {} bytes lies outside of the buffer of {} bytes", what,
                        number, static_cast<int64_t>(offset), size, limit),
            GC_ERR_INVALID_BUFFER);
    }
}

void CheckCount(std::string_view what, size_t count)
{
    if (count > mostEntries)
    {
        throw GenTLException(fmt::format("The buffer claims to have {} {}", count, what),
                             GC_ERR_INVALID_BUFFER);
    }
}

/// The list of chunks; nothing when there is none.
/// @param code of the lower producer
std::vector<ChunkEntry> ChunksOf(const ProxyBuffer &buffer, GC_ERROR &code)
{
    size_t count = 0;
    code =
        buffer.Lower().TryDSGetBufferChunkData(buffer.DataStream(), buffer.GetLowerHandle(), nullptr, &count);
    if (code != GC_ERR_SUCCESS || count == 0)
    {
        return {};
    }
    CheckCount("chunks", count);
    std::vector<ChunkEntry> entries(count);
    code = buffer.Lower().TryDSGetBufferChunkData(buffer.DataStream(), buffer.GetLowerHandle(),
                                                  entries.data(), &count);
    entries.resize(code == GC_ERR_SUCCESS ? std::min(count, entries.size()) : 0);
    return entries;
}

std::optional<std::string> FileNameOf(const ProxyBuffer &buffer)
{
    std::array<char, 1024> text{};
    size_t size = text.size() - 1;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto code = buffer.Lower().TryDSGetBufferInfo(buffer.DataStream(), buffer.GetLowerHandle(),
                                                        BUFFER_INFO_FILENAME, &type, text.data(), &size);
    return code == GC_ERR_SUCCESS ? std::optional<std::string>(text.data()) : std::nullopt;
}

} // namespace

FullFrameReader::FullFrameReader(const FrameSource &source)
    : m_clock(source.clock), m_trailers(TrailersOf(source.tlType))
{
}

void FullFrameReader::Begin()
{
    m_clock->AskFrequency();
    m_questions.Reset();
    m_partQuestions.Reset();
    m_asksForParts = true;
    m_asksForChunks = true;
    m_nextFrameId = 1;
}

LowerFrame FullFrameReader::Read(const ProxyBuffer &buffer)
{
    m_questions.Ask(buffer);
    LowerFrame frame;
    auto &input = frame.input;
    ReadAttributes(input.attributes);
    input.attributes.frameId = m_questions[BUFFER_INFO_FRAMEID].value_or(m_nextFrameId);
    ++m_nextFrameId;
    m_clock->Complete(input.attributes.timestamp, input.attributes.timestampNs);
    frame.isIncomplete = m_questions[BUFFER_INFO_IS_INCOMPLETE].value_or(0) != 0;
    input.isIncomplete = frame.isIncomplete;
    try
    {
        ReadContents(buffer, input);
    }
    catch (const std::exception &exception)
    {
        frame.failure = exception.what();
    }
    return frame;
}

void FullFrameReader::ReadContents(const ProxyBuffer &buffer, InputData &input)
{
    input.trailers = m_trailers;
    ReadMemory(buffer, input);
    ReadSizes(input);
    ReadParts(buffer, input);
    ReadChunks(buffer, input);
    auto &attributes = input.attributes;
    attributes.payloadType = static_cast<size_t>(input.payloadType);
    if (!attributes.isImagePresent)
    {
        attributes.isImagePresent =
            std::ranges::find(imagePayloads, input.payloadType) != imagePayloads.end() &&
            input.sizeFilled.value_or(input.size) != 0;
    }
    if (input.payloadType == PAYLOAD_TYPE_FILE)
    {
        attributes.fileName = FileNameOf(buffer);
    }
}

void FullFrameReader::ReadMemory(const ProxyBuffer &buffer, InputData &input) const
{
    const auto base = m_questions[BUFFER_INFO_BASE];
    input.data = base ? AddressOf(*base) : static_cast<uint8_t *>(buffer.Base());
    input.size = m_questions[BUFFER_INFO_SIZE].value_or(buffer.Size());
    if (input.data == nullptr)
    {
        throw GenTLException("The lower producer delivered a buffer without memory", GC_ERR_INVALID_BUFFER);
    }
}

void FullFrameReader::ReadAttributes(BufferMetadata &attributes) const
{
    attributes.timestamp = m_questions[BUFFER_INFO_TIMESTAMP];
    attributes.timestampNs = m_questions[BUFFER_INFO_TIMESTAMP_NS];
    attributes.pixelFormat = m_questions[BUFFER_INFO_PIXELFORMAT];
    attributes.pixelFormatNamespace = m_questions[BUFFER_INFO_PIXELFORMAT_NAMESPACE];
    attributes.pixelEndianness = As<int32_t>(m_questions[BUFFER_INFO_PIXEL_ENDIANNESS]);
    attributes.width = m_questions[BUFFER_INFO_WIDTH];
    attributes.height = m_questions[BUFFER_INFO_HEIGHT];
    attributes.deliveredImageHeight = m_questions[BUFFER_INFO_DELIVERED_IMAGEHEIGHT];
    if (!attributes.deliveredImageHeight)
    {
        attributes.deliveredImageHeight = attributes.height;
    }
    attributes.xOffset = m_questions[BUFFER_INFO_XOFFSET];
    attributes.yOffset = m_questions[BUFFER_INFO_YOFFSET];
    attributes.imageOffset = m_questions[BUFFER_INFO_IMAGEOFFSET];
    attributes.xPadding = m_questions[BUFFER_INFO_XPADDING];
    attributes.yPadding = m_questions[BUFFER_INFO_YPADDING];
    attributes.chunkPayloadSize = m_questions[BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE];
    attributes.chunkLayoutId = m_questions[BUFFER_INFO_CHUNKLAYOUTID];
    if (const auto isPresent = m_questions[BUFFER_INFO_IMAGEPRESENT])
    {
        attributes.isImagePresent = *isPresent != 0;
    }
}

void FullFrameReader::ReadSizes(InputData &input) const
{
    const auto &attributes = input.attributes;
    input.dataSize = m_questions[BUFFER_INFO_DATA_SIZE];
    input.sizeFilled = m_questions[BUFFER_INFO_SIZE_FILLED];
    if (!input.sizeFilled)
    {
        // A frame may be larger than the buffer that it came in.
        const auto meant = input.dataSize
                               ? input.dataSize
                               : ImageBytes(attributes.pixelFormat, attributes.pixelFormatNamespace,
                                            attributes.width, attributes.height);
        input.sizeFilled = std::min(meant.value_or(input.size), input.size);
    }
    if (!input.dataSize)
    {
        input.dataSize = input.sizeFilled;
    }
    CheckWithin("Frame", attributes.frameId, 0, *input.sizeFilled, input.size);
    CheckWithin("The image of frame", attributes.frameId, attributes.imageOffset.value_or(0), 0, input.size);
}

// A producer that announces no parts may have them all the same, so it is asked at the first frame.
void FullFrameReader::ReadParts(const ProxyBuffer &buffer, InputData &input)
{
    const auto told = m_questions[BUFFER_INFO_PAYLOADTYPE];
    const bool isMultiPart = told == uint64_t{PAYLOAD_TYPE_MULTI_PART};
    uint32_t count = 0;
    if (isMultiPart || m_asksForParts)
    {
        const auto code =
            buffer.Lower().TryDSGetNumBufferParts(buffer.DataStream(), buffer.GetLowerHandle(), &count);
        count = code == GC_ERR_SUCCESS ? count : 0;
        m_asksForParts = isMultiPart || count != 0;
    }
    CheckCount("parts", count);
    const auto derived = count != 0 ? PAYLOAD_TYPE_MULTI_PART : PAYLOAD_TYPE_IMAGE;
    input.payloadType = static_cast<int32_t>(told.value_or(derived));
    input.parts.reserve(count);
    for (uint32_t index = 0; index < count; ++index)
    {
        input.parts.push_back(ReadPart(buffer, index, input));
    }
}

BufferPartInfo FullFrameReader::ReadPart(const ProxyBuffer &buffer, uint32_t index, const InputData &input)
{
    m_partQuestions.Ask(buffer, index);
    const auto &told = m_partQuestions;
    BufferPartInfo part;
    part.format = told[BUFFER_PART_INFO_DATA_FORMAT];
    part.formatNamespace = told[BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE];
    part.width = told[BUFFER_PART_INFO_WIDTH];
    part.height = told[BUFFER_PART_INFO_HEIGHT];
    part.deliveredImageHeight = told[BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT];
    if (!part.deliveredImageHeight)
    {
        part.deliveredImageHeight = part.height;
    }
    part.xOffset = told[BUFFER_PART_INFO_XOFFSET];
    part.yOffset = told[BUFFER_PART_INFO_YOFFSET];
    part.xPadding = told[BUFFER_PART_INFO_XPADDING];
    part.sourceId = told[BUFFER_PART_INFO_SOURCE_ID];
    part.regionId = told[BUFFER_PART_INFO_REGION_ID];
    part.purposeId = told[BUFFER_PART_INFO_DATA_PURPOSE_ID];
    part.type = static_cast<int32_t>(told[BUFFER_PART_INFO_DATA_TYPE].value_or(PART_DATATYPE_UNKNOWN));
    ReadPartMemory(index, input, part);
    return part;
}

void FullFrameReader::ReadPartMemory(uint32_t index, const InputData &input, BufferPartInfo &part) const
{
    const auto base = m_partQuestions[BUFFER_PART_INFO_BASE];
    const auto told = m_partQuestions[BUFFER_PART_INFO_DATA_SIZE];
    const auto size = told ? told : ImageBytes(part.format, part.formatNamespace, part.width, part.height);
    if (!base || !size)
    {
        throw GenTLException(fmt::format("Part {} tells neither where it lies nor how large it is", index),
                             GC_ERR_INVALID_BUFFER);
    }
    part.base = AddressOf(*base);
    part.size = *size;
    // The difference wraps for a part before the buffer, and is too large then.
    const auto offset = *base - reinterpret_cast<uintptr_t>(input.data);
    CheckWithin("Part", index, offset, part.size, input.size);
}

void FullFrameReader::ReadChunks(const ProxyBuffer &buffer, InputData &input)
{
    const auto told = m_questions[BUFFER_INFO_CONTAINS_CHUNKDATA];
    if (told == uint64_t{0} || (!told && !m_asksForChunks))
    {
        input.attributes.hasChunks = false;
        return;
    }
    auto code = GC_ERROR{GC_ERR_NOT_IMPLEMENTED};
    std::vector<ChunkEntry> entries;
    if (m_asksForChunks)
    {
        entries = ChunksOf(buffer, code);
        m_asksForChunks = code != GC_ERR_NOT_IMPLEMENTED;
    }
    for (const ChunkEntry entry : entries)
    {
        CheckWithin("Chunk", entry.ChunkID, static_cast<uint64_t>(entry.ChunkOffset), entry.ChunkLength,
                    input.size);
    }
    input.attributes.hasChunks = told.has_value() || !entries.empty();
    if (*input.attributes.hasChunks)
    {
        input.chunks = ChunkList{.payloadSize = input.attributes.chunkPayloadSize.value_or(0),
                                 .layoutId = input.attributes.chunkLayoutId.value_or(0),
                                 .entries = std::move(entries)};
    }
}

} // namespace GenTL::internal
