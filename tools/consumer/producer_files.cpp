#include "consumer/producer_files.h"

#include "lower/producer_discovery.h"
#include "utils/environment.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

using namespace GenTL;

namespace fs = std::filesystem;

namespace
{

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
        return {entry};
    }
    std::vector<std::string> files;
    std::error_code ignored;
    for (const auto &found : fs::directory_iterator(entry, ignored))
    {
        if (isProducer(found.path()))
        {
            files.push_back(found.path().string());
        }
    }
    std::ranges::sort(files);
    return files;
}

} // namespace

std::filesystem::path LibraryFolder()
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / QVR_INSTALL_LIBDIR;
}

std::vector<std::string> ProducersInPath()
{
    std::vector<std::string> files;
    std::istringstream entries(internal::utils::GetEnvironmentVariable("GENICAM_GENTL64_PATH"));
    for (std::string entry; std::getline(entries, entry, ':');)
    {
        const auto found = ProducersAt(entry);
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

std::vector<std::string> KnownProducers()
{
    std::vector<std::string> files;
    std::error_code ignored;
    // Its place in a build, then its place in an installation.
    for (const auto *ours : {"qvr_proxygentl.cti", "qvr_proxygentl/qvr_proxygentl.cti"})
    {
        if (const auto file = LibraryFolder() / ours; files.empty() && fs::is_regular_file(file, ignored))
        {
            files.push_back(file.string());
        }
    }
    for (const auto &file : ProducersInPath())
    {
        const auto isSame = [&](const std::string &known) { return fs::equivalent(known, file, ignored); };
        if (std::ranges::none_of(files, isSame))
        {
            files.push_back(file);
        }
    }
    return files;
}

std::string FindProducerFile(const std::string &argument)
{
    if (!argument.empty())
    {
        return argument;
    }
    const auto known = KnownProducers();
    if (known.empty())
    {
        throw std::runtime_error("No GenTL producer found. Name one with --producer FILE, or set "
                                 "GENICAM_GENTL64_PATH to the folder that holds it.");
    }
    return known.front();
}

std::string LowerProducerFile(const std::string &file)
{
    if (std::filesystem::path(file).filename() != "qvr_proxygentl.cti")
    {
        return {};
    }
    auto configured = internal::utils::GetEnvironmentVariable("PROXY_TL_CTI_PATH");
    return !configured.empty() ? configured : internal::FindProducerIn(internal::ProducerFolder(file));
}

} // namespace gentlctl
