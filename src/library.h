#pragma once

#include "assembly.h"
#include "instance_manager.h"
#include "port/i_gentl_proxy.h"
#include "port/i_library.h"
#include "utils/info.h"
#include "utils/mutex.h"

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>

namespace spdlog
{
class logger;
}

namespace GenTL::internal
{

/// The root of the system: the log set-up, the registries, the lower producer and the last errors.
///
/// One for the process, reached by Instance. Closed until GCInitLib and again after GCCloseLib. No other call
/// may run during these two; in between, any thread may call anything. At process exit, an exit handler
/// clears the registries, which closes lower handles that a consumer left open. The profile decides whether
/// it calls the lower GCCloseLib, too.
class Library final : public ILibrary, public ISystemInformationProvider
{
public:
    ~Library() override = default;

    /// Defined by each producer, with its profile and its assembly.
    static Library &Instance();

    /// @throws GenTLException "Library already initialized!", GC_ERR_RESOURCE_IN_USE; the same code when the
    /// lower producer calls back into this one during the call; whatever the initialisation of the lower
    /// producer or of the vision library throws. The call may be repeated after a failure.
    void Initialize() override;
    /// @throws GenTLException while closed; a failure of the vision library's exit function, after
    /// which the library is still open
    void Shutdown() override;

    void OpenSystem(TL_HANDLE *phTL) override;
    void CloseSystem(TL_HANDLE hTL) override;
    void GetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) override;
    std::shared_ptr<IPort> FindPort(void *handle) override;
    std::shared_ptr<IEventSource> FindEventSource(void *handle) override;
    void CheckLibraryInitialized() const override;
    InstanceManager &GetInstanceManager() override;
    void SetLastError(std::string_view function, std::string_view message, GC_ERROR code) override;
    std::string_view GetLastErrorMessage() const override;
    GC_ERROR GetLastErrorCode() const override;
    IGenTLProxy &GetProxy() override;
    std::string GetTLType() const override;
    const Profile &GetProfile() const override { return m_profile; }
    /// Whether the functions of the vision library can be called.
    bool HasVisionLibrary() const { return m_hasVisionLibrary; }

private:
    Library(const Profile &profile, const Assembly &assembly);

    utils::Info Answer(TL_INFO_CMD command) const;
    void SetUpLogging();
    void ShareLog();
    void TearDownLogging();
    void BringUpLowerProducer();
    void BringUpVisionLibrary();
    void ReleaseMembers();
    void CloseAtExit();
    void CloseLowerLibrary();
    void RegisterExitHandler();
    void SetTLType(std::string type);

    const Profile &m_profile;
    const Assembly &m_assembly;
    bool m_initialized = false;
    bool m_initializing = false;
    bool m_hasVisionLibrary = false;
    bool m_sharesLowerLibrary = false; ///< the lower library was open before this one, and is left open
    pid_t m_process = 0;               ///< the process that called GCInitLib
    InstanceManager m_instances;
    std::shared_ptr<spdlog::logger> m_logger;
    std::shared_ptr<spdlog::logger> m_previousDefaultLogger;
    std::shared_ptr<IGenTLProxy> m_proxy;
    mutable utils::Mutex m_tlTypeMutex; ///< systems are opened by several threads
    std::string m_tlType QVR_GUARDED_BY(m_tlTypeMutex);
};

} // namespace GenTL::internal
