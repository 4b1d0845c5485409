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

template <typename Subject>
void Questions<Subject>::Reset()
{
    m_count = Subject::commands.size();
    for (size_t i = 0; i < m_count; ++i)
    {
        m_entries[i].iInfoCmd = Subject::commands[i];
    }
    m_answered = 0;
    m_asksAtOnce = true;
}

template <typename Subject>
void Questions<Subject>::Ask(const ProxyBuffer &buffer, uint32_t part)
{
    Prepare(part);
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
template <typename Subject>
void Questions<Subject>::Prepare(uint32_t part)
{
    for (auto &entry : std::span(m_entries).first(m_count))
    {
        auto &value = m_values[static_cast<size_t>(entry.iInfoCmd)];
        value = 0;
        entry.iType = INFO_DATATYPE_UNKNOWN;
        entry.pBuffer = &value;
        entry.iSize = sizeof value;
        entry.iResult = notAnswered;
        Subject::SetPart(entry, part);
    }
}

// The code of the call does not count: with some producers it is the code of one of the entries. A producer
// that leaves entries without a result is asked one by one from then on.
template <typename Subject>
void Questions<Subject>::AskAtOnce(const ProxyBuffer &buffer)
{
    // A copy, of which only the results count: the lower producer may write into any field.
    auto told = m_entries;
    Subject::AskAtOnce(buffer, told.data(), m_count);
    for (size_t i = 0; i < m_count; ++i)
    {
        m_entries[i].iSize = told[i].iSize;
        m_entries[i].iResult = told[i].iResult;
    }
    m_asksAtOnce = std::ranges::none_of(std::span(m_entries).first(m_count),
                                        [](const auto &entry) { return entry.iResult == notAnswered; });
}

template <typename Subject>
void Questions<Subject>::AskOneByOne(const ProxyBuffer &buffer)
{
    for (auto &entry : std::span(m_entries).first(m_count))
    {
        if (entry.iResult == notAnswered)
        {
            // The entries are packed structs, so their members are copied, never bound to a pointer.
            INFO_DATATYPE type = entry.iType;
            size_t size = entry.iSize;
            entry.iResult = Subject::AskOne(buffer, entry, &type, &size);
            entry.iSize = size;
        }
    }
}

template <typename Subject>
void Questions<Subject>::TakeAnswers()
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

template <typename Subject>
std::optional<uint64_t> Questions<Subject>::operator[](typename Subject::Command command) const
{
    if ((m_answered & BitOf(command)) == 0)
    {
        return std::nullopt;
    }
    return m_values[static_cast<size_t>(command)];
}

void BufferSubject::AskAtOnce(const ProxyBuffer &buffer, Entry *entries, size_t count)
{
    buffer.Lower().TryDSGetBufferInfoStacked(buffer.DataStream(), buffer.GetLowerHandle(), entries, count);
}

GC_ERROR BufferSubject::AskOne(const ProxyBuffer &buffer, const Entry &entry, INFO_DATATYPE *type,
                               size_t *size)
{
    return buffer.Lower().TryDSGetBufferInfo(buffer.DataStream(), buffer.GetLowerHandle(), entry.iInfoCmd,
                                             type, entry.pBuffer, size);
}

void PartSubject::AskAtOnce(const ProxyBuffer &buffer, Entry *entries, size_t count)
{
    buffer.Lower().TryDSGetBufferPartInfoStacked(buffer.DataStream(), buffer.GetLowerHandle(), entries,
                                                 count);
}

GC_ERROR PartSubject::AskOne(const ProxyBuffer &buffer, const Entry &entry, INFO_DATATYPE *type, size_t *size)
{
    return buffer.Lower().TryDSGetBufferPartInfo(buffer.DataStream(), buffer.GetLowerHandle(),
                                                 entry.iPartIndex, entry.iInfoCmd, type, entry.pBuffer, size);
}

template class Questions<BufferSubject>;
template class Questions<PartSubject>;

} // namespace GenTL::internal
