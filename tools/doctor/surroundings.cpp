#include "doctor/surroundings.h"

#include "check/answers.h"
#include "check/calls.h"
#include "check/needed_functions.h"
#include "consumer/producer_files.h"
#include "findings/isolated.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace gentlctl
{
namespace
{

constexpr auto visitLimit = std::chrono::seconds(30);
constexpr uint64_t listLimitMs = 1000;

std::string Trimmed(std::string_view text)
{
    constexpr auto space = " \t\r\n";
    const auto start = text.find_first_not_of(space);
    return start == std::string_view::npos
               ? std::string()
               : std::string(text.substr(start, text.find_last_not_of(space) - start + 1));
}

/// Sends what the visited producer says.
class Visitor
{
public:
    Visitor(Calls &calls, const Send &send) : m_calls(calls), m_send(send) {}

    void Visit()
    {
        for (const auto name : NeededFunctions())
        {
            if (!m_calls.Has(name))
            {
                m_send({{"missing", std::string(name)}});
            }
        }
        if (!Succeeds(m_calls.GCInitLib()))
        {
            return;
        }
        m_send({{"name", Name()}});
        TL_HANDLE system = nullptr;
        if (Succeeds(m_calls.TLOpen(&system)))
        {
            VisitInterfaces(system);
            m_calls.TLClose(system);
        }
        m_calls.GCCloseLib();
    }

private:
    bool Succeeds(GC_ERROR code)
    {
        if (code != GC_ERR_SUCCESS)
        {
            const auto text = m_calls.LastErrorText();
            m_send({{"problem", fmt::format("{}{}{}", CodeName(code), text.empty() ? "" : ": ", text)}});
        }
        return code == GC_ERR_SUCCESS;
    }

    std::string Name()
    {
        std::string name;
        for (const auto command : {TL_INFO_VENDOR, TL_INFO_MODEL, TL_INFO_VERSION})
        {
            const auto part = TextAnswerOf([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                           { return m_calls.GCGetInfo(command, type, buffer, size); });
            name += fmt::format("{}{}", name.empty() ? "" : " ", part);
        }
        return name;
    }

    void VisitInterfaces(TL_HANDLE system)
    {
        const auto count =
            CountOf(m_calls.TLUpdateInterfaceList(system, nullptr, listLimitMs),
                    [&](uint32_t *number) { return m_calls.TLGetNumInterfaces(system, number); });
        for (uint32_t i = 0; i < count; ++i)
        {
            const auto id = TextOf([&](char *text, size_t *size)
                                   { return m_calls.TLGetInterfaceID(system, i, text, size); });
            IF_HANDLE interface = nullptr;
            if (Succeeds(m_calls.TLOpenInterface(system, id.c_str(), &interface)))
            {
                VisitDevices(interface);
                m_calls.IFClose(interface);
            }
        }
    }

    void VisitDevices(IF_HANDLE interface)
    {
        const auto count =
            CountOf(m_calls.IFUpdateDeviceList(interface, nullptr, listLimitMs),
                    [&](uint32_t *number) { return m_calls.IFGetNumDevices(interface, number); });
        for (uint32_t i = 0; i < count; ++i)
        {
            const auto id = TextOf([&](char *text, size_t *size)
                                   { return m_calls.IFGetDeviceID(interface, i, text, size); });
            const auto info = [&](DEVICE_INFO_CMD command)
            {
                return TextAnswerOf(
                    [&](INFO_DATATYPE *type, void *buffer, size_t *size)
                    { return m_calls.IFGetDeviceInfo(interface, id.c_str(), command, type, buffer, size); });
            };
            m_send({{"model", info(DEVICE_INFO_MODEL)}, {"serial", info(DEVICE_INFO_SERIAL_NUMBER)}});
        }
    }

    /// The length of a list; 0 when its update failed, or cannot be counted.
    template <typename Function>
    uint32_t CountOf(GC_ERROR update, Function function)
    {
        uint32_t count = 0;
        return Succeeds(update) && Succeeds(function(&count)) ? count : 0;
    }

    Calls &m_calls;
    const Send &m_send;
};

void VisitInChild(const std::filesystem::path &file, const Send &send)
{
    try
    {
        Calls calls(file.string(), RTLD_NOW | RTLD_LOCAL,
                    [&](std::string_view function)
                    {
                        // Asking for the reason of a failure is not where it failed.
                        if (function != "GCGetLastError")
                        {
                            send({{"call", std::string(function)}});
                        }
                    });
        send({{"loaded", true}});
        Visitor(calls, send).Visit();
    }
    catch (const std::runtime_error &error)
    {
        send({{"problem", error.what()}});
    }
}

/// Takes a message of the child. The first problem is the one that counts.
void Note(ProducerVisit &visit, const Json &message)
{
    visit.isLoaded = visit.isLoaded || message.contains("loaded");
    visit.name = message.value("name", visit.name);
    visit.call = visit.problem.empty() ? message.value("call", visit.call) : visit.call;
    visit.problem = visit.problem.empty() ? message.value("problem", visit.problem) : visit.problem;
    if (message.contains("missing"))
    {
        visit.missing.push_back(message["missing"].get<std::string>());
    }
    if (message.contains("serial"))
    {
        visit.devices.push_back({message["model"].get<std::string>(), message["serial"].get<std::string>()});
    }
}

ProducerVisit VisitProducer(const std::filesystem::path &file)
{
    ProducerVisit visit;
    visit.call = "dlopen";
    const auto ending = RunIsolated([&](const Send &send) { VisitInChild(file, send); },
                                    [&](const Json &message)
                                    {
                                        Note(visit, message);
                                        return false;
                                    },
                                    visitLimit);
    if (ending.kind != Ending::Kind::Finished)
    {
        const bool isDead = ending.kind == Ending::Kind::Died;
        visit.problem = fmt::format("{}: {}", isDead ? "ends the process" : "does not return", ending.how);
    }
    return visit;
}

std::optional<std::string> WhyLibraryIsNotFound(const std::string &name)
{
    std::optional<std::string> reason;
    RunIsolated(
        [&](const Send &send)
        {
            if (dlopen(name.c_str(), RTLD_LAZY) == nullptr)
            {
                send(std::string(dlerror()));
            }
        },
        [&](const Json &message)
        {
            reason = message.get<std::string>();
            return false;
        },
        visitLimit);
    return reason;
}

std::map<std::string, std::string> OwnEnvironment()
{
    std::map<std::string, std::string> variables;
    for (char *const *entry = environ; *entry != nullptr; ++entry)
    {
        const std::string_view text(*entry);
        const auto split = std::min(text.find('='), text.size());
        variables.emplace(text.substr(0, split), text.substr(std::min(split + 1, text.size())));
    }
    return variables;
}

} // namespace

std::optional<std::string> Surroundings::Variable(const std::string &name) const
{
    const auto found = environment.find(name);
    return found != environment.end() ? std::optional(found->second) : std::nullopt;
}

std::string Surroundings::Line(const std::filesystem::path &file) const
{
    std::ifstream stream(root / file);
    std::string line;
    std::getline(stream, line);
    return Trimmed(line);
}

std::string Surroundings::Value(const std::filesystem::path &file, std::string_view key) const
{
    std::ifstream stream(root / file);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.starts_with(key))
        {
            auto value = Trimmed(std::string_view(line).substr(key.size()));
            return value.starts_with(':') ? Trimmed(std::string_view(value).substr(1)) : value;
        }
    }
    return {};
}

Surroundings OwnSurroundings(std::string producer)
{
    Surroundings own;
    own.environment = OwnEnvironment();
    own.producer = std::move(producer);
    own.libraryFolder = LibraryFolder();
    own.visit = VisitProducer;
    own.whyNotFound = WhyLibraryIsNotFound;
    own.isWritable = [](const std::filesystem::path &file) { return access(file.c_str(), R_OK | W_OK) == 0; };
    return own;
}

} // namespace gentlctl
