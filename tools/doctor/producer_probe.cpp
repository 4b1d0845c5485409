#include "doctor/own_producers.h"

#include "findings/elf_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <system_error>

namespace gentlctl
{
namespace
{

constexpr auto producerArea = "producer";
constexpr std::string_view noReason = "Unknown error";

Finding ProducerFinding(Level level, const std::filesystem::path &file, const std::string &text,
                        const std::string &cure)
{
    return {level, producerArea, file.string(), text, "", cure};
}

/// What to do about a text of the loader or of a failed call, by a part of it.
struct KnownProblem
{
    std::string_view part;
    std::string_view cure;
};

constexpr std::array<KnownProblem, 7> knownProblems{{
    {"cannot open shared object file", "install the package with the named library (apt-file search NAME), "
                                       "or add its folder to /etc/ld.so.conf.d and "
                                       "run ldconfig"},
    {"undefined symbol",
     "one of its libraries is of another version: reinstall the producer with its libraries"},
    {"version `", "it was built for a newer system: take the maker's build for this one"},
    {"wrong ELF class", "take the maker's 64-bit build"},
    {"ends the process", "reinstall the producer; `gentlctl check FILE` tells which call it is"},
    {"does not return",
     "unplug what hangs, and restart the maker's services; `gentlctl check FILE` tells the call"},
    {"Permission denied", "let this user read and execute the file and its libraries"},
}};

/// What to do about what stands under one of our own producers; empty when nothing is wrong there. A lower
/// producer that is missing lets the start fail with a text of the loader, which is no reason to install a
/// library.
std::string CureOfLower(const Surroundings &surroundings, const std::filesystem::path &file)
{
    const auto *const own = OwnProducerOf(file);
    const auto lower = own != nullptr ? ProbeLower(surroundings, file, *own) : Finding{};
    return lower.level == Level::Broken ? lower.cure : "";
}

std::string CureOf(const Surroundings &surroundings, const std::filesystem::path &file,
                   const ProducerVisit &visit)
{
    if (auto cure = CureOfLower(surroundings, file); visit.call == "GCInitLib" && !cure.empty())
    {
        return cure;
    }
    for (const auto &[part, cure] : knownProblems)
    {
        if (visit.problem.find(part) != std::string::npos)
        {
            return std::string(cure);
        }
    }
    // Our first producer has no text for a failed start, only a log.
    if (visit.call == "GCInitLib" && file.filename() == "qvr_proxygentl.cti")
    {
        return "see \"lower producer\" and \"vision library\" in this report; with PROXY_TL_LOG_LEVEL=debug "
               "in the "
               "environment it logs the reason";
    }
    return "the text is the producer's own: see its manual; `gentlctl check FILE` looks closer";
}

/// A file that no loader takes; nothing when it is a library for this machine.
std::optional<Finding> WhyNoLibrary(const std::filesystem::path &file)
{
    const auto elf = ReadElfFile(file);
    if (!elf)
    {
        return ProducerFinding(Level::Broken, file, "is no shared library, or cannot be read",
                               "copy the producer again; was it cut, or is it a Windows file?");
    }
    if (!elf->isOfThisMachine)
    {
        return ProducerFinding(Level::Broken, file,
                               fmt::format("is a library of {} bits for {}", elf->bits, elf->machine),
                               "take the maker's build for this system");
    }
    return std::nullopt;
}

Finding FindingOf(const Surroundings &surroundings, const std::filesystem::path &file,
                  const ProducerVisit &visit)
{
    if (!visit.missing.empty())
    {
        return ProducerFinding(Level::Broken, file, fmt::format("lacks {}", fmt::join(visit.missing, ", ")),
                               "it is no GenTL producer for consumers, or damaged: reinstall it");
    }
    if (!visit.problem.empty())
    {
        return ProducerFinding(Level::Broken, file, fmt::format("{}: {}", visit.call, visit.problem),
                               CureOf(surroundings, file, visit));
    }
    if (visit.devices.empty())
    {
        return ProducerFinding(
            Level::WillHurt, file, fmt::format("loads ({}) and lists no device", visit.name),
            "is a camera of its kind connected and powered, and in the subnet of its adapter?");
    }
    return ProducerFinding(Level::Fine, file,
                           fmt::format("loads ({}) and lists {} devices", visit.name, visit.devices.size()),
                           "");
}

/// The files that list a device.
using Listings = std::map<std::string, std::vector<std::string>>;

void AddListings(Listings &listings, const std::filesystem::path &file, const ProducerVisit &visit)
{
    for (const auto &device : visit.devices)
    {
        if (!device.serialNumber.empty())
        {
            listings[fmt::format("{}, serial number {}", device.model, device.serialNumber)].push_back(
                file.filename().string());
        }
    }
}

/// One finding for all devices that the same producers list.
void AddDuplicates(const Listings &listings, Findings &findings)
{
    std::map<std::vector<std::string>, std::vector<std::string>> devicesOf;
    for (const auto &[device, files] : listings)
    {
        if (files.size() > 1)
        {
            devicesOf[files].push_back(device);
        }
    }
    for (const auto &[files, devices] : devicesOf)
    {
        const bool isOne = std::ranges::adjacent_find(files, std::not_equal_to<>()) == files.end();
        findings.push_back(
            {Level::WillHurt, producerArea, fmt::format("{}", fmt::join(files, ", ")),
             fmt::format("list the same device{}: {}", devices.size() == 1 ? "" : "s",
                         fmt::join(devices, "; ")),
             "a consumer shows it twice, and the second one to open it fails",
             isOne ? "connect the camera to one adapter only, or turn one of the drivers off"
                   : "keep one of the producers in GENICAM_GENTL64_PATH, or name the file in the consumer"});
    }
}

} // namespace

Findings ProbeNamedProducer(const Surroundings &surroundings)
{
    std::error_code ignored;
    if (surroundings.producer.empty() || std::filesystem::is_regular_file(surroundings.producer, ignored))
    {
        return {};
    }
    const bool isFolder = std::filesystem::is_directory(surroundings.producer, ignored);
    return {ProducerFinding(Level::Broken, surroundings.producer, isFolder ? "is a folder" : "does not exist",
                            "correct --producer: it names the .cti of a producer")};
}

Findings ProbeProducers(const Surroundings &surroundings)
{
    Findings findings;
    Listings listings;
    for (const auto &file : ProducersIn(surroundings))
    {
        if (const auto finding = WhyNoLibrary(file))
        {
            findings.push_back(*finding);
            continue;
        }
        const auto visit = surroundings.visit(file);
        findings.push_back(FindingOf(surroundings, file, visit));
        AddListings(listings, file, visit);
    }
    AddDuplicates(listings, findings);
    return findings;
}

} // namespace gentlctl
