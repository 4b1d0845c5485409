#pragma once

#include <tarn_cvl/tarn_cvl.h>

#include <cstdint>
#include <stdexcept>

/// Binds the vision library at run time. The first call of any function here opens the library and looks up
/// all its functions.
namespace tarn::cvl::dynamic
{

class LoadLibraryException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Every function of the library, in the order of the list. Binding requires the uncalled ones as well: a
/// library without them is not the expected one.
struct FunctionTable
{
#define CVL_CALLED(name) decltype(&tarn_cvl_##name) name;
#define CVL_OTHER(name) void (*name)();
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
};

/// The opened library and its functions.
///
/// Instance() creates the only one. If that fails, the next call tries again. Any thread may then read it.
/// The library is unloaded when the process exits or this code is unloaded. The class has no destructor,
/// because a later call must find null pointers.
class Binding
{
public:
    /// @throws LoadLibraryException "Filename empty"; "Lib load failed: {}"
    /// @throws std::runtime_error "Failed to load {}", naming the first missing function
    explicit Binding(const char *fileName);

    /// @throws as the constructor
    static const Binding &Instance();

    const FunctionTable &Functions() const { return m_functions; }

    /// Sets all functions to null and closes the library.
    void Unload() noexcept;

private:
    void BindFunctions();

    void *m_library = nullptr;
    FunctionTable m_functions{};
};

[[noreturn]] void ThrowNotLoaded();

template <auto member>
class Function;

/// Forwards a call to the library, with arguments and status unchanged.
/// @throws as Binding's constructor
/// @throws std::runtime_error "Library not loaded!" once the library is unloaded
template <typename... Args, int32_t (*FunctionTable::*member)(Args...)>
class Function<member>
{
public:
    int32_t operator()(Args... args) const
    {
        const auto function = Binding::Instance().Functions().*member;
        if (function == nullptr)
        {
            ThrowNotLoaded();
        }
        return function(args...);
    }
};

#define CVL_CALLED(name) inline constexpr Function<&FunctionTable::name> name{};
#define CVL_OTHER(name)
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER

} // namespace tarn::cvl::dynamic
