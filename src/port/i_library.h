#pragma once

#include "port/i_event_source.h"
#include "port/i_port.h"
#include "profile/profile.h"

#include <memory>
#include <string>
#include <string_view>

namespace GenTL::internal
{

class IGenTLProxy;
class InstanceManager;

/// The library, as the exports and the modules use it.
class ILibrary
{
public:
    ILibrary() = default;
    ILibrary(const ILibrary &) = delete;
    ILibrary &operator=(const ILibrary &) = delete;
    virtual ~ILibrary() = default;

    virtual void Initialize() = 0;
    virtual void Shutdown() = 0;
    virtual void OpenSystem(TL_HANDLE *phTL) = 0;
    virtual void CloseSystem(TL_HANDLE hTL) = 0;
    virtual void GetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) = 0;
    /// The port behind a handle; null when no module with a port has this handle.
    virtual std::shared_ptr<IPort> FindPort(void *handle) = 0;
    /// The event source behind a handle; null when no event source has this handle.
    virtual std::shared_ptr<IEventSource> FindEventSource(void *handle) = 0;
    /// @throws GenTLException "Library not initialized", GC_ERR_NOT_INITIALIZED
    virtual void CheckLibraryInitialized() const = 0;
    /// @throws GenTLException while closed
    virtual InstanceManager &GetInstanceManager() = 0;
    /// Stores the calling thread's last error, as "{function} Error: {message}".
    virtual void SetLastError(std::string_view function, std::string_view message, GC_ERROR code) = 0;
    virtual std::string_view GetLastErrorMessage() const = 0;
    virtual GC_ERROR GetLastErrorCode() const = 0;
    /// @throws GenTLException while closed; "Proxy is not available!", GC_ERR_ERROR
    virtual IGenTLProxy &GetProxy() = 0;
    /// The lower producer's transport layer type; empty before the first TLOpen.
    virtual std::string GetTLType() const = 0;
    /// What this producer does differently from qvr_proxygentl.cti.
    virtual const Profile &GetProfile() const
    {
        static constexpr Profile withoutDifferences;
        return withoutDifferences;
    }
};

/// Answers the information queries about the producer itself.
class ISystemInformationProvider
{
public:
    ISystemInformationProvider() = default;
    ISystemInformationProvider(const ISystemInformationProvider &) = delete;
    ISystemInformationProvider &operator=(const ISystemInformationProvider &) = delete;
    virtual ~ISystemInformationProvider() = default;

    virtual void GetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) = 0;
};

} // namespace GenTL::internal
