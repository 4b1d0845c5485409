#include "consumers/frame_conclusion.h"

#include "support/byte_values.h"
#include "support/described_nodes.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace consumers
{

namespace
{

std::string Listed(const char *parser, std::vector<uint64_t> ids)
{
    std::ranges::sort(ids);
    return fmt::format("{} {}", parser, fmt::join(ids, " "));
}

} // namespace

std::string BufferQuestions::AskText(BUFFER_INFO_CMD command) const
{
    return TextAnswer([&](auto *type, void *out, size_t *size)
                      { return m_producer.DSGetBufferInfo(m_stream, m_buffer, command, type, out, size); });
}

std::optional<uint32_t> BufferQuestions::NumParts() const
{
    uint32_t count = 0;
    return m_producer.DSGetNumBufferParts(m_stream, m_buffer, &count) == GC_ERR_SUCCESS ? std::optional(count)
                                                                                        : std::nullopt;
}

std::string BufferQuestions::ReadChunks(const std::string &deviceType) const
{
    const auto bufferType = AskText(BUFFER_INFO_TLTYPE);
    for (const std::string raw : {"GEV", "U3V"})
    {
        if (deviceType == raw && bufferType == raw)
        {
            return ReadRawChunks(raw == "GEV");
        }
    }
    return ReadListedChunks();
}

std::string BufferQuestions::ReadRawChunks(bool bigEndian) const
{
    const auto delivered = Ask<size_t>(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE);
    const auto filled = delivered ? delivered : Ask<size_t>(BUFFER_INFO_SIZE_FILLED);
    size_t end = (filled ? filled : Ask<size_t>(BUFFER_INFO_SIZE)).value_or(0);
    const auto base = Ask<const uint8_t *>(BUFFER_INFO_BASE).value_or(nullptr);
    std::vector<uint64_t> ids;
    while (base != nullptr && end >= 8)
    {
        const auto number = [&](size_t offset)
        { return internal::NumberOf(std::span(base + offset, 4), bigEndian); };
        const auto length = number(end - 4);
        if (length > end - 8)
        {
            return "damaged";
        }
        ids.push_back(number(end - 8));
        end -= 8 + length;
    }
    return end == 0 ? Listed("raw", std::move(ids)) : "damaged";
}

std::string BufferQuestions::ReadListedChunks() const
{
    size_t count = 0;
    if (m_producer.DSGetBufferChunkData(m_stream, m_buffer, nullptr, &count) != GC_ERR_SUCCESS)
    {
        return "none";
    }
    std::vector<SINGLE_CHUNK_DATA> chunks(count);
    m_producer.Must("DSGetBufferChunkData",
                    m_producer.DSGetBufferChunkData(m_stream, m_buffer, chunks.data(), &count));
    std::vector<uint64_t> ids;
    for (const auto &chunk : chunks)
    {
        ids.push_back(chunk.ChunkID);
    }
    return Listed("list", std::move(ids));
}

} // namespace consumers
