#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// Sets features, each given as NAME=VALUE, and executes commands, each given as NAME, in order.
/// @throws std::runtime_error a value is missing or refused; the message says which, why, and what the
/// feature takes
void Apply(const Features &features, const std::vector<std::string> &assignments);

} // namespace gentlctl
