#include "vision/dynamic.h"

#include "utils/log.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <type_traits>

namespace tarn::cvl::dynamic
{

namespace
{

constexpr auto libraryFile = "libqvr_tarn_cvl.so";

constexpr size_t functionCount = 302;
static_assert(sizeof(FunctionTable) == functionCount * sizeof(void *));
static_assert(std::is_trivially_destructible_v<Binding>);

template <typename Pointer>
void BindFunction(void *library, const char *symbol, Pointer &function)
{
    function = reinterpret_cast<Pointer>(dlsym(library, symbol));
    if (function == nullptr)
    {
        throw std::runtime_error(std::string("Failed to load ") + symbol);
    }
}

} // namespace

Binding::Binding(const char *fileName)
{
    if (fileName == nullptr)
    {
        throw LoadLibraryException("Filename empty");
    }
    m_library = dlopen(fileName, RTLD_NOW);
    if (m_library == nullptr)
    {
        const char *const cause = dlerror();
        QVR_LOG_DEBUG("{} cannot be loaded: {}", fileName, cause != nullptr ? cause : "<not available>");
        throw LoadLibraryException(std::string("Lib load failed: ") + fileName);
    }
    try
    {
        BindFunctions();
    }
    catch (...)
    {
        Unload();
        throw;
    }
}

void Binding::BindFunctions()
{
#define CVL_CALLED(name) BindFunction(m_library, "tarn_cvl_" #name, m_functions.name);
#define CVL_OTHER(name) CVL_CALLED(name)
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
}

void Binding::Unload() noexcept
{
    m_functions = {};
    if (m_library != nullptr)
    {
        dlclose(m_library);
        m_library = nullptr;
    }
}

const Binding &Binding::Instance()
{
    static Binding binding = []
    {
        Binding loaded(libraryFile);
        // Registered after the library is loaded, so it runs before the library's static objects are
        // destroyed.
        std::atexit([] { binding.Unload(); });
        return loaded;
    }();
    return binding;
}

void ThrowNotLoaded()
{
    throw std::runtime_error("Library not loaded!");
}

} // namespace tarn::cvl::dynamic
