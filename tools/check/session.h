#pragma once

#include "check/calls.h"
#include "consumer/features.h"
#include "port/i_gentl_proxy.h"

#include <memory>
#include <string>

namespace gentlctl
{

/// Where a device is.
struct DeviceAddress
{
    std::string interfaceId;
    std::string deviceId;
};

/// The modules of the producer under test, opened when they are first asked for.
///
/// Each function opens what its module stands on, and throws NotReached when that fails. Handles stay open
/// until they are closed here, so that checks share them.
class Session
{
public:
    /// @param device id, model, serial number or user name; empty for the first that can be opened
    Session(Calls &calls, std::string device);
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Calls GCInitLib.
    void Library();
    GenTL::TL_HANDLE System();
    GenTL::IF_HANDLE Interface();
    GenTL::DEV_HANDLE Device();
    GenTL::PORT_HANDLE Remote();
    GenTL::DS_HANDLE Stream();
    /// The camera's features.
    Features &RemoteFeatures();

    /// The ids of the device that Device opens.
    const DeviceAddress &Address();
    /// The id of the stream that Stream opens.
    std::string StreamId();

    /// Closes the module and all that was opened on it. Nothing happens when it is not open.
    void CloseStream();
    void CloseDevice();
    void CloseInterface();
    void CloseSystem();
    void CloseLibrary();

private:
    Calls &m_calls;
    std::string m_selection;
    std::shared_ptr<GenTL::internal::IGenTLProxy> m_proxy;
    std::unique_ptr<Features> m_features;
    bool m_isInitialised = false;
    GenTL::TL_HANDLE m_system = nullptr;
    GenTL::IF_HANDLE m_interface = nullptr;
    GenTL::DEV_HANDLE m_device = nullptr;
    GenTL::PORT_HANDLE m_remote = nullptr;
    GenTL::DS_HANDLE m_stream = nullptr;
    DeviceAddress m_address; ///< empty until it is found
};

/// The calls as the consumer library takes them: a failure is a GenTLException.
std::shared_ptr<GenTL::internal::IGenTLProxy> ThrowingCalls(Calls &calls);

} // namespace gentlctl
