#pragma once

#include <nlohmann/json.hpp>

namespace gentlctl
{

/// Keeps the members of an object in the order in which they were added.
using Json = nlohmann::ordered_json;

} // namespace gentlctl
