#pragma once

#include "gentlctl/info.h"

#include <string>

namespace gentlctl
{

/// Prints JSON to standard output.
void PrintJson(const Json &json);

/// Prints the members of an object for a person, each in a line behind its name.
void PrintTable(const Json &values, const std::string &indent);

} // namespace gentlctl
