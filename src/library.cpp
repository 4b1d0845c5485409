#include "library.h"

#include "datastream/buffer.h"
#include "datastream/datastream.h"
#include "device.h"
#include "events/event_handler.h"
#include "gentl_proxy.h"
#include "interface.h"
#include "lower/producer_discovery.h"
#include "nodemap/node_map.h"
#include "remoteport.h"
#include "system.h"
#include "utils/at_end.h"
#include "utils/checks.h"
#include "utils/class_func_formatter.h"
#include "utils/environment.h"
#include "utils/info.h"
#include "utils/log.h"
#include "vision/status.h"

#include <fmt/format.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <unordered_map>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr auto defaultPattern = "[%T] [%^%l%$] (%*) %v";

// A consumer may call GCCloseLib from the destructor of a static object. Such a destructor runs after the
// thread-local objects of the main thread are destroyed, LastError among them. This flag has no destructor,
// so it can be read until the process ends.
thread_local bool isLastErrorGone = false;

struct LastError
{
    std::string message; ///< empty: no error
    GC_ERROR code = GC_ERR_SUCCESS;

    ~LastError() { isLastErrorGone = true; }
};

/// The calling thread's last error; null once the thread has destroyed it.
LastError *CurrentLastError()
{
    thread_local LastError lastError;
    return isLastErrorGone ? nullptr : &lastError;
}

void SetCurrentLastError(std::string message, GC_ERROR code)
{
    if (auto *const lastError = CurrentLastError())
    {
        lastError->message = std::move(message);
        lastError->code = code;
    }
}

std::string LowerCaseVariable(const std::string &name)
{
    auto text = utils::GetEnvironmentVariable(name);
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

spdlog::level::level_enum RequestedLevel(const Identity &identity)
{
    const auto name = LowerCaseVariable(std::string(identity.logLevelVariable));
    if (name.empty())
    {
        return spdlog::level::off;
    }
    static const std::unordered_map<std::string, spdlog::level::level_enum> levels{
        {"trace", spdlog::level::trace}, {"debug", spdlog::level::debug},
        {"info", spdlog::level::info},   {"warn", spdlog::level::warn},
        {"error", spdlog::level::err},   {"critical", spdlog::level::critical},
        {"off", spdlog::level::off}};
    const auto level = levels.find(name);
    return level != levels.end() ? level->second : spdlog::level::off;
}

std::unique_ptr<spdlog::formatter> MakeFormatter(const Identity &identity)
{
    auto formatter =
        std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, std::string("\n"));
    formatter->add_flag<ClassFuncFormatter>('*');
    // C-04: the pattern is converted to lower case, including its time flags.
    const auto pattern = LowerCaseVariable(std::string(identity.logPatternVariable));
    formatter->set_pattern(pattern.empty() ? defaultPattern : pattern);
    return formatter;
}

} // namespace

Library::Library(const Profile &profile, const Assembly &assembly) : m_profile(profile), m_assembly(assembly)
{
    // spdlog's registry must live longer than this object: the destructor logs what it cleans up.
    spdlog::default_logger_raw();
    if (profile.identity.logOwner == LogOwner::Producer)
    {
        m_logger = std::make_shared<spdlog::logger>(std::string(profile.identity.logger),
                                                    std::make_shared<spdlog::sinks::stdout_color_sink_mt>());
        m_logger->set_level(spdlog::level::off);
        utils::SetOwnLogger(m_logger);
    }
}

void Library::Initialize()
{
    if (m_initialized)
    {
        constexpr auto text = "Library already initialized!";
        QVR_LOG_ERROR(text);
        throw GenTLException(text, GC_ERR_RESOURCE_IN_USE);
    }
    if (m_initializing)
    {
        throw GenTLException(fmt::format("The lower producer leads back to this one! Set {} to the producer "
                                         "of your cameras.",
                                         m_profile.identity.lowerPathVariable),
                             GC_ERR_RESOURCE_IN_USE);
    }
    m_initializing = true;
    const utils::AtEnd done([this] { m_initializing = false; });
    SetUpLogging();
    SetCurrentLastError({}, GC_ERR_SUCCESS);
    BringUpLowerProducer();
    BringUpVisionLibrary();
    RegisterExitHandler();
    m_process = getpid();
    m_initialized = true;
}

/// The handles that a consumer left open must be closed before the lower producer's static objects are
/// destroyed and before the vision library is unloaded. Exit handlers and destructors run in reverse order,
/// so a handler that is registered after both are loaded runs first.
void Library::RegisterExitHandler()
{
    std::atexit(
        []
        {
            auto &library = Instance();
            library.m_profile.lower.closesLowerAtExit ? library.CloseAtExit() : library.ReleaseMembers();
        });
}

