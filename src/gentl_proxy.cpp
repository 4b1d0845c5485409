#include "gentl_proxy.h"

#include "utils/environment.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <stdexcept>
#include <type_traits>
#include <utility>

namespace GenTL::internal
{

namespace
{

std::string LoaderError()
{
    const char *text = dlerror();
    return text != nullptr ? text : "<not available>";
}

// The minor version that introduced each group of the function list.
constexpr uint32_t Minor_BOOT = 0;
constexpr uint32_t Minor_1_0 = 0;
constexpr uint32_t Minor_1_1 = 1;
constexpr uint32_t Minor_1_3 = 3;
constexpr uint32_t Minor_1_4 = 4;
constexpr uint32_t Minor_1_5 = 5;
constexpr uint32_t Minor_1_6 = 6;

constexpr bool IsOpening(std::string_view function)
{
    return function == "TLOpen" || function == "TLOpenInterface" || function == "IFOpenDevice";
}

/// The id among the arguments of a lower call; empty when there is none.
template <typename... Args>
std::string IdAmong(Args... arguments)
{
    std::string id;
    const auto take = [&id](auto argument)
    {
        if constexpr (std::is_same_v<decltype(argument), const char *>)
        {
            id = argument != nullptr ? argument : "";
        }
    };
    (take(arguments), ...);
    return id;
}

// The newest group that is looked up in a producer that does not report its version.
constexpr uint32_t lastMinorWithoutVersion = 4;

} // namespace

GenTLProxy::GenTLProxy(const std::string &path, const Profile &profile, std::function<void()> opened)
    : m_path(path), m_opened(std::move(opened)), m_neededFunctions(profile.lower.neededFunctions),
      m_logsMissingAnswers(profile.buffers.logsMissingAnswers)
{
    Load(profile.texts);
    BindBootstrapFunctions();
    m_mandatorySymbols = true;
    if (m_functions.GCGetInfo == nullptr || m_functions.GCGetLastError == nullptr ||
        m_functions.GCInitLib == nullptr || m_functions.GCCloseLib == nullptr)
    {
        throw GenTLException(std::string(noProducerError), GC_ERR_ERROR);
    }
    // Checked before the first call. GCInitLib of this producer would load the same file again, without end.
    if (utils::IsInOwnFile(reinterpret_cast<const void *>(m_functions.GCInitLib)))
    {
        throw GenTLException(
            fmt::format(fmt::runtime(profile.texts.ownProducer), m_path, profile.identity.lowerPathVariable),
            profile.texts.ownProducerCode);
    }
    if (m_neededFunctions == NeededFunctions::ToStream)
    {
        BindAllFunctions();
        return;
    }
    GCInitLib();
    QueryVersion();
    GCCloseLib();
    BindVersionedFunctions();
}

GenTLProxy::~GenTLProxy()
{
    m_functions = {};
    if (m_library != nullptr)
    {
        dlclose(m_library);
    }
}

void GenTLProxy::Load(const FailureTexts &texts)
{
    m_library = dlopen(m_path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (m_library == nullptr)
    {
        throw std::runtime_error(fmt::format(fmt::runtime(texts.loadFailed), m_path, LoaderError()));
    }
}

void GenTLProxy::BindBootstrapFunctions()
{
#define FN(group, name, parameters, arguments)                                                               \
    if constexpr (std::string_view(#group) == "BOOT")                                                        \
    {                                                                                                        \
        m_functions.name = reinterpret_cast<decltype(m_functions.name)>(LoadSymbol(#name));                  \
    }
#include <gentl/functions.inc>
#undef FN
}

void GenTLProxy::QueryVersion()
{
    try
    {
        m_genTLMajor = QueryVersionNumber(TL_INFO_GENTL_VER_MAJOR);
        m_genTLMinor = QueryVersionNumber(TL_INFO_GENTL_VER_MINOR);
    }
    catch (const GenTLException &exception)
    {
        m_mandatorySymbols = false;
        if (exception.Code() != GC_ERR_NOT_IMPLEMENTED && exception.Code() != GC_ERR_INVALID_PARAMETER)
        {
            GCCloseLib();
            throw std::runtime_error(fmt::format("Querying {} for TL_INFO_GENTL_VER_MAJOR failed! Code: {}.",
                                                 m_path, exception.Code()));
        }
        m_genTLMajor = 0;
    }
}

uint32_t GenTLProxy::QueryVersionNumber(TL_INFO_CMD command)
{
    uint32_t number = 0;
    size_t size = sizeof number;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    GCGetInfo(command, &type, &number, &size);
    return number;
}

// C-03: only the minor number decides, so version 2.0 counts as older than 1.1.
bool GenTLProxy::IsGroupLookedUp(uint32_t minor) const
{
    if (minor == 0)
    {
        return true;
    }
    if (!m_mandatorySymbols && minor <= lastMinorWithoutVersion)
    {
        return true;
    }
    return m_genTLMajor != 0 && m_genTLMinor >= minor;
}

/// Whether a call of a missing function fails with GC_ERR_NOT_IMPLEMENTED, rather than with GC_ERR_ERROR.
bool GenTLProxy::IsOptional(uint32_t minor) const
{
    return minor > 0 || m_neededFunctions == NeededFunctions::ToStream;
}

void GenTLProxy::BindVersionedFunctions()
{
#define FN(group, name, parameters, arguments)                                                               \
    if (std::string_view(#group) != "BOOT" && IsGroupLookedUp(Minor_##group))                                \
    {                                                                                                        \
        m_functions.name = reinterpret_cast<decltype(m_functions.name)>(LoadSymbol(#name));                  \
    }
#include <gentl/functions.inc>
#undef FN
}

/// Binds every function that the file has, whatever version the lower producer reports.
void GenTLProxy::BindAllFunctions()
{
    m_mandatorySymbols = false;
#define FN(group, name, parameters, arguments)                                                               \
    m_functions.name = reinterpret_cast<decltype(m_functions.name)>(LoadSymbol(#name));
#include <gentl/functions.inc>
#undef FN
    std::string missing;
#define NEEDED(name)                                                                                         \
    if (m_functions.name == nullptr)                                                                         \
    {                                                                                                        \
        missing += missing.empty() ? #name : ", " #name;                                                     \
    }
#include "lower/needed_functions.inc"
#undef NEEDED
    if (!missing.empty())
    {
        throw std::runtime_error(fmt::format("{} lacks {}, which every producer needs.", m_path, missing));
    }
}

void *GenTLProxy::LoadSymbol(const char *name) const
{
    void *address = dlsym(m_library, name);
    if (address == nullptr)
    {
        const auto cause = LoaderError();
        QVR_LOG_DEBUG("{} has no function {}: {}", m_path, name, cause);
        if (m_mandatorySymbols)
        {
            throw std::runtime_error(fmt::format(
                "Computing address for function {} of cti {} failed! Code: {}", name, m_path, cause));
        }
    }
    return address;
}

template <class Func, class... Args>
void GenTLProxy::ExecuteOrThrow(const std::string_view &name, Func func, Args &&...args)
{
    if (func == nullptr)
    {
        const auto text = fmt::format("{}: Invalid function address", name);
        QVR_LOG_ERROR(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    const GC_ERROR result = func(std::forward<Args>(args)...);
    if (result == GC_ERR_SUCCESS)
    {
        return;
    }
    if (m_functions.GCGetLastError == nullptr)
    {
        const auto text =
            fmt::format("{}: Function returned {}, but GCGetLastError not available", name, result);
        QVR_LOG_ERROR(text);
        throw GenTLException(text, GC_ERR_ERROR);
    }
    const auto text = LowerErrorText();
    if (m_logsMissingAnswers || !IsMissingAnswer(result))
    {
        QVR_LOG_ERROR("{}: {} ({})", name, text, result);
    }
    // The code of the function itself: the code in the last error may come from another call.
    throw GenTLException(text, result);
}

void GenTLProxy::ThrowNotImplemented(std::string_view name) const
{
    throw GenTLException(fmt::format("The instrumented TL ({}) does not implement {}()!", m_path, name),
                         GC_ERR_NOT_IMPLEMENTED);
}

void GenTLProxy::NoteOpened(const std::string &module)
{
    {
        const utils::MutexLock guard(m_openedMutex);
        if (!m_openedModules.insert(module).second)
        {
            return;
        }
    }
    m_opened();
}

std::string GenTLProxy::LowerErrorText() const
{
    GC_ERROR code = GC_ERR_SUCCESS;
    size_t size = 0;
    std::string text;
    if (m_functions.GCGetLastError(&code, nullptr, &size) == GC_ERR_SUCCESS && size != 0)
    {
        text.resize(size - 1);
        if (m_functions.GCGetLastError(&code, text.data(), &size) != GC_ERR_SUCCESS)
        {
            text.clear();
        }
    }
    return text.empty() ? std::string(unknownLowerError) : text;
}

// Without ExecuteOrThrow: a failure of the lower GCCloseLib is thrown but not logged, because the log is
// being torn down.
void GenTLProxy::CloseLowerLibrary()
{
    const GC_ERROR result = m_functions.GCCloseLib();
    if (result != GC_ERR_SUCCESS)
    {
        throw GenTLException(LowerErrorText(), result);
    }
}

// Turns the arguments of a list entry, (a, b), into further arguments of a call: , a, b
#define QVR_PASS(...) __VA_OPT__(, ) __VA_ARGS__

#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    GC_ERROR GenTLProxy::name parameters                                                                     \
    {                                                                                                        \
        if constexpr (std::string_view(#name) == "GCCloseLib")                                               \
        {                                                                                                    \
            CloseLowerLibrary();                                                                             \
        }                                                                                                    \
        else                                                                                                 \
        {                                                                                                    \
            if (IsOptional(Minor_##group) && m_functions.name == nullptr)                                    \
            {                                                                                                \
                ThrowNotImplemented(#name);                                                                  \
            }                                                                                                \
            ExecuteOrThrow(#name, m_functions.name QVR_PASS arguments);                                      \
            if constexpr (IsOpening(#name))                                                                  \
            {                                                                                                \
                if (m_opened)                                                                                \
                {                                                                                            \
                    NoteOpened(fmt::format("{} {}", #name, IdAmong arguments));                              \
                }                                                                                            \
            }                                                                                                \
        }                                                                                                    \
        return GC_ERR_SUCCESS;                                                                               \
    }                                                                                                        \
    GC_ERROR GenTLProxy::Try##name parameters                                                                \
    {                                                                                                        \
        return m_functions.name != nullptr ? m_functions.name arguments : GC_ERR_NOT_IMPLEMENTED;            \
    }
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY

} // namespace GenTL::internal
