#pragma once

#include <string>

namespace GenTL::internal::utils
{

/// The path of the shared library that contains this code, as the loader reports it, with links unresolved.
/// Empty when the loader reports none.
std::string GetOwnPath();

/// Whether an address lies in the library of GetOwnPath or in one loaded from a copy of its file.
bool IsInOwnFile(const void *address);

/// The value of an environment variable; empty when it is not set.
std::string GetEnvironmentVariable(const std::string &name);

} // namespace GenTL::internal::utils
