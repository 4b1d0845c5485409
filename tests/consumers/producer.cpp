#include "consumers/producer.h"

#include <algorithm>
#include <dlfcn.h>
#include <fmt/format.h>

namespace consumers
{

namespace
{

void *Load(const std::string &path, int flags)
{
    void *const library = dlopen(path.c_str(), flags);
    if (library == nullptr)
    {
        throw Refusal(dlerror());
    }
    return library;
}

template <typename Function>
Function Find(void *library, const char *name)
{
    void *const found = dlsym(library, name);
    if (found == nullptr)
    {
        throw Refusal(fmt::format("no function {}", name));
    }
    return reinterpret_cast<Function>(found);
}

} // namespace

Producer::Producer(const std::string &path, int flags)
{
    void *const library = Load(path, flags);
#define FN(group, name, parameters, arguments) this->name = Find<decltype(this->name)>(library, #name);
#include <gentl/functions.inc>
#undef FN
}

void Producer::Must(const char *call, GC_ERROR code) const
{
    Survives(call, code, {});
}

void Producer::Survives(const char *call, GC_ERROR code, std::initializer_list<GC_ERROR> failures) const
{
    if (code == GC_ERR_SUCCESS || std::ranges::find(failures, code) != failures.end())
    {
        return;
    }
    GC_ERROR last = GC_ERR_SUCCESS;
    const auto text = Text([&](char *buffer, size_t *size) { return GCGetLastError(&last, buffer, size); });
    throw Refusal(fmt::format("{} {}: {}", call, code, text));
}

} // namespace consumers
