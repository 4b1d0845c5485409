#pragma once

#include "recording/info_record.h"
#include "simulator/info.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/// The recorded answer to a command.
/// @throws Error the recorded failure; GC_ERR_NOT_IMPLEMENTED: nothing was recorded
inline Info RecordedAnswer(std::span<const recording::InfoRecord> infos, int32_t command)
{
    const auto found = std::ranges::find(infos, command, &recording::InfoRecord::command);
    if (found == infos.end())
    {
        UnknownCommand(command);
    }
    if (found->error != 0)
    {
        throw Error(static_cast<GC_ERROR>(found->error), "{}", found->bytes);
    }
    return {found->type, found->bytes};
}

} // namespace GenTL::simulator
