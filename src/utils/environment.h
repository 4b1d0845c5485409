#pragma once

#include <string>

namespace GenTL::internal::utils
{

/// The path of the shared library that contains this code, as the loader has it and not made canonical; empty
/// when the loader has none.
std::string GetOwnPath();

/// Whether an address lies in that shared library or in one loaded from a copy of its file.
bool IsInOwnFile(const void *address);

/// The value of an environment variable; empty when it is not set.
std::string GetEnvironmentVariable(const std::string &name);

} // namespace GenTL::internal::utils
