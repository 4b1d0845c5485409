#include "library.h"

#include "datastream/buffer.h"
#include "datastream/datastream.h"
#include "device.h"
#include "events/event_handler.h"
#include "gentl_proxy.h"
#include "interface.h"
#include "lower/producer_discovery.h"
#include "nodemap/node_map.h"
#include "proxy_system.h"
#include "remoteport.h"
#include "system.h"
#include "utils/at_end.h"
#include "utils/checks.h"
#include "utils/class_func_formatter.h"
#include "utils/environment.h"
#include "utils/info.h"
#include "utils/log.h"
#include "vision/status.h"

#include <spdlog/sinks/stdout_color_sinks.h>

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

constexpr auto loggerName = "gentli_proxy";
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

spdlog::level::level_enum RequestedLevel()
{
    const auto name = LowerCaseVariable("PROXY_TL_LOG_LEVEL");
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

std::unique_ptr<spdlog::formatter> MakeFormatter()
{
    auto formatter =
        std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, std::string("\n"));
    formatter->add_flag<ClassFuncFormatter>('*');
    // C-04: the pattern is converted to lower case, including its time flags.
    const auto pattern = LowerCaseVariable("PROXY_TL_LOG_PATTERN");
    formatter->set_pattern(pattern.empty() ? defaultPattern : pattern);
    return formatter;
}

} // namespace

Library &Library::Instance()
{
    static Library library;
    return library;
}

Library::Library()
{
    // spdlog's registry must live longer than this object: the destructor logs what it cleans up.
    spdlog::default_logger_raw();
}

void Library::Initialize()
{
    if (m_initialized)
    {
        constexpr auto text = "Library already initialized!";
        SPDLOG_ERROR(text);
        throw GenTLException(text, GC_ERR_RESOURCE_IN_USE);
    }
    if (m_initializing)
    {
        throw GenTLException("The lower producer leads back to this one! Set PROXY_TL_CTI_PATH to the "
                             "producer of your cameras.",
                             GC_ERR_RESOURCE_IN_USE);
    }
    m_initializing = true;
    const utils::AtEnd done([this] { m_initializing = false; });
    SetUpLogging();
    SetCurrentLastError({}, GC_ERR_SUCCESS);
    BringUpLowerProducer();
    BringUpVisionLibrary();
    // The handles that a consumer left open must be closed before the lower producer's static objects are
    // destroyed and before the vision library is unloaded. Both were loaded above, and exit handlers and
    // destructors run in reverse order, so a handler that is registered here runs first.
    std::atexit([] { Instance().ReleaseMembers(); });
    m_initialized = true;
}

void Library::SetUpLogging()
{
    m_logger = spdlog::get(loggerName);
    if (!m_logger)
    {
        m_logger = spdlog::stdout_color_mt(loggerName);
    }
    const auto level = RequestedLevel();
    spdlog::set_level(level);
    m_logger->set_level(level);
    m_logger->set_formatter(MakeFormatter());
    spdlog::set_formatter(MakeFormatter());
    m_previousDefaultLogger = spdlog::default_logger();
    spdlog::set_default_logger(m_logger);
}

void Library::TearDownLogging()
{
    if (m_logger)
    {
        spdlog::drop(m_logger->name());
        spdlog::set_default_logger(m_previousDefaultLogger);
    }
    m_logger.reset();
}

void Library::BringUpLowerProducer()
{
    m_proxy = std::make_shared<GenTLProxy>(FindProducer(gigeVision));
    m_proxy->GCInitLib();
}

void Library::BringUpVisionLibrary()
{
    try
    {
        tarn::cvl::Call(tarn::cvl::dynamic::Init);
    }
    catch (...)
    {
        // The next attempt starts over, and a lower producer may refuse a second GCInitLib.
        CloseQuietly([this] { m_proxy->GCCloseLib(); });
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

void Library::Shutdown()
{
    CheckLibraryInitialized();
    tarn::cvl::Call(tarn::cvl::dynamic::Exit);
    m_instances.ClearAll();
    m_proxy->GCCloseLib();
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
    auto proxySystem = std::make_shared<ProxySystem>(m_proxy, lowerHandle);
    SetTLType(proxySystem->GetTLType());
    const auto system = std::make_shared<System>(*this, this, std::move(proxySystem));
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
    const utils::InfoQuery query{piType, pBuffer, piSize};
    switch (iInfoCmd)
    {
    case TL_INFO_ID:
    case TL_INFO_MODEL:
        return utils::WriteStringInfo("Proxy Transport Layer", query);
    case TL_INFO_VENDOR:
        return utils::WriteStringInfo("Varkel", query);
    case TL_INFO_VERSION:
        return utils::WriteStringInfo("1.0.0.0", query);
    case TL_INFO_TLTYPE:
        return utils::WriteStringInfo(GetTLType(), query);
    case TL_INFO_NAME:
        return utils::WriteStringInfo(std::filesystem::path(utils::GetOwnPath()).filename().string(), query);
    case TL_INFO_PATHNAME:
        return utils::WriteStringInfo(utils::GetOwnPath(), query);
    case TL_INFO_DISPLAYNAME:
        return utils::WriteStringInfo("QVR Proxy Transport Layer", query);
    case TL_INFO_CHAR_ENCODING:
        return query.AnswerInt32(TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
        return query.AnswerUint32(1);
    case TL_INFO_GENTL_VER_MINOR:
        return query.AnswerUint32(6);
    default:
        throw GenTLException(fmt::format("iInfoCmd {} not implemented", iInfoCmd), GC_ERR_NOT_IMPLEMENTED);
    }
}

namespace
{

/// The ProxyModule behind a handle; null for a handle of another kind.
std::shared_ptr<ProxyModule> FindProxyModule(InstanceManager &instances, void *handle)
{
    if (auto port = instances.remotePorts.Find(handle))
    {
        return port;
    }
    if (auto device = instances.devices.Find(handle))
    {
        return device;
    }
    return instances.interfaces.Find(handle);
}

} // namespace

std::shared_ptr<IPort> Library::FindPort(void *handle)
{
    CheckLibraryInitialized();
    if (auto module = FindProxyModule(m_instances, handle))
    {
        return module;
    }
    if (const auto system = m_instances.systems.Find(handle))
    {
        // The callbacks of the node map use the System, so the pointer keeps the System alive.
        return {system, system->GetNodeMap().get()};
    }
    if (const auto stream = m_instances.datastreams.Find(handle))
    {
        return {stream, stream->GetNodeMap().get()};
    }
    return m_instances.buffers.Find(handle);
}

std::shared_ptr<IEventSource> Library::FindEventSource(void *handle)
{
    CheckLibraryInitialized();
    if (auto module = FindProxyModule(m_instances, handle))
    {
        return module;
    }
    if (auto system = m_instances.systems.Find(handle))
    {
        return system;
    }
    return m_instances.datastreams.Find(handle);
}

void Library::CheckLibraryInitialized() const
{
    if (!m_initialized)
    {
        SPDLOG_ERROR("Library not initialized!");
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
