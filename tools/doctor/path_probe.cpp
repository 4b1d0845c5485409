#include "consumer/folder.h"
#include "doctor/doctor.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <system_error>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;

constexpr auto pathArea = "path";
constexpr auto pathVariable = "GENICAM_GENTL64_PATH";
constexpr auto pathVariableOf32 = "GENICAM_GENTL32_PATH";
constexpr auto producerEnding = ".cti";

Finding PathFinding(Level level, const std::string &call, const std::string &text, const std::string &cure)
{
    return {level, pathArea, call, text, "", cure};
}

std::vector<std::string> EntriesOf(std::string_view path)
{
    std::vector<std::string> entries;
    for (size_t start = 0; start <= path.size();)
    {
        const auto end = std::min(path.find(':', start), path.size());
        entries.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return entries;
}

std::vector<fs::path> ProducersOf(const fs::path &entry)
{
    std::error_code ignored;
    if (entry.extension() == producerEnding && fs::is_regular_file(entry, ignored))
    {
        return {entry};
    }
    std::vector<fs::path> files;
    for (const auto &file : EntriesIn(entry))
    {
        if (file.extension() == producerEnding)
        {
            files.push_back(file);
        }
    }
    return files;
}

/// A folder below this one that has producers; empty when there is none.
fs::path FolderBelow(const fs::path &folder)
{
    std::error_code ignored;
    for (const auto &entry : EntriesIn(folder))
    {
        if (fs::is_directory(entry, ignored) && !ProducersOf(entry).empty())
        {
            return entry;
        }
    }
    return {};
}

/// The folder of this installation's producers: where it has some, else where the libraries are.
fs::path OwnFolder(const Surroundings &surroundings)
{
    // In an installation, in a build.
    for (const auto *const name : {"qvr_anygentl", "qvr_proxygentl", "anygentl"})
    {
        auto folder = surroundings.libraryFolder / name;
        if (!ProducersOf(folder).empty())
        {
            return folder;
        }
    }
    return surroundings.libraryFolder;
}

std::string CureOfFolder(const fs::path &folder)
{
    if (const auto below = FolderBelow(folder); !below.empty())
    {
        return fmt::format("name {} instead: folders below are not searched", below.string());
    }
    return "name the folder that holds the producer's .cti, or take the entry out";
}

Finding ProbeEntry(const std::string &entry)
{
    std::error_code error;
    const fs::path path(entry);
    if (entry.find(';') != std::string::npos)
    {
        return PathFinding(Level::WillHurt, entry, "has a semicolon in it", "separate the folders by colons");
    }
    if (path.is_relative())
    {
        return PathFinding(Level::WillHurt, entry, "is relative: it changes with the folder of the consumer",
                           "write the whole path, from / on");
    }
    const auto status = fs::status(path, error);
    if (!fs::exists(status))
    {
        const bool isDenied = error && error != std::errc::no_such_file_or_directory;
        return PathFinding(
            Level::WillHurt, entry,
            isDenied ? fmt::format("cannot be looked into: {}", error.message()) : "does not exist",
            isDenied ? "let this user read and enter the folder" : "correct the path, or take the entry out");
    }
    if (const auto files = ProducersOf(path); !files.empty())
    {
        return PathFinding(Level::Fine, entry,
                           fmt::format("has {} producer{}", files.size(), files.size() == 1 ? "" : "s"), "");
    }
    if (fs::is_regular_file(status))
    {
        return PathFinding(Level::WillHurt, entry, "is a file whose name does not end in .cti",
                           "name the folder, or the producer's .cti");
    }
    return PathFinding(Level::WillHurt, entry, "has no .cti", CureOfFolder(path));
}

/// The variable is not set, or empty.
Finding WithoutPath(const Surroundings &surroundings)
{
    const auto other = surroundings.Variable(pathVariableOf32);
    const auto cure = fmt::format("export {}={}", pathVariable,
                                  other && !other->empty() ? *other : OwnFolder(surroundings).string());
    if (other && !other->empty())
    {
        return PathFinding(Level::Broken, pathVariable,
                           fmt::format("is not set; {} is, which 32-bit programs read", pathVariableOf32),
                           cure);
    }
    return PathFinding(Level::Broken, pathVariable,
                       surroundings.Variable(pathVariable) ? "is empty: consumers find no producer"
                                                           : "is not set: consumers find no producer",
                       cure + ", in ~/.profile for all programs");
}

} // namespace

Findings ProbePath(const Surroundings &surroundings)
{
    const auto path = surroundings.Variable(pathVariable);
    if (!path || path->empty())
    {
        return {WithoutPath(surroundings)};
    }
    Findings findings;
    std::set<std::string> known;
    for (const auto &entry : EntriesOf(*path))
    {
        if (entry.empty())
        {
            continue; // Consumers pass it over.
        }
        findings.push_back(known.insert(entry).second
                               ? ProbeEntry(entry)
                               : PathFinding(Level::WillHurt, entry,
                                             "stands there twice: some consumers list each device twice",
                                             "take one of the two out"));
    }
    if (std::ranges::find(findings, Level::Fine, &Finding::level) == findings.end())
    {
        findings.push_back(
            PathFinding(Level::Broken, pathVariable, "leads to no producer",
                        fmt::format("export {}={}", pathVariable, OwnFolder(surroundings).string())));
    }
    return findings;
}

std::vector<fs::path> ProducersIn(const Surroundings &surroundings)
{
    std::vector<fs::path> producers;
    const auto add = [&](const fs::path &file)
    {
        std::error_code ignored;
        const auto isSame = [&](const fs::path &known) { return fs::equivalent(known, file, ignored); };
        if (std::ranges::none_of(producers, isSame))
        {
            producers.push_back(file);
        }
    };
    for (const auto &entry : EntriesOf(surroundings.Variable(pathVariable).value_or("")))
    {
        std::ranges::for_each(entry.empty() ? std::vector<fs::path>() : ProducersOf(entry), add);
    }
    if (std::error_code ignored; fs::is_regular_file(surroundings.producer, ignored))
    {
        add(surroundings.producer);
    }
    if (producers.empty())
    {
        // What this installation would have to offer.
        std::ranges::for_each(ProducersOf(OwnFolder(surroundings)), add);
    }
    return producers;
}

} // namespace gentlctl
