#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// Sets features, each given as NAME=VALUE, in order.
/// @throws std::runtime_error a value is refused; the message says which, why, and what the feature takes
void Apply(const Features &features, const std::vector<std::string> &assignments);

} // namespace gentlctl
