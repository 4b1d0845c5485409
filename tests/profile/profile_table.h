#pragma once

#include <string>

namespace GenTL::internal
{

/// docs/profiles.md: every field of Profile with its value in both producers.
std::string ProfileTable();

} // namespace GenTL::internal
