#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>

namespace recording
{

/// The answer to an info command of GenTL.
struct InfoRecord
{
    int32_t command = 0;
    int32_t error = 0; ///< a GC_ERROR; 0 for an answer
    int32_t type = 0;  ///< an INFO_DATATYPE
    std::string bytes; ///< of the answer; of a failure its text

    friend bool operator==(const InfoRecord &, const InfoRecord &) = default;
};

/// The answer to a command; null when there is none.
inline const InfoRecord *FindInfo(std::span<const InfoRecord> infos, int32_t command)
{
    const auto found = std::ranges::find(infos, command, &InfoRecord::command);
    return found == infos.end() || found->error != 0 ? nullptr : &*found;
}

/// An answer of up to eight bytes as a number; none when there is no such answer.
inline std::optional<uint64_t> NumberIn(std::span<const InfoRecord> infos, int32_t command)
{
    const auto *const info = FindInfo(infos, command);
    if (info == nullptr || info->bytes.empty() || info->bytes.size() > sizeof(uint64_t))
    {
        return std::nullopt;
    }
    uint64_t value = 0;
    std::memcpy(&value, info->bytes.data(), info->bytes.size());
    return value;
}

} // namespace recording
