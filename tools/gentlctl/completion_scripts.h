#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace gentlctl
{

// Scripts that complete a command line: commands, options, the values of a choice, files, folders, and the
// ids of devices.

std::string BashCompletion(const CLI::App &line);
/// For a file "_gentlctl" in a folder of fpath.
std::string ZshCompletion(const CLI::App &line);

} // namespace gentlctl