void Library::SetUpLogging()
{
    const auto &identity = m_profile.identity;
    if (identity.logOwner == LogOwner::Process)
    {
        return ShareLog();
    }
    m_logger->set_level(RequestedLevel(identity));
    m_logger->set_formatter(MakeFormatter(identity));
}

void Library::ShareLog()
{
    const auto &identity = m_profile.identity;
    const std::string name(identity.logger);
    m_logger = spdlog::get(name);
    if (!m_logger)
    {
        m_logger = spdlog::stdout_color_mt(name);
    }
    const auto level = RequestedLevel(identity);
    spdlog::set_level(level);
    m_logger->set_level(level);
    m_logger->set_formatter(MakeFormatter(identity));
    spdlog::set_formatter(MakeFormatter(identity));
    m_previousDefaultLogger = spdlog::default_logger();
    spdlog::set_default_logger(m_logger);
}

void Library::TearDownLogging()
{
    if (m_profile.identity.logOwner == LogOwner::Producer)
    {
        return m_logger->set_level(spdlog::level::off);
    }
    if (m_logger)
    {
        spdlog::drop(m_logger->name());
        spdlog::set_default_logger(m_previousDefaultLogger);
    }
    m_logger.reset();
}

void Library::BringUpLowerProducer()
{
    const auto path = FindProducer(gigeVision, m_profile.identity, m_profile.texts);
    // A lower library may make static objects when a module is opened for the first time. A handler that is
    // registered after that runs before their destructors.
    auto opened = [this] { RegisterExitHandler(); };
    m_proxy = m_profile.lower.closesLowerAtExit ? std::make_shared<GenTLProxy>(path, m_profile, opened)
                                                : std::make_shared<GenTLProxy>(path, m_profile);
    m_sharesLowerLibrary = false;
    try
    {
        m_proxy->GCInitLib();
    }
    catch (const GenTLException &exception)
    {
        if (m_profile.lower.sharesLowerLibrary && exception.Code() == GC_ERR_RESOURCE_IN_USE)
        {
            m_sharesLowerLibrary = true;
            return;
        }
        if (!m_profile.lower.tellsInitFailure)
        {
            throw;
        }
        throw GenTLException(
            fmt::format("{}: GCInitLib failed: {} ({})", path, exception.what(), exception.Code()),
            exception.Code());
    }
}

void Library::CloseLowerLibrary()
{
    if (!m_sharesLowerLibrary)
    {
        m_proxy->GCCloseLib();
    }
}

void Library::BringUpVisionLibrary()
{
    try
    {
        tarn::cvl::Call(tarn::cvl::dynamic::Init);
        m_hasVisionLibrary = true;
    }
    catch (const std::exception &exception)
    {
        m_hasVisionLibrary = false;
        if (!m_profile.lower.needsVisionLibrary)
        {
            QVR_LOG_WARN("No format can be converted: {}", exception.what());
            return;
        }
        // The next attempt starts over, and a lower producer may refuse a second GCInitLib.
        CloseQuietly([this] { CloseLowerLibrary(); });
        throw;
    }
}

void Library::ReleaseMembers()
{
    SetTLType({});
    m_proxy.reset();
    m_previousDefaultLogger.reset();
    m_logger.reset();
    m_instances.ClearAll();
}

/// Closes what the consumer left open. A forked child leaves it to its parent, whose camera it is.
void Library::CloseAtExit()
{
    if (!std::exchange(m_initialized, false) || getpid() != m_process)
    {
        return;
    }
    m_instances.ClearAll();
    CloseQuietly([this] { CloseLowerLibrary(); });
    m_proxy.reset();
}

void Library::Shutdown()
{
    CheckLibraryInitialized();
    if (m_hasVisionLibrary)
    {
        tarn::cvl::Call(tarn::cvl::dynamic::Exit);
    }
    m_instances.ClearAll();
    CloseLowerLibrary();
    m_proxy.reset();
    // Only the text: the code of a thread's last error stays until the next GCInitLib.
    SetCurrentLastError({}, GetLastErrorCode());
    TearDownLogging();
    m_initialized = false;
}

