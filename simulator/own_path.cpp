#include "simulator/own_path.h"

#include <dlfcn.h>

namespace GenTL::simulator
{

std::filesystem::path OwnPath()
{
    static const char anchor = 0;
    Dl_info info{};
    return dladdr(&anchor, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

} // namespace GenTL::simulator
