#include "datastream/buffer_questions.h"

#include "datastream/proxy_buffer.h"

#include <algorithm>
#include <span>

namespace GenTL::internal
{

namespace
{

/// What an entry holds before the lower producer writes its result: no code of GenTL.
constexpr GC_ERROR notAnswered = 1;

constexpr uint64_t BitOf(int32_t command)
{
    return uint64_t{1} << static_cast<uint32_t>(command);
}

} // namespace

void BufferQuestions::Reset()
{
    m_count = commands.size();
    for (size_t i = 0; i < m_count; ++i)
    {
        m_entries[i].iInfoCmd = commands[i];
    }
    m_answered = 0;
    m_asksAtOnce = true;
}

void BufferQuestions::Ask(const ProxyBuffer &buffer)
{
    Prepare();
    if (m_asksAtOnce)
    {
        AskAtOnce(buffer);
    }
    if (!m_asksAtOnce)
    {
        AskOneByOne(buffer);
    }
    TakeAnswers();
}

// Each answer has room for eight bytes, since not every producer keeps to the published types. A shorter
// answer leaves the upper bytes 0, which makes it the same number.
void BufferQuestions::Prepare()
{
    for (auto &entry : std::span(m_entries).first(m_count))
    {
        auto &value = m_values[static_cast<size_t>(entry.iInfoCmd)];
        value = 0;
        entry.iType = INFO_DATATYPE_UNKNOWN;
        entry.pBuffer = &value;
        entry.iSize = sizeof value;
        entry.iResult = notAnswered;
    }
}

// The code of the call does not count: with some producers it is the code of one of the entries. A producer
// that leaves entries without a result is asked one by one from then on.
void BufferQuestions::AskAtOnce(const ProxyBuffer &buffer)
{
    buffer.Lower().TryDSGetBufferInfoStacked(buffer.DataStream(), buffer.GetLowerHandle(), m_entries.data(),
                                             m_count);
    m_asksAtOnce = std::ranges::none_of(std::span(m_entries).first(m_count),
                                        [](const auto &entry) { return entry.iResult == notAnswered; });
}

void BufferQuestions::AskOneByOne(const ProxyBuffer &buffer)
{
    for (auto &entry : std::span(m_entries).first(m_count))
    {
        if (entry.iResult == notAnswered)
        {
            // The entries are packed structs, so their members are copied, never bound to a pointer.
            INFO_DATATYPE type = entry.iType;
            size_t size = entry.iSize;
            entry.iResult = buffer.Lower().TryDSGetBufferInfo(buffer.DataStream(), buffer.GetLowerHandle(),
                                                              entry.iInfoCmd, &type, entry.pBuffer, &size);
            entry.iSize = size;
        }
    }
}

void BufferQuestions::TakeAnswers()
{
    m_answered = 0;
    size_t kept = 0;
    for (size_t i = 0; i < m_count; ++i)
    {
        const auto &entry = m_entries[i];
        if (entry.iResult == GC_ERR_SUCCESS && entry.iSize <= sizeof(uint64_t))
        {
            m_answered |= BitOf(entry.iInfoCmd);
        }
        if (entry.iResult != GC_ERR_NOT_IMPLEMENTED)
        {
            m_entries[kept++] = entry;
        }
    }
    m_count = kept;
}

std::optional<uint64_t> BufferQuestions::operator[](BUFFER_INFO_CMD command) const
{
    if ((m_answered & BitOf(command)) == 0)
    {
        return std::nullopt;
    }
    return m_values[static_cast<size_t>(command)];
}

std::optional<uint64_t> PartQuestions::Ask(const ProxyBuffer &buffer, uint32_t part,
                                           BUFFER_PART_INFO_CMD command)
{
    if ((m_missing & BitOf(command)) != 0)
    {
        return std::nullopt;
    }
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto result = buffer.Lower().TryDSGetBufferPartInfo(buffer.DataStream(), buffer.GetLowerHandle(),
                                                              part, command, &type, &value, &size);
    if (result == GC_ERR_NOT_IMPLEMENTED)
    {
        m_missing |= BitOf(command);
    }
    return result == GC_ERR_SUCCESS && size <= sizeof value ? std::optional(value) : std::nullopt;
}

} // namespace GenTL::internal
