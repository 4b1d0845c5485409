#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// The features and commands of the assignments.
std::vector<std::string> NamesIn(const std::vector<std::string> &assignments);

/// Sets features, each given as NAME=VALUE, and executes commands, each given as NAME, in order.
/// @throws std::runtime_error a value is missing or refused; the message says which, why, what the
/// feature takes, and which of the others are done
void Apply(const Features &features, const std::vector<std::string> &assignments);

} // namespace gentlctl
