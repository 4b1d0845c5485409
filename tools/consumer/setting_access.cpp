#include "consumer/setting_access.h"

#include "consumer/feature_limits.h"
#include "consumer/feature_writing.h"
#include "consumer/features.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

/// A whole text as a number.
std::optional<double> NumberIn(const std::string &text)
{
    double number = 0;
    const auto *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

std::vector<uint8_t> BytesOf(const std::string &text)
{
    std::vector<uint8_t> bytes;
    const auto *const end = text.data() + text.size();
    const auto *at = text.data() + (text.starts_with("0x") ? 2 : text.size());
    for (uint8_t byte = 0; end - at >= 2 && std::from_chars(at, at + 2, byte, 16).ptr == at + 2; at += 2)
    {
        bytes.push_back(byte);
    }
    if (at != end || bytes.empty())
    {
        throw std::runtime_error("the bytes of a register are written as 0x and two hexadecimal digits each");
    }
    return bytes;
}

std::vector<std::string> NumbersOf(const Limits<int64_t> &limits, const std::string &selector)
{
    constexpr uint64_t most = 4096;
    const auto step = static_cast<uint64_t>(std::max<int64_t>(limits.increment.value_or(1), 1));
    const auto range = static_cast<uint64_t>(limits.max) - static_cast<uint64_t>(limits.min);
    if (limits.max < limits.min || range / step >= most)
    {
        throw std::runtime_error(fmt::format("its selector {} has more than {} values", selector, most));
    }
    std::vector<std::string> values;
    for (uint64_t offset = 0; offset <= range; offset += step)
    {
        values.push_back(std::to_string(limits.min + static_cast<int64_t>(offset)));
    }
    return values;
}

} // namespace

SettingAccess::SettingAccess(const Features &features)
    : m_description(features.m_description), m_features(*features.m_features)
{
}

Access SettingAccess::AccessOf(const std::string &name)
{
    m_features.Invalidate();
    return m_features.AccessOf(name);
}

std::string SettingAccess::Read(const std::string &name)
{
    m_features.Invalidate();
    return NodeOf(name).kind == NodeKind::Register
               ? fmt::format("0x{:02x}", fmt::join(m_features.ReadBytes(name), ""))
               : m_features.ReadText(name);
}

void SettingAccess::Write(const std::string &name, const std::string &value)
{
    const auto &node = NodeOf(name);
    m_features.Invalidate();
    try
    {
        node.kind == NodeKind::Register ? m_features.WriteBytes(name, BytesOf(value))
                                        : WriteFeature(m_features, node, value);
    }
    catch (const std::exception &exception)
    {
        const auto allowed = DescribeLimits(m_features, node);
        throw std::runtime_error(
            fmt::format("{}{}{}", exception.what(), allowed.empty() ? "" : "; ", allowed));
    }
}

std::vector<std::string> SettingAccess::ValuesOf(const std::string &selector)
{
    m_features.Invalidate();
    switch (NodeOf(selector).kind)
    {
    case NodeKind::Enumeration:
        return AvailableEntriesOf(m_features, selector);
    case NodeKind::Boolean:
        return {"false", "true"};
    default:
        return NumbersOf(m_features.LimitsOf<int64_t>(selector), selector);
    }
}

bool SettingAccess::AreEqual(const std::string &name, const std::string &a, const std::string &b) const
{
    if (a == b || !IsFloat(NodeOf(name).kind))
    {
        return a == b;
    }
    constexpr auto none = std::numeric_limits<double>::quiet_NaN(); // equal to nothing
    const double x = NumberIn(a).value_or(none);
    const double y = NumberIn(b).value_or(none);
    constexpr double rounding = 1e-6;
    return std::abs(x - y) <= rounding * std::max(std::abs(x), std::abs(y));
}

const Node &SettingAccess::NodeOf(const std::string &name) const
{
    return m_description.Graph()[m_description.Find(name)];
}

} // namespace gentlctl