void Library::OpenSystem(TL_HANDLE *phTL)
{
    CheckLibraryInitialized();
    utils::CheckNotNull("phTL", phTL);
    TL_HANDLE lowerHandle = nullptr;
    m_proxy->TLOpen(&lowerHandle);
    auto proxySystem = m_assembly.makeProxySystem(m_proxy, lowerHandle);
    SetTLType(proxySystem->GetTLType());
    const auto system = std::make_shared<System>(*this, this, std::move(proxySystem), m_assembly);
    const auto handle = m_instances.systems.Add(system);
    system->SetHandle(handle);
    *phTL = handle;
}

void Library::CloseSystem(TL_HANDLE hTL)
{
    m_instances.systems.Remove(hTL);
}

void Library::GetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    CheckLibraryInitialized();
    utils::CheckNotNull({{"piSize", piSize}, {"piType", piType}});
    utils::WriteInfo(Answer(iInfoCmd), piType, pBuffer, piSize);
}

utils::Info Library::Answer(TL_INFO_CMD command) const
{
    using utils::Info;
    const auto &identity = m_profile.identity;
    switch (command)
    {
    case TL_INFO_ID:
    case TL_INFO_MODEL:
        return Info::Text(identity.id);
    case TL_INFO_VENDOR:
        return Info::Text(identity.vendor);
    case TL_INFO_VERSION:
        return Info::Text(identity.version);
    case TL_INFO_TLTYPE:
        return Info::Text(GetTLType());
    case TL_INFO_NAME:
        return Info::Text(std::filesystem::path(utils::GetOwnPath()).filename().string());
    case TL_INFO_PATHNAME:
        return Info::Text(utils::GetOwnPath());
    case TL_INFO_DISPLAYNAME:
        return Info::Text(identity.displayName);
    case TL_INFO_CHAR_ENCODING:
        return Info::Int32(TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
        return Info::Uint32(1);
    case TL_INFO_GENTL_VER_MINOR:
        return Info::Uint32(6);
    default:
        throw GenTLException(fmt::format("iInfoCmd {} not implemented", command), GC_ERR_NOT_IMPLEMENTED);
    }
}

namespace
{

/// The object behind a handle of one of these kinds; null for a handle of another kind.
template <typename Object, typename... Registries>
std::shared_ptr<Object> FindIn(void *handle, Registries &...registries)
{
    std::shared_ptr<Object> found;
    ((found = registries.Find(handle)) || ...);
    return found;
}

} // namespace

std::shared_ptr<IPort> Library::FindPort(void *handle)
{
    CheckLibraryInitialized();
    if (const auto system = m_instances.systems.Find(handle))
    {
        // The callbacks of the node map use the System, so the pointer keeps the System alive.
        return {system, system->GetNodeMap().get()};
    }
    if (const auto stream = m_instances.datastreams.Find(handle))
    {
        return {stream, stream->GetNodeMap().get()};
    }
    return FindIn<IPort>(handle, m_instances.remotePorts, m_instances.devices, m_instances.interfaces,
                         m_instances.buffers);
}

std::shared_ptr<IEventSource> Library::FindEventSource(void *handle)
{
    CheckLibraryInitialized();
    return FindIn<IEventSource>(handle, m_instances.remotePorts, m_instances.devices, m_instances.interfaces,
                                m_instances.systems, m_instances.datastreams);
}

void Library::CheckLibraryInitialized() const
{
    if (!m_initialized)
    {
        QVR_LOG_ERROR("Library not initialized!");
        throw GenTLException("Library not initialized", GC_ERR_NOT_INITIALIZED);
    }
}

InstanceManager &Library::GetInstanceManager()
{
    CheckLibraryInitialized();
    return m_instances;
}

void Library::SetLastError(std::string_view function, std::string_view message, GC_ERROR code)
{
    SetCurrentLastError(fmt::format("{} Error: {}", function, message), code);
}

std::string_view Library::GetLastErrorMessage() const
{
    const auto *const lastError = CurrentLastError();
    return lastError != nullptr ? std::string_view(lastError->message) : std::string_view();
}

GC_ERROR Library::GetLastErrorCode() const
{
    const auto *const lastError = CurrentLastError();
    return lastError != nullptr ? lastError->code : GC_ERR_SUCCESS;
}

std::string Library::GetTLType() const
{
    const utils::MutexLock guard(m_tlTypeMutex);
    return m_tlType;
}

void Library::SetTLType(std::string type)
{
    const utils::MutexLock guard(m_tlTypeMutex);
    m_tlType = std::move(type);
}

IGenTLProxy &Library::GetProxy()
{
    CheckLibraryInitialized();
    if (!m_proxy)
    {
        throw GenTLException("Proxy is not available!", GC_ERR_ERROR);
    }
    return *m_proxy;
}

} // namespace GenTL::internal
