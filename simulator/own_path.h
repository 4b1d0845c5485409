#pragma once

#include <filesystem>

namespace GenTL::simulator
{

/// Where this library was loaded from.
std::filesystem::path OwnPath();

} // namespace GenTL::simulator
