#pragma once

#include "consumer/json.h"

#include <string>

namespace gentlctl
{

/// Prints JSON to standard output.
void PrintJson(const Json &json);

/// Prints the members of an object as text: a line each, with name and value.
void PrintTable(const Json &values, const std::string &indent);

} // namespace gentlctl
