#pragma once

#include "consumer/info_answers.h"
#include "recording/info_record.h"

#include <span>
#include <vector>

namespace gentlctl
{

/// The answers to all commands as bytes, and the codes of failures. Pointers are left out: they mean nothing
/// later.
std::vector<recording::InfoRecord> RecordInfos(std::span<const InfoCommand> commands,
                                               const InfoFunction &function);

} // namespace gentlctl
