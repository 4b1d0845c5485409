#pragma once

#include <filesystem>

namespace GenTL::simulator
{

/// The file that this library was loaded from; empty when the loader does not know it.
std::filesystem::path OwnPath();

} // namespace GenTL::simulator
