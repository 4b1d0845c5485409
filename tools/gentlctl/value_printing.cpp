#include "gentlctl/value_printing.h"

#include "gentlctl/standard_output.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

/// A value as text: without quotes, and with the reason in place of a missing value.
std::string Readable(const Json &value)
{
    if (value.is_string())
    {
        return value.get<std::string>();
    }
    if (value.is_object() && value.contains("text"))
    {
        return fmt::format("- ({})", value["text"].get<std::string>());
    }
    return JsonText(value);
}

struct AccessName
{
    std::string_view code;
    std::string_view text;
};

constexpr AccessName accessNames[] = {
    {"RW", "read and write"}, {"RO", "read only"},       {"WO", "write only"},
    {"NA", "not available"},  {"NI", "not implemented"},
};

std::string AccessText(const std::string &code)
{
    return std::string(std::ranges::find(accessNames, code, &AccessName::code)->text);
}

/// "16 to 1280 in steps of 4"; empty for a feature without limits.
std::string RangeText(const Json &feature)
{
    const auto limit = [&](const char *name, const char *before)
    { return feature.contains(name) ? before + JsonText(feature[name]) : std::string(); };
    const auto min = limit("min", "");
    const auto max = min.empty() ? limit("max", "at most ") : limit("max", " to ");
    return (max.empty() && !min.empty() ? "at least " + min : min + max) +
           limit("increment", " in steps of ");
}

/// The names of the entries that can be chosen now, or of those that cannot.
std::string EntriesText(const Json &feature, bool isAvailable)
{
    std::vector<std::string> names;
    for (const auto &entry : feature.value("entries", Json::array()))
    {
        if (entry["available"] == isAvailable)
        {
            names.push_back(entry["name"].get<std::string>());
        }
    }
    return fmt::to_string(fmt::join(names, ", "));
}

/// "TLParamsLocked, now"; empty for a feature without a lock.
std::string LockText(const Json &feature)
{
    if (!feature.contains("lockedBy"))
    {
        return "";
    }
    const auto state = !feature.contains("locked") ? "" : feature["locked"] == true ? ", now" : ", not now";
    return feature["lockedBy"].get<std::string>() + state;
}

std::string NamesText(const Json &feature, const char *member)
{
    return fmt::to_string(
        fmt::join(feature.value(member, Json::array()).get<std::vector<std::string>>(), ", "));
}

/// What follows the line with the name of a feature.
Json DetailsOf(const Json &feature)
{
    const std::pair<const char *, std::string> rows[] = {
        {"type", feature["type"].get<std::string>()},
        {"access", AccessText(feature["access"].get<std::string>())},
        {"range", RangeText(feature)},
        {"length",
         feature.contains("maxLength") ? "at most " + JsonText(feature["maxLength"]) + " characters" : ""},
        {"entries", EntriesText(feature, true)},
        {"not now", EntriesText(feature, false)},
        {"locked by", LockText(feature)},
        {"selects", NamesText(feature, "selects")},
        {"selected by", NamesText(feature, "selectedBy")},
        {"visibility", feature["visibility"].get<std::string>()},
        {"description", feature.value("description", "")},
    };
    auto details = Json::object();
    for (const auto &[name, text] : rows)
    {
        if (!text.empty())
        {
            details[name] = text;
        }
    }
    return details;
}

} // namespace

void PrintJson(const Json &json)
{
    Print("{}\n", JsonText(json, 2));
}

void PrintTable(const Json &values, const std::string &indent)
{
    size_t width = 0;
    for (const auto &entry : values.items())
    {
        width = std::max(width, entry.key().size());
    }
    for (const auto &entry : values.items())
    {
        Print("{}{:<{}}  {}\n", indent, entry.key(), width, Readable(entry.value()));
    }
}

void PrintDetails(const Json &features)
{
    for (const auto &[name, feature] : features.items())
    {
        const auto unit = feature.value("unit", "");
        Print("{}  {}{}{}\n", name, Readable(feature.contains("value") ? feature["value"] : feature),
              unit.empty() ? "" : " ", unit);
        PrintTable(DetailsOf(feature), "    ");
    }
}

} // namespace gentlctl
