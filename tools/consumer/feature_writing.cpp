#include "consumer/feature_writing.h"

#include "consumer/ipv4_address.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <type_traits>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

/// A whole text as a number.
template <typename T>
T ParseNumber(const std::string &text)
{
    T value{};
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto *begin = text.data() + (hexadecimal ? 2 : 0);
    const auto *end = text.data() + text.size();
    std::from_chars_result result{};
    if constexpr (std::is_integral_v<T>)
    {
        result = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    }
    else
    {
        result = std::from_chars(begin, end, value,
                                 hexadecimal ? std::chars_format::hex : std::chars_format::general);
    }
    if (result.ec != std::errc() || result.ptr != end || begin == end)
    {
        throw std::runtime_error(std::is_integral_v<T> ? "not a whole number" : "not a number");
    }
    return value;
}

void WriteChoice(GraphFeatures &features, std::string_view name, const std::string &value)
{
    const auto entries = features.EntriesOf(name);
    const auto entry = std::ranges::find(entries, value, &Entry::name);
    if (entry == entries.end())
    {
        throw std::runtime_error("Enumeration entry not found");
    }
    if (!entry->implemented || !entry->available)
    {
        throw std::runtime_error("Enumeration entry not available");
    }
    features.WriteText(name, value);
}

void WriteString(GraphFeatures &features, std::string_view name, const std::string &value)
{
    const auto longest = features.LimitsOf<int64_t>(name).max;
    if (value.size() > static_cast<uint64_t>(longest))
    {
        throw std::runtime_error(fmt::format("it takes at most {} characters", longest));
    }
    features.WriteText(name, value);
}

/// Takes a number as well, as the register holds one.
void WriteBoolean(GraphFeatures &features, std::string_view name, const std::string &value)
{
    if (value == "true" || value == "false")
    {
        return features.WriteText(name, value);
    }
    const auto number = GenTL::internal::utils::Try([&] { return ParseNumber<int64_t>(value); });
    if (!number)
    {
        throw std::runtime_error("not a boolean");
    }
    features.WriteInteger(name, *number);
}

void WriteNumber(GraphFeatures &features, const Node &feature, const std::string &value)
{
    if (IsFloat(feature.kind))
    {
        features.WriteFloat(feature.name, ParseNumber<double>(value));
    }
    else
    {
        const auto address = ParseIpv4(value);
        features.WriteInteger(feature.name, address ? *address : ParseNumber<int64_t>(value));
    }
}

} // namespace

void WriteFeature(GraphFeatures &features, const Node &feature, const std::string &value)
{
    switch (feature.kind)
    {
    case NodeKind::Enumeration:
        return WriteChoice(features, feature.name, value);
    case NodeKind::Command:
        return features.Execute(feature.name);
    case NodeKind::String:
    case NodeKind::StringReg:
        return WriteString(features, feature.name, value);
    case NodeKind::Register:
        throw std::runtime_error("it holds bytes, which gentlctl does not write");
    case NodeKind::Boolean:
        return WriteBoolean(features, feature.name, value);
    default:
        return WriteNumber(features, feature, value);
    }
}

} // namespace gentlctl
