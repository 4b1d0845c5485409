#pragma once

#include <cstdint>
#include <limits>
#include <optional>

namespace GenTL::internal::utils
{

// ISO C++ has no integer of 128 bits, so -Wpedantic refuses it without this word.
__extension__ using Uint128 = unsigned __int128;

/// value * factor / divisor, with the product in 128 bits; rounded down. None when the result has more than
/// 64 bits. The divisor must not be 0.
constexpr std::optional<uint64_t> Scaled(uint64_t value, uint64_t factor, uint64_t divisor)
{
    const auto scaled = static_cast<Uint128>(value) * factor / divisor;
    if (scaled > std::numeric_limits<uint64_t>::max())
    {
        return std::nullopt;
    }
    return static_cast<uint64_t>(scaled);
}

} // namespace GenTL::internal::utils
