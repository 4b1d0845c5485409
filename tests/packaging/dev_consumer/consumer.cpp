// Prints the name of the producer's file, as the producer tells it.
#include <gentl/gentl.h>
#include <tarn_cvl.h>

#include <cstdio>
#include <dlfcn.h>

namespace
{

template <typename Function>
Function *Find(void *producer, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(producer, name));
}

} // namespace

int main()
{
    void *producer = dlopen(PRODUCER, RTLD_NOW | RTLD_LOCAL);
    if (!producer)
    {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    auto *initLib = Find<decltype(GenTL::GCInitLib)>(producer, "GCInitLib");
    auto *getInfo = Find<decltype(GenTL::GCGetInfo)>(producer, "GCGetInfo");
    auto *closeLib = Find<decltype(GenTL::GCCloseLib)>(producer, "GCCloseLib");
    char name[256] = "";
    size_t size = sizeof(name);
    GenTL::INFO_DATATYPE type = 0;
    if (!initLib || !getInfo || !closeLib || initLib() != GenTL::GC_ERR_SUCCESS ||
        getInfo(GenTL::TL_INFO_NAME, &type, name, &size) != GenTL::GC_ERR_SUCCESS)
    {
        return 1;
    }
    std::puts(name);
    return closeLib() == GenTL::GC_ERR_SUCCESS ? 0 : 1;
}
