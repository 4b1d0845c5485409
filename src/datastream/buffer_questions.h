#pragma once

#include <gentl/gentl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace GenTL::internal
{

class ProxyBuffer;

/// The questions about a filled lower buffer whose answers are numbers, flags or addresses, and the answers
/// about the buffer asked last.
///
/// One call asks all questions where the lower producer answers stacked queries. A question that is not
/// implemented is asked once. Throws nothing and allocates nothing. Owned by FullFrameReader and used by its
/// thread.
class BufferQuestions
{
public:
    BufferQuestions() { Reset(); }

    /// Forgets which questions are not implemented.
    void Reset();
    void Ask(const ProxyBuffer &buffer);
    /// None for a question that was not answered.
    std::optional<uint64_t> operator[](BUFFER_INFO_CMD command) const;

private:
    static constexpr std::array commands{
        BUFFER_INFO_BASE,
        BUFFER_INFO_SIZE,
        BUFFER_INFO_SIZE_FILLED,
        BUFFER_INFO_DATA_SIZE,
        BUFFER_INFO_PAYLOADTYPE,
        BUFFER_INFO_PIXELFORMAT,
        BUFFER_INFO_PIXELFORMAT_NAMESPACE,
        BUFFER_INFO_WIDTH,
        BUFFER_INFO_HEIGHT,
        BUFFER_INFO_DELIVERED_IMAGEHEIGHT,
        BUFFER_INFO_IMAGEOFFSET,
        BUFFER_INFO_XPADDING,
        BUFFER_INFO_YPADDING,
        BUFFER_INFO_XOFFSET,
        BUFFER_INFO_YOFFSET,
        BUFFER_INFO_IS_INCOMPLETE,
        BUFFER_INFO_FRAMEID,
        BUFFER_INFO_TIMESTAMP,
        BUFFER_INFO_TIMESTAMP_NS,
        BUFFER_INFO_IMAGEPRESENT,
        BUFFER_INFO_CONTAINS_CHUNKDATA,
        BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE,
        BUFFER_INFO_CHUNKLAYOUTID,
        BUFFER_INFO_PIXEL_ENDIANNESS,
    };

    void Prepare();
    void AskAtOnce(const ProxyBuffer &buffer);
    void AskOneByOne(const ProxyBuffer &buffer);
    void TakeAnswers();

    std::array<DS_BUFFER_INFO_STACKED, commands.size()> m_entries{}; ///< the first m_count are asked
    size_t m_count = 0;
    std::array<uint64_t, BUFFER_INFO_IS_COMPOSITE + 1> m_values{}; ///< by command
    uint64_t m_answered = 0;                                       ///< a bit for each command
    bool m_asksAtOnce = true;
};

/// The same for the parts of a buffer, one question at a time. Owned by FullFrameReader and used by its
/// thread.
class PartQuestions
{
public:
    /// Forgets which questions are not implemented.
    void Reset() { m_missing = 0; }
    std::optional<uint64_t> Ask(const ProxyBuffer &buffer, uint32_t part, BUFFER_PART_INFO_CMD command);

private:
    uint64_t m_missing = 0; ///< a bit for each command
};

} // namespace GenTL::internal
