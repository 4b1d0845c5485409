#include "simulator/module/notice.h"

#include "simulator/error.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace GenTL::simulator
{

namespace
{

void Append(std::string &bytes, uint64_t number)
{
    for (unsigned shift = 0; shift < 64; shift += 8)
    {
        bytes += static_cast<char>(number >> shift);
    }
}

Notice NoticeIn(std::span<const uint8_t> bytes)
{
    Notice notice;
    if (bytes.size() < sizeof notice.id)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iInSize is less than the event's data");
    }
    std::memcpy(&notice.id, bytes.data(), sizeof notice.id);
    notice.content.assign(bytes.begin() + sizeof notice.id, bytes.end());
    return notice;
}

bool NamesFeature(EVENT_TYPE type)
{
    return type == EVENT_FEATURE_INVALIDATE || type == EVENT_FEATURE_CHANGE;
}

Info IdOf(EVENT_TYPE type, const Notice &notice)
{
    return type == EVENT_ERROR  ? Info::Int32(static_cast<int32_t>(notice.id))
           : NamesFeature(type) ? Info::Text(notice.content)
                                : Info::Text(fmt::format("{:X}", notice.id));
}

} // namespace

Notice NumbersNotice(uint64_t id, std::initializer_list<uint64_t> numbers)
{
    Notice notice{id, {}};
    Append(notice.content, id);
    for (const auto number : numbers)
    {
        Append(notice.content, number);
    }
    return notice;
}

std::vector<uint8_t> BytesOf(const Notice &notice)
{
    const auto content = std::string_view(notice.content).substr(0, longestNotice);
    std::vector<uint8_t> bytes(sizeof notice.id + content.size());
    std::memcpy(bytes.data(), &notice.id, sizeof notice.id);
    std::ranges::copy(content, bytes.begin() + sizeof notice.id);
    return bytes;
}

Info NoticeInfo(EVENT_TYPE type, std::span<const uint8_t> bytes, EVENT_DATA_INFO_CMD command)
{
    const auto notice = NoticeIn(bytes);
    if (NamesFeature(type) && command != EVENT_DATA_ID)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "The event has the name of a feature only");
    }
    switch (command)
    {
    case EVENT_DATA_ID:
        return IdOf(type, notice);
    case EVENT_DATA_VALUE:
        return type == EVENT_ERROR ? Info::Text(notice.content) : Info::Bytes(notice.content);
    case EVENT_DATA_NUMID:
        return Info::UInt64(notice.id);
    default:
        UnknownCommand(command);
    }
}

} // namespace GenTL::simulator
