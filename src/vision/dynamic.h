#pragma once

#include <tarn_cvl/tarn_cvl.h>

#include <cstdint>
#include <stdexcept>

/// The vision library as it is found at run time. It is not linked: the first call of any function here
/// opens it and looks all its functions up.
namespace tarn::cvl::dynamic
{

class LoadLibraryException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Every function of the library, in the order of the list. Those that are never called have to be there too:
/// a library without them is another than the one that this was written for.
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
/// One for the process, made by the first call of a function below. A failure leaves it unmade, and the next
/// call tries again. Afterwards it is only read, on any thread, until it is unloaded when the process exits
/// or this code is unloaded. It has no destructor: what still calls after that must find null pointers.
class Binding
{
public:
    /// @throws LoadLibraryException "Filename empty"; "Lib load failed: {}"
    /// @throws std::runtime_error "Failed to load {}", with the first function that is missing
    explicit Binding(const char *fileName);

    /// @throws as the constructor
    static const Binding &Instance();

    const FunctionTable &Functions() const { return m_functions; }

    /// Forgets the functions and lets go of the library.
    void Unload() noexcept;

private:
    void BindFunctions();

    void *m_library = nullptr;
    FunctionTable m_functions{};
};

[[noreturn]] void ThrowNotLoaded();

template <auto member>
class Function;

/// Passes a call on to the library, arguments and status as they are.
/// @throws as Binding's constructor
/// @throws std::runtime_error "Library not loaded!" after the library was unloaded
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
