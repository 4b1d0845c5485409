#include "consumer/ipv4_address.h"

#include <arpa/inet.h>
#include <fmt/format.h>

namespace gentlctl
{

std::string Ipv4Text(uint64_t address)
{
    return fmt::format("{}.{}.{}.{}", (address >> 24U) & 0xFFU, (address >> 16U) & 0xFFU,
                       (address >> 8U) & 0xFFU, address & 0xFFU);
}

std::optional<uint32_t> ParseIpv4(const std::string &text)
{
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? std::optional(ntohl(address.s_addr))
                                                           : std::nullopt;
}

} // namespace gentlctl
