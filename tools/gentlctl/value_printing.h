#pragma once

#include "consumer/json.h"

#include <string>

namespace gentlctl
{

/// Prints JSON to standard output.
void PrintJson(const Json &json);

/// Prints the members of an object as text: a line each, with name and value.
void PrintTable(const Json &values, const std::string &indent);

/// Prints features with all that is known of them, as of Features::Values with Extent::Details: a paragraph
/// each.
void PrintDetails(const Json &features);

} // namespace gentlctl
