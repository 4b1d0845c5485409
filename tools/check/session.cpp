#include "check/session.h"

#include "check/answers.h"
#include "check/trial.h"
#include "consumer/port.h"

#include <fmt/format.h>

#include <array>
#include <exception>
#include <optional>
#include <utility>

namespace gentlctl
{

using namespace GenTL;
using internal::ModuleType;

namespace
{

constexpr uint64_t updateLimitMs = 1000;

class Throwing final : public internal::IGenTLProxy
{
public:
    explicit Throwing(Calls &calls) : m_calls(calls) {}

#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    GC_ERROR name parameters override                                                                        \
    {                                                                                                        \
        const auto code = m_calls.name arguments;                                                            \
        if (code != GC_ERR_SUCCESS)                                                                          \
        {                                                                                                    \
            throw internal::GenTLException(#name " fails: " + m_calls.LastErrorText(), code);                \
        }                                                                                                    \
        return code;                                                                                         \
    }
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY

private:
    Calls &m_calls;
};

void Need(Calls &calls, const std::string &call, GC_ERROR code)
{
    if (code != GC_ERR_SUCCESS)
    {
        const auto text = calls.LastErrorText();
        throw NotReached(
            fmt::format("{} fails with {}{}{}", call, CodeName(code), text.empty() ? "" : ": ", text));
    }
}

/// A device in a list: whether it has the wanted name, and whether it can be opened.
struct Candidate
{
    std::string id;
    bool isNamed = false;
    bool isOpenable = false;
};

Candidate CandidateOf(Calls &calls, IF_HANDLE interface, uint32_t index, const std::string &selection)
{
    Candidate candidate{
        TextOf([&](char *text, size_t *size) { return calls.IFGetDeviceID(interface, index, text, size); })};
    const auto info = [&](DEVICE_INFO_CMD command)
    {
        return [&, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { return calls.IFGetDeviceInfo(interface, candidate.id.c_str(), command, type, buffer, size); };
    };
    candidate.isNamed = selection == candidate.id;
    for (const auto command : {DEVICE_INFO_MODEL, DEVICE_INFO_SERIAL_NUMBER, DEVICE_INFO_USER_DEFINED_NAME})
    {
        candidate.isNamed = candidate.isNamed || selection == TextAnswerOf(info(command));
    }
    candidate.isOpenable =
        AnswerOf<int32_t>(info(DEVICE_INFO_ACCESS_STATUS)) == DEVICE_ACCESS_STATUS_READWRITE;
    return candidate;
}

/// The id of the wanted device on an interface; nothing when it is not there.
std::optional<std::string> WantedOn(Calls &calls, IF_HANDLE interface, const std::string &selection)
{
    Need(calls, "IFUpdateDeviceList", calls.IFUpdateDeviceList(interface, nullptr, updateLimitMs));
    uint32_t count = 0;
    Need(calls, "IFGetNumDevices", calls.IFGetNumDevices(interface, &count));
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto candidate = CandidateOf(calls, interface, i, selection);
        if (selection.empty() ? candidate.isOpenable : candidate.isNamed)
        {
            return candidate.id;
        }
    }
    return std::nullopt;
}

/// @throws NotReached there is no such device
DeviceAddress FindDevice(Calls &calls, TL_HANDLE system, const std::string &selection)
{
    Need(calls, "TLUpdateInterfaceList", calls.TLUpdateInterfaceList(system, nullptr, updateLimitMs));
    uint32_t count = 0;
    Need(calls, "TLGetNumInterfaces", calls.TLGetNumInterfaces(system, &count));
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto id =
            TextOf([&](char *text, size_t *size) { return calls.TLGetInterfaceID(system, i, text, size); });
        IF_HANDLE interface = nullptr;
        Need(calls, "TLOpenInterface", calls.TLOpenInterface(system, id.c_str(), &interface));
        const auto device = WantedOn(calls, interface, selection);
        calls.IFClose(interface);
        if (device)
        {
            return {id, *device};
        }
    }
    throw NotReached(selection.empty() ? "the producer lists no device that can be opened"
                                       : fmt::format("the producer lists no device \"{}\"", selection));
}

} // namespace

std::shared_ptr<internal::IGenTLProxy> ThrowingCalls(Calls &calls)
{
    return std::make_shared<Throwing>(calls);
}

Session::Session(Calls &calls, std::string device)
    : m_calls(calls), m_selection(std::move(device)), m_proxy(ThrowingCalls(calls))
{
}

void Session::Library()
{
    if (!m_isInitialised)
    {
        Need(m_calls, "GCInitLib", m_calls.GCInitLib());
        m_isInitialised = true;
    }
}

TL_HANDLE Session::System()
{
    if (m_system == nullptr)
    {
        Library();
        Need(m_calls, "TLOpen", m_calls.TLOpen(&m_system));
    }
    return m_system;
}

const DeviceAddress &Session::Address()
{
    if (m_address.deviceId.empty())
    {
        m_address = FindDevice(m_calls, System(), m_selection);
    }
    return m_address;
}

IF_HANDLE Session::Interface()
{
    if (m_interface == nullptr)
    {
        const auto &id = Address().interfaceId;
        Need(m_calls, "TLOpenInterface", m_calls.TLOpenInterface(System(), id.c_str(), &m_interface));
        Need(m_calls, "IFUpdateDeviceList", m_calls.IFUpdateDeviceList(m_interface, nullptr, updateLimitMs));
    }
    return m_interface;
}

DEV_HANDLE Session::Device()
{
    if (m_device == nullptr)
    {
        auto *const interface = Interface();
        Need(m_calls, "IFOpenDevice",
             m_calls.IFOpenDevice(interface, Address().deviceId.c_str(), DEVICE_ACCESS_CONTROL, &m_device));
    }
    return m_device;
}

PORT_HANDLE Session::Remote()
{
    if (m_remote == nullptr)
    {
        auto *const device = Device();
        Need(m_calls, "DevGetPort", m_calls.DevGetPort(device, &m_remote));
    }
    return m_remote;
}

Features &Session::RemoteFeatures()
{
    if (!m_features)
    {
        auto *const remote = Remote();
        try
        {
            m_features =
                std::make_unique<Features>(std::make_shared<Port>(m_proxy, remote, ModuleType::RemoteDevice));
        }
        catch (const std::exception &exception)
        {
            throw NotReached(fmt::format("the camera's description: {}", exception.what()));
        }
    }
    return *m_features;
}

std::string Session::StreamId()
{
    auto *const device = Device();
    return TextOf([&](char *text, size_t *size)
                  { return m_calls.DevGetDataStreamID(device, 0, text, size); });
}

DS_HANDLE Session::Stream()
{
    if (m_stream == nullptr)
    {
        const auto id = StreamId();
        Need(m_calls, "DevOpenDataStream", m_calls.DevOpenDataStream(Device(), id.c_str(), &m_stream));
    }
    return m_stream;
}

void Session::CloseStream()
{
    if (m_stream != nullptr)
    {
        m_calls.DSClose(std::exchange(m_stream, nullptr));
    }
}

void Session::CloseDevice()
{
    CloseStream();
    m_features.reset();
    m_remote = nullptr;
    if (m_device != nullptr)
    {
        m_calls.DevClose(std::exchange(m_device, nullptr));
    }
}

void Session::CloseInterface()
{
    CloseDevice();
    if (m_interface != nullptr)
    {
        m_calls.IFClose(std::exchange(m_interface, nullptr));
    }
}

void Session::CloseSystem()
{
    CloseInterface();
    if (m_system != nullptr)
    {
        m_calls.TLClose(std::exchange(m_system, nullptr));
    }
}

void Session::CloseLibrary()
{
    CloseSystem();
    if (std::exchange(m_isInitialised, false))
    {
        m_calls.GCCloseLib();
    }
}

} // namespace gentlctl
