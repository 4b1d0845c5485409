#include "datastream/lower_frame.h"

#include "datastream/proxy_buffer.h"
#include "utils/lower_info.h"
#include "utils/try.h"

namespace GenTL::internal
{

namespace
{

class BufferQueries
{
public:
    explicit BufferQueries(const ProxyBuffer &buffer) : m_buffer(buffer) {}

    template <typename T>
    T Info(BUFFER_INFO_CMD command, INFO_DATATYPE type) const
    {
        return utils::ReadValue<T>(type,
                                   [&](INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) {
                                       m_buffer.Lower().DSGetBufferInfo(m_buffer.DataStream(), Handle(),
                                                                        command, piType, pBuffer, piSize);
                                   });
    }

    template <typename T>
    std::optional<T> TryInfo(BUFFER_INFO_CMD command, INFO_DATATYPE type) const
    {
        return utils::Try([&] { return Info<T>(command, type); });
    }

    template <typename T>
    T PartInfo(uint32_t part, BUFFER_PART_INFO_CMD command, INFO_DATATYPE type) const
    {
        return utils::ReadValue<T>(type,
                                   [&](INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
                                   {
                                       m_buffer.Lower().DSGetBufferPartInfo(m_buffer.DataStream(), Handle(),
                                                                            part, command, piType, pBuffer,
                                                                            piSize);
                                   });
    }

    template <typename T>
    std::optional<T> TryPartInfo(uint32_t part, BUFFER_PART_INFO_CMD command, INFO_DATATYPE type) const
    {
        return utils::Try([&] { return PartInfo<T>(part, command, type); });
    }

    uint32_t NumParts() const
    {
        uint32_t count = 0;
        m_buffer.Lower().DSGetNumBufferParts(m_buffer.DataStream(), Handle(), &count);
        return count;
    }

    std::vector<ChunkEntry> Chunks() const
    {
        size_t count = 0;
        m_buffer.Lower().DSGetBufferChunkData(m_buffer.DataStream(), Handle(), nullptr, &count);
        std::vector<ChunkEntry> entries(count);
        m_buffer.Lower().DSGetBufferChunkData(m_buffer.DataStream(), Handle(), entries.data(), &count);
        return entries;
    }

private:
    BUFFER_HANDLE Handle() const { return m_buffer.GetLowerHandle(); }

    const ProxyBuffer &m_buffer;
};

void ReadAttributes(const BufferQueries &queries, BufferMetadata &attributes)
{
    attributes.pixelFormat = queries.TryInfo<uint64_t>(BUFFER_INFO_PIXELFORMAT, INFO_DATATYPE_UINT64);
    attributes.width = queries.TryInfo<size_t>(BUFFER_INFO_WIDTH, INFO_DATATYPE_SIZET);
    attributes.height = queries.TryInfo<size_t>(BUFFER_INFO_HEIGHT, INFO_DATATYPE_SIZET);
    attributes.xOffset = queries.TryInfo<size_t>(BUFFER_INFO_XOFFSET, INFO_DATATYPE_SIZET);
    attributes.yOffset = queries.TryInfo<size_t>(BUFFER_INFO_YOFFSET, INFO_DATATYPE_SIZET);
}

std::optional<ChunkList> ReadChunks(const BufferQueries &queries)
{
    if (queries.TryInfo<bool8_t>(BUFFER_INFO_CONTAINS_CHUNKDATA, INFO_DATATYPE_BOOL8).value_or(0) == 0)
    {
        return std::nullopt;
    }
    ChunkList chunks;
    chunks.payloadSize = queries.Info<size_t>(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, INFO_DATATYPE_SIZET);
    chunks.layoutId = queries.TryInfo<uint64_t>(BUFFER_INFO_CHUNKLAYOUTID, INFO_DATATYPE_UINT64).value_or(0);
    chunks.entries = queries.Chunks();
    return chunks;
}

BufferPartInfo ReadPart(const BufferQueries &queries, uint32_t index)
{
    BufferPartInfo part;
    part.base = queries.PartInfo<uint8_t *>(index, BUFFER_PART_INFO_BASE, INFO_DATATYPE_PTR);
    part.format = queries.TryPartInfo<uint64_t>(index, BUFFER_PART_INFO_DATA_FORMAT, INFO_DATATYPE_UINT64);
    part.type = static_cast<int32_t>(
        queries.PartInfo<size_t>(index, BUFFER_PART_INFO_DATA_TYPE, INFO_DATATYPE_SIZET));
    part.size = queries.PartInfo<size_t>(index, BUFFER_PART_INFO_DATA_SIZE, INFO_DATATYPE_SIZET);
    part.width = queries.TryPartInfo<size_t>(index, BUFFER_PART_INFO_WIDTH, INFO_DATATYPE_SIZET);
    part.height = queries.TryPartInfo<size_t>(index, BUFFER_PART_INFO_HEIGHT, INFO_DATATYPE_SIZET);
    part.sourceId = queries.TryPartInfo<uint64_t>(index, BUFFER_PART_INFO_SOURCE_ID, INFO_DATATYPE_UINT64);
    return part;
}

} // namespace

LowerFrame ReadLowerFrame(const ProxyBuffer &buffer, uint64_t &nextFrameId)
{
    const BufferQueries queries(buffer);
    LowerFrame frame;
    auto &input = frame.input;
    input.data = static_cast<uint8_t *>(buffer.Base());
    input.size = buffer.Size();
    input.payloadType =
        static_cast<int32_t>(queries.Info<size_t>(BUFFER_INFO_PAYLOADTYPE, INFO_DATATYPE_SIZET));
    // Frames are numbered here: neither the lower producer's number nor its time stamp is passed on.
    input.attributes.frameId = nextFrameId++;
    ReadAttributes(queries, input.attributes);
    input.chunks = ReadChunks(queries);
    frame.isIncomplete = queries.Info<bool8_t>(BUFFER_INFO_IS_INCOMPLETE, INFO_DATATYPE_BOOL8) != 0;
    if (input.payloadType == PAYLOAD_TYPE_MULTI_PART)
    {
        const auto count = queries.NumParts();
        for (uint32_t index = 0; index < count; ++index)
        {
            input.parts.push_back(ReadPart(queries, index));
        }
    }
    return frame;
}

} // namespace GenTL::internal
