#pragma once

#include <chrono>
#include <string>

namespace gentlctl
{

/// A time span as "500ms", "10s", "2min" or "1h"; a number alone is in seconds.
/// @throws std::runtime_error it is none, it is not positive, or it is longer than a year
std::chrono::nanoseconds ParseDuration(const std::string &text);

} // namespace gentlctl
