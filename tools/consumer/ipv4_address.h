#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace gentlctl
{

/// As in "192.168.10.21"; the first part is the highest byte.
std::string Ipv4Text(uint64_t address);

/// None when the text is no such address.
std::optional<uint32_t> ParseIpv4(const std::string &text);

} // namespace gentlctl
