#pragma once

#include <gentl/gentl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace GenTL::internal
{

class ProxyBuffer;

/// The questions about a filled lower buffer.
struct BufferSubject
{
    using Entry = DS_BUFFER_INFO_STACKED;
    using Command = BUFFER_INFO_CMD;

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
    static constexpr size_t valueCount = BUFFER_INFO_IS_COMPOSITE + 1;

    static void AskAtOnce(const ProxyBuffer &buffer, Entry *entries, size_t count);
    static GC_ERROR AskOne(const ProxyBuffer &buffer, const Entry &entry, INFO_DATATYPE *type, size_t *size);
    static void SetPart(Entry &, uint32_t) {}
};

/// The questions about one of its parts.
struct PartSubject
{
    using Entry = DS_BUFFER_PART_INFO_STACKED;
    using Command = BUFFER_PART_INFO_CMD;

    static constexpr std::array commands{
        BUFFER_PART_INFO_BASE,
        BUFFER_PART_INFO_DATA_SIZE,
        BUFFER_PART_INFO_DATA_TYPE,
        BUFFER_PART_INFO_DATA_FORMAT,
        BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE,
        BUFFER_PART_INFO_WIDTH,
        BUFFER_PART_INFO_HEIGHT,
        BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT,
        BUFFER_PART_INFO_XOFFSET,
        BUFFER_PART_INFO_YOFFSET,
        BUFFER_PART_INFO_XPADDING,
        BUFFER_PART_INFO_SOURCE_ID,
        BUFFER_PART_INFO_REGION_ID,
        BUFFER_PART_INFO_DATA_PURPOSE_ID,
    };
    static constexpr size_t valueCount = BUFFER_PART_INFO_DATA_PURPOSE_ID + 1;

    static void AskAtOnce(const ProxyBuffer &buffer, Entry *entries, size_t count);
    static GC_ERROR AskOne(const ProxyBuffer &buffer, const Entry &entry, INFO_DATATYPE *type, size_t *size);
    static void SetPart(Entry &entry, uint32_t part) { entry.iPartIndex = part; }
};

/// Asks a filled lower buffer, or one of its parts, for all values that are numbers, flags or addresses, and
/// keeps the last answers.
///
/// Asks in one call if the lower producer supports this. Asks a question that is not implemented only once.
/// Throws nothing and allocates nothing. For one thread.
template <typename Subject>
class Questions
{
public:
    Questions() { Reset(); }

    /// Forgets which questions are not implemented.
    void Reset();
    void Ask(const ProxyBuffer &buffer, uint32_t part = 0);
    /// None for a question that was not answered.
    std::optional<uint64_t> operator[](typename Subject::Command command) const;

private:
    void Prepare(uint32_t part);
    void AskAtOnce(const ProxyBuffer &buffer);
    void AskOneByOne(const ProxyBuffer &buffer);
    void TakeAnswers();

    std::array<typename Subject::Entry, Subject::commands.size()>
        m_entries{}; ///< the first m_count are asked
    size_t m_count = 0;
    std::array<uint64_t, Subject::valueCount> m_values{}; ///< by command
    uint64_t m_answered = 0;                              ///< a bit for each command
    bool m_asksAtOnce = true;
};

extern template class Questions<BufferSubject>;
extern template class Questions<PartSubject>;

using BufferQuestions = Questions<BufferSubject>;
using PartQuestions = Questions<PartSubject>;

} // namespace GenTL::internal
