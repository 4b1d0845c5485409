#include "check/file_checks.h"

#include "check/needed_functions.h"
#include "check/session.h"
#include "check/trial.h"
#include "consumer/producer_files.h"
#include "findings/elf_file.h"
#include "findings/isolated.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

namespace gentlctl
{
namespace
{

constexpr auto fileArea = "file";

/// Whether a name looks like one of the published functions: a prefix of theirs, and a capital letter.
bool LooksPublished(std::string_view name)
{
    constexpr std::array<std::string_view, 6> prefixes{"GC", "TL", "IF", "Dev", "DS", "Event"};
    return std::ranges::any_of(prefixes,
                               [&](std::string_view prefix)
                               {
                                   return name.starts_with(prefix) && name.size() > prefix.size() &&
                                          std::isupper(static_cast<unsigned char>(name[prefix.size()])) != 0;
                               });
}

Finding FindingOfFile(Level level, const std::string &call, const std::string &text, const std::string &hurts,
                      const std::string &cure)
{
    return {level, fileArea, call, text, hurts, cure};
}

void CheckName(const std::string &file, Findings &findings)
{
    if (std::filesystem::path(file).extension() != ".cti")
    {
        findings.push_back(
            FindingOfFile(Level::WillHurt, std::filesystem::path(file).filename(), "does not end in .cti",
                          "consumers that search GENICAM_GENTL64_PATH: they pass it over",
                          "let the name end in .cti, unless it is a lower producer that nobody is to find"));
    }
}

void CheckExports(const ElfFile &elf, Findings &findings)
{
    const auto isExported = [&](std::string_view name)
    { return std::ranges::find(elf.exports, name) != elf.exports.end(); };
    for (const auto name : NeededFunctions())
    {
        if (!isExported(name))
        {
            findings.push_back(
                FindingOfFile(Level::Broken, std::string(name), "is not exported",
                              "every consumer: none streams without it",
                              fmt::format("export {} with C linkage under this very name", name)));
        }
    }
    for (const auto &name : elf.exports)
    {
        const bool isPublished = std::ranges::find(PublishedFunctions(), name, &PublishedFunction::name) !=
                                 PublishedFunctions().end();
        if (!isPublished && LooksPublished(name))
        {
            findings.push_back(FindingOfFile(
                Level::WillHurt, name, "is exported, looks like a function of GenTL and is none",
                "a second producer in the process that has the name, too",
                "is it a misspelt name? Else keep it local by a version script"));
        }
    }
}

// A sanitizer refuses RTLD_DEEPBIND.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int bindDeeply = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr int bindDeeply = 0;
#else
constexpr int bindDeeply = RTLD_DEEPBIND;
#endif
#else
constexpr int bindDeeply = RTLD_DEEPBIND;
#endif

/// How a consumer loads a producer.
struct WayToLoad
{
    const char *call;
    const char *consumer;
    int flags;
};

constexpr std::array<WayToLoad, 3> waysToLoad{{
    {"dlopen(RTLD_NOW | RTLD_DEEPBIND)", "rc_genicam_api", RTLD_NOW | bindDeeply},
    {"dlopen(RTLD_LAZY)", "Aravis", RTLD_LAZY},
    {"dlopen(RTLD_LAZY | RTLD_GLOBAL)", "gentlsrc", RTLD_LAZY | RTLD_GLOBAL},
}};

/// How work with the loaded producer went.
struct LoadedRun
{
    std::string failure; ///< of the loader; empty when it loaded
    std::string lastCall = "dlopen";
    Ending ending;
};

/// Does work with the loaded producer in a process of its own.
LoadedRun RunLoaded(const std::string &file, int flags, std::chrono::milliseconds limit,
                    const std::function<void(Calls &)> &work)
{
    LoadedRun run;
    const auto inChild = [&](const Send &send)
    {
        try
        {
            LoadVisionLibrary();
            Calls calls(file, flags, [&](std::string_view name) { send({{"call", std::string(name)}}); });
            work(calls);
            send({{"call", "dlclose"}});
        }
        catch (const std::runtime_error &error)
        {
            send({{"failure", error.what()}});
        }
    };
    const auto inParent = [&](const Json &message)
    {
        run.failure = message.value("failure", run.failure);
        run.lastCall = message.value("call", run.lastCall);
        return false;
    };
    run.ending = RunIsolated(inChild, inParent, limit);
    return run;
}

/// What went wrong; empty when nothing did.
std::string ProblemOf(const LoadedRun &run)
{
    switch (run.ending.kind)
    {
    case Ending::Kind::Finished:
        return run.failure;
    case Ending::Kind::Died:
        return fmt::format("{} ends the process: {}", run.lastCall, run.ending.how);
    default:
        return fmt::format("{} does not return: {}", run.lastCall, run.ending.how);
    }
}

std::string CureOfLoading(const std::string &problem)
{
    return problem.starts_with("dlclose")
               ? "unregister what calls code of the library later: handlers, threads, "
                 "destructors of thread-local objects"
               : "`gentlctl doctor` looks for missing libraries; a crash comes from a "
                 "constructor of a static object";
}

void InitialiseAndClose(Calls &calls)
{
    if (calls.GCInitLib() == GenTL::GC_ERR_SUCCESS)
    {
        calls.GCCloseLib();
    }
}

/// Opens a device and ends the process as a consumer does that closes nothing.
[[noreturn]] void LeaveOpen(Calls &calls)
{
    Session session(calls, "");
    try
    {
        session.Device();
    }
    catch (const NotReached &)
    {
        // Then the process ends with what is open.
    }
    std::exit(EXIT_SUCCESS);
}

Finding CheckLeaving(const std::string &file, std::chrono::milliseconds limit)
{
    const auto run = RunLoaded(file, RTLD_LAZY, limit, LeaveOpen);
    const std::string call = "exit without GCCloseLib";
    if (run.ending.how == "exit status 0")
    {
        return FindingOfFile(Level::Fine, call, "the process ends as it should", "", "");
    }
    return FindingOfFile(
        Level::WillHurt, call, fmt::format("the process does not end well: {}", run.ending.how),
        "Aravis and gentlsrc, which never call GCCloseLib",
        "stop threads and close devices in a handler of atexit that GCInitLib registers, not in "
        "destructors of static objects");
}

} // namespace

Findings CheckFile(const std::string &file)
{
    Findings findings;
    CheckName(file, findings);
    const auto elf = ReadElfFile(file);
    if (!elf || !elf->isOfThisMachine)
    {
        findings.push_back(
            FindingOfFile(Level::Broken, file,
                          elf ? fmt::format("is a library of {} bits for {}", elf->bits, elf->machine)
                              : "is no shared library, or cannot be read",
                          "every consumer: it cannot be loaded", "take the producer's file for this system"));
        return findings;
    }
    CheckExports(*elf, findings);
    if (WorstOf(findings) == Level::Fine)
    {
        findings.push_back(
            FindingOfFile(Level::Fine, "", "name and exports are those of a producer", "", ""));
    }
    return findings;
}

Findings CheckLoading(const std::string &file, std::chrono::milliseconds limit)
{
    Findings findings;
    for (const auto &way : waysToLoad)
    {
        const auto problem = ProblemOf(RunLoaded(file, way.flags, limit, InitialiseAndClose));
        findings.push_back(problem.empty() ? FindingOfFile(Level::Fine, way.call, "it loads", "", "")
                                           : FindingOfFile(Level::Broken, way.call, problem, way.consumer,
                                                           CureOfLoading(problem)));
    }
    const bool loads = std::ranges::find(findings, Level::Broken, &Finding::level) == findings.end();
    if (loads)
    {
        findings.push_back(CheckLeaving(file, limit));
    }
    return findings;
}

} // namespace gentlctl
