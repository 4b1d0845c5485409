#pragma once

#include <string>

namespace GenTL::internal::utils
{

/// Path of the shared library that this code was linked into, as the loader knows it and not made
/// canonical; empty when the loader does not know it.
std::string GetOwnPath();

/// Whether an address lies in that shared library, or in one loaded from a copy of its file.
bool IsInOwnFile(const void *address);

/// Value of an environment variable, empty when it is not set.
std::string GetEnvironmentVariable(const std::string &name);

} // namespace GenTL::internal::utils
