#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace GenTL::internal
{

/// The first children of every node, in the order of the GenApi schemas 1.0 and 1.1. Behind them come those
/// of its kind: entries, value, limits, and so on.
inline constexpr std::array<std::string_view, 18> nodeChildren{
    "Extension",         "ToolTip", "Description",    "DisplayName",  "Visibility",   "DocuURL",
    "IsDeprecated",      "EventID", "pIsImplemented", "pIsAvailable", "pIsLocked",    "pBlockPolling",
    "ImposedAccessMode", "pError",  "pAlias",         "pCastAlias",   "pInvalidator", "Streamable"};

/// The children of a register behind which its invalidators stand, in any order.
inline constexpr std::array<std::string_view, 10> childrenBeforeInvalidators{
    "Address", "IntSwissKnife", "pAddress", "pIndex",   "Length",
    "pLength", "AccessMode",    "pPort",    "Cachable", "PollingTime"};

constexpr bool IsNodeChild(std::string_view name)
{
    return std::ranges::find(nodeChildren, name) != nodeChildren.end();
}

/// The children that come before one of nodeChildren, and itself.
constexpr std::span<const std::string_view> NodeChildrenUpTo(std::string_view name)
{
    const auto found = std::ranges::find(nodeChildren, name);
    return {nodeChildren.begin(), found == nodeChildren.end() ? found : found + 1};
}

} // namespace GenTL::internal
