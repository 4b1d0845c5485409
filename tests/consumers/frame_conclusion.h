#pragma once

#include "consumers/producer.h"

namespace consumers
{

/// What a consumer makes of a frame.
struct FrameConclusion
{
    bool hasImage = false;
    uint64_t width = 0;
    uint64_t height = 0;
    uint64_t pixelFormat = 0;
    size_t bytes = 0;            ///< of the picture
    size_t parts = 0;            ///< as the consumer counts them
    std::string time = "none";   ///< where its time stamp comes from: "ns", "ticks", "host"
    std::string chunks = "none"; ///< how it read them, and their ids: "raw 1 2", "list 1 2"
};

/// The questions that consumers ask about a buffer of the stream.
class BufferQuestions
{
public:
    BufferQuestions(const Producer &producer, DS_HANDLE stream, BUFFER_HANDLE buffer)
        : m_producer(producer), m_stream(stream), m_buffer(buffer)
    {
    }

    template <typename T>
    std::optional<T> Ask(BUFFER_INFO_CMD command) const
    {
        return Answer<T>(
            [&](auto *type, void *out, size_t *size)
            { return m_producer.DSGetBufferInfo(m_stream, m_buffer, command, type, out, size); });
    }

    std::string AskText(BUFFER_INFO_CMD command) const;

    /// None when the function fails.
    std::optional<uint32_t> NumParts() const;

    /// The chunk ids, by the parser that the transport layer types of device and buffer lead to: from the
    /// end of the raw bytes for "GEV" and "U3V", else by DSGetBufferChunkData.
    std::string ReadChunks(const std::string &deviceType) const;

private:
    std::string ReadRawChunks(bool bigEndian) const;
    std::string ReadListedChunks() const;

    const Producer &m_producer;
    DS_HANDLE m_stream;
    BUFFER_HANDLE m_buffer;
};

} // namespace consumers
