#include "consumer/producer_files.h"

#include "consumer/folder.h"
#include "lower/producer_discovery.h"
#include "utils/environment.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace fs = std::filesystem;

namespace
{

/// The loader searches folders of its own for a bare name, and not the current one.
std::string WithFolder(const std::string &file)
{
    return file.empty() || file.find('/') != std::string::npos ? file : "./" + file;
}

/// The producers of one entry of a path variable: the file itself, or those in the folder.
std::vector<std::string> ProducersAt(const std::string &entry)
{
    const auto isProducer = [](const fs::path &file)
    {
        std::error_code ignored;
        return file.extension() == ".cti" && fs::is_regular_file(file, ignored);
    };
    if (isProducer(entry))
    {
        return {WithFolder(entry)};
    }
    std::vector<std::string> files;
    for (const auto &found : EntriesIn(entry))
    {
        if (isProducer(found))
        {
            files.push_back(found.string());
        }
    }
    return files;
}

constexpr auto proxyProducer = "qvr_proxygentl.cti";
constexpr auto pathVariable = "GENICAM_GENTL64_PATH";
constexpr auto anyLowerVariable = "ANYGENTL_CTI_PATH";
constexpr auto proxyLowerVariable = "PROXY_TL_CTI_PATH";

bool IsSet(const char *variable)
{
    return !internal::utils::GetEnvironmentVariable(variable).empty();
}

/// The lower producer that a producer of this project would load.
std::string LowerFileOf(const std::string &file)
{
    auto configured = internal::utils::GetEnvironmentVariable(LowerProducerVariable(file));
    return !configured.empty() ? configured : internal::FindProducerIn(internal::ProducerFolder(file));
}

/// A file of the project by its places in a build and in an installation; empty when it is in neither.
std::string BesideProgram(std::initializer_list<const char *> places)
{
    for (const auto *place : places)
    {
        std::error_code ignored;
        if (const auto file = LibraryFolder() / place; std::filesystem::is_regular_file(file, ignored))
        {
            return file.string();
        }
    }
    return {};
}

std::string AnyProducerBesideProgram()
{
    return BesideProgram({"anygentl/qvr_anygentl.cti", "qvr_anygentl/qvr_anygentl.cti"});
}

/// A user who names a lower producer for only one of this program's producers means that one.
bool IsAnyProducerMeant()
{
    return IsSet(anyLowerVariable) && !IsSet(proxyLowerVariable) && !AnyProducerBesideProgram().empty();
}

/// Empty when this program has no producer.
std::string OwnProducerFile()
{
    return IsAnyProducerMeant() ? AnyProducerBesideProgram() : ProxyProducerFile();
}

/// Removes the files that an earlier path leads to already.
std::vector<std::string> EachOnce(const std::vector<std::string> &files)
{
    std::vector<std::string> once;
    for (const auto &file : files)
    {
        std::error_code ignored;
        const auto isSame = [&](const std::string &known) { return fs::equivalent(known, file, ignored); };
        if (std::ranges::none_of(once, isSame))
        {
            once.push_back(file);
        }
    }
    return once;
}

} // namespace

std::filesystem::path LibraryFolder()
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / QVR_INSTALL_LIBDIR;
}

void LoadVisionLibrary()
{
    dlopen((LibraryFolder() / "libqvr_tarn_cvl.so").c_str(), RTLD_NOW);
}

std::vector<std::string> ProducersInPath()
{
    std::vector<std::string> files;
    std::istringstream entries(internal::utils::GetEnvironmentVariable(pathVariable));
    for (std::string entry; std::getline(entries, entry, ':');)
    {
        const auto found = ProducersAt(entry);
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

std::vector<std::string> KnownProducers()
{
    auto files = ProducersInPath();
    if (auto own = OwnProducerFile(); !own.empty())
    {
        files.push_back(std::move(own));
    }
    return EachOnce(files);
}

std::string ProducerAt(const std::string &named)
{
    if (std::error_code ignored; !fs::is_directory(named, ignored))
    {
        return WithFolder(named);
    }
    const auto found = ProducersAt(named);
    if (found.size() != 1)
    {
        throw std::runtime_error(
            found.empty() ? fmt::format("The folder {} holds no producer, which is a file *.cti", named)
                          : fmt::format("The folder {} holds several producers; name one of {}", named,
                                        fmt::join(found, ", ")));
    }
    return found.front();
}

ProducerChoice ChooseProducer()
{
    if (const auto inPath = EachOnce(ProducersInPath()); !inPath.empty())
    {
        return {inPath.front(),
                inPath.size() == 1
                    ? ""
                    : fmt::format("Takes {}, the first of {} producers in {} (see gentlctl list --all)",
                                  inPath.front(), inPath.size(), pathVariable)};
    }
    const auto own = OwnProducerFile();
    if (own.empty())
    {
        throw std::runtime_error("No GenTL producer found. Name one with --producer FILE, or set "
                                 "GENICAM_GENTL64_PATH to the folder that holds it.");
    }
    if (IsSet(pathVariable))
    {
        return {own, fmt::format("Takes {}, because {} leads to no producer", own, pathVariable)};
    }
    return {own, IsAnyProducerMeant() ? fmt::format("Takes {}, because {} is set", own, anyLowerVariable)
                                      : std::string()};
}

std::string LowerProducerFile(const std::string &file)
{
    return std::filesystem::path(file).filename() == proxyProducer ? LowerFileOf(file) : std::string();
}

std::string RawProducerFile(const std::string &file)
{
    const auto lower = LowerProducerVariable(file).empty() ? std::string() : LowerFileOf(file);
    return lower.empty() ? file : lower;
}

std::string LowerProducerVariable(const std::string &file)
{
    const auto name = std::filesystem::path(file).filename();
    return name == proxyProducer ? proxyLowerVariable : name == "qvr_anygentl.cti" ? anyLowerVariable : "";
}

std::string ProxyProducerFile()
{
    return BesideProgram({"qvr_proxygentl.cti", "qvr_proxygentl/qvr_proxygentl.cti"});
}

std::string AnyProducerFile()
{
    auto file = AnyProducerBesideProgram();
    if (file.empty())
    {
        throw std::runtime_error("qvr_anygentl.cti is not installed beside gentlctl; name a producer with "
                                 "--producer FILE");
    }
    return file;
}

std::string SimulatorFile()
{
    auto file = BesideProgram(
        {"producer_registry/qvr_gevgentl.pr_cti", "qvr_proxygentl/simulator/qvr_gevgentl.pr_cti"});
    if (file.empty())
    {
        throw std::runtime_error(
            "The simulator qvr_gevgentl.pr_cti is not installed beside gentlctl, and only "
            "it replays recordings");
    }
    return file;
}

} // namespace gentlctl
