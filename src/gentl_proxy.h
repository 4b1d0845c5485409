#pragma once

#include "port/i_gentl_proxy.h"
#include "profile/profile.h"
#include "utils/mutex.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The text for a failure of a lower function that GCGetLastError does not explain.
inline constexpr std::string_view unknownLowerError = "Unknown error!";

/// The text of a file without the functions that come before any version.
inline constexpr std::string_view noProducerError = "Failed to initialize CTI!";

/// The lower producer: loads its file, binds its functions and turns their failures into exceptions.
///
/// Made by Library::Initialize, one between GCInitLib and GCCloseLib; the library and all modules share it,
/// and the file is unloaded when the last of them releases it. Its functions do not change after
/// construction.
class GenTLProxy final : public IGenTLProxy
{
public:
    /// Loads the file and binds its functions. With NeededFunctions::OfItsVersion, calls GCInitLib, asks for
    /// the version, and calls GCCloseLib.
    /// @throws std::runtime_error when the file cannot be loaded, when a function that is needed is missing,
    /// and when its version cannot be read
    /// @throws GenTLException when one of the four functions that come before any version is missing, when
    /// the file is this library's own or a copy of it, or when GCInitLib fails
    /// @param opened called when the system, and each interface or device, was opened for the first time
    explicit GenTLProxy(const std::string &path, const Profile &profile = {},
                        std::function<void()> opened = {});
    ~GenTLProxy() override;

#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    GC_ERROR name parameters override;                                                                       \
    GC_ERROR Try##name parameters override;
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY

private:
    struct FunctionTable
    {
#define FN(group, name, parameters, arguments) decltype(&GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN
    };

    void Load(const FailureTexts &texts);
    void BindBootstrapFunctions();
    void QueryVersion();
    uint32_t QueryVersionNumber(TL_INFO_CMD command);
    void BindVersionedFunctions();
    void BindAllFunctions();
    bool IsGroupLookedUp(uint32_t minor) const;
    bool IsOptional(uint32_t minor) const;

    void *LoadSymbol(const char *name) const;

    template <class Func, class... Args>
    void ExecuteOrThrow(const std::string_view &name, Func func, Args &&...args);
    void CloseLowerLibrary();
    void NoteOpened(const std::string &module);
    [[noreturn]] void ThrowNotImplemented(std::string_view name) const;
    std::string LowerErrorText() const;

    FunctionTable m_functions;
    std::string m_path;
    std::function<void()> m_opened;
    NeededFunctions m_neededFunctions;
    bool m_logsMissingAnswers;
    void *m_library = nullptr;
    bool m_mandatorySymbols = false; ///< whether a failed look-up throws
    uint32_t m_genTLMajor = 0;       ///< 0 when unknown
    uint32_t m_genTLMinor = 0;
    utils::Mutex m_openedMutex;
    std::set<std::string> m_openedModules QVR_GUARDED_BY(m_openedMutex); ///< only with m_opened
};

} // namespace GenTL::internal
