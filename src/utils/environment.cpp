#include "utils/environment.h"

#include <cstdlib>
#include <dlfcn.h>

namespace GenTL::internal::utils
{

std::string GetOwnPath()
{
    Dl_info info{};
    const auto found = dladdr(reinterpret_cast<const void *>(&GetOwnPath), &info);
    return found != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

std::string GetEnvironmentVariable(const std::string &name)
{
    const char *value = std::getenv(name.c_str());
    return value != nullptr ? value : "";
}

} // namespace GenTL::internal::utils
