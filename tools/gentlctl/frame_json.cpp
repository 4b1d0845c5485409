#include "gentlctl/frame_json.h"

#include "gentlctl/info_json.h"
#include "pictures/image_files.h"

#include <algorithm>
#include <array>
#include <string>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// An info whose number has a name, and the member that holds the name.
struct NamedNumber
{
    int32_t command;
    const char *member;
    std::string (*name)(uint64_t);
};

constexpr std::array frameNumbers{NamedNumber{BUFFER_INFO_PIXELFORMAT, "pixelFormat", FormatName},
                                  NamedNumber{BUFFER_INFO_PAYLOADTYPE, "payloadType", PayloadTypeName}};

constexpr std::array partNumbers{NamedNumber{BUFFER_PART_INFO_DATA_FORMAT, "dataFormat", FormatName},
                                 NamedNumber{BUFFER_PART_INFO_DATA_TYPE, "dataType", PartDataTypeName}};

template <size_t count>
Json WithNames(const std::vector<InfoAnswer> &answers, const std::array<NamedNumber, count> &namedNumbers)
{
    auto json = Json::object();
    for (const auto &[command, info, value] : answers)
    {
        json[std::string(info)] = ToJson(value);
        const auto *entry = std::ranges::find(namedNumbers, command, &NamedNumber::command);
        const auto number = NumberOf(value);
        if (entry != namedNumbers.end() && number)
        {
            json[entry->member] = entry->name(*number);
        }
    }
    return json;
}

} // namespace

Json ToJson(const FrameInfo &frame)
{
    auto json = WithNames(frame.answers, frameNumbers);
    json["parts"] = Json::array();
    for (const auto &part : frame.parts)
    {
        json["parts"].push_back(WithNames(part.answers, partNumbers));
    }
    json["chunks"] = frame.chunks;
    return json;
}

} // namespace gentlctl
