#pragma once

#include "findings/finding.h"

#include <chrono>
#include <string>

namespace gentlctl
{

/// The file's name and exports. Loads nothing.
Findings CheckFile(const std::string &file);

/// Whether the producer loads in each of the ways in which consumers load it, and lets a process end that
/// never closes it. Each in a process of its own.
/// @param limit for each process
Findings CheckLoading(const std::string &file, std::chrono::milliseconds limit);

} // namespace gentlctl
