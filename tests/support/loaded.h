#pragma once

#include <dlfcn.h>

namespace GenTL::internal
{

/// Whether the process has a shared library loaded.
inline bool IsLibraryLoaded(const char *path)
{
    void *const library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr)
    {
        dlclose(library);
    }
    return library != nullptr;
}

} // namespace GenTL::internal
