#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// Sets features, given as NAME=VALUE, in their order.
/// @throws std::runtime_error what was refused, and what the feature takes
void Apply(const Features &features, const std::vector<std::string> &assignments);

} // namespace gentlctl
