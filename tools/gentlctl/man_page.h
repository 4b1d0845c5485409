#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace gentlctl
{

/// The manual page of the program, for man(1).
std::string ManPage(const CLI::App &line);

} // namespace gentlctl
