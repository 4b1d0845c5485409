#include "consumer/producer_files.h"

#include "lower/producer_discovery.h"
#include "utils/environment.h"

#include <sstream>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

using namespace GenTL;

std::filesystem::path LibraryFolder()
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / QVR_INSTALL_LIBDIR;
}

std::string FindProducerFile(const std::string &argument)
{
    namespace fs = std::filesystem;
    if (!argument.empty())
    {
        return argument;
    }
    std::error_code ignored;
    // Its place in a build, then its place in an installation.
    for (const auto *ours : {"qvr_proxygentl.cti", "qvr_proxygentl/qvr_proxygentl.cti"})
    {
        if (const auto file = LibraryFolder() / ours; fs::is_regular_file(file, ignored))
        {
            return file.string();
        }
    }
    std::istringstream folders(internal::utils::GetEnvironmentVariable("GENICAM_GENTL64_PATH"));
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        for (const auto &entry : fs::directory_iterator(folder, ignored))
        {
            if (entry.path().extension() == ".cti")
            {
                return entry.path().string();
            }
        }
    }
    throw std::runtime_error("No GenTL producer found. Name one with --producer FILE, or set "
                             "GENICAM_GENTL64_PATH to the folder that holds it.");
}

std::string LowerProducerFile(const std::string &file)
{
    return std::filesystem::path(file).filename() == "qvr_proxygentl.cti" ? LoadedByProxy(file)
                                                                          : std::string();
}

std::string LoadedByProxy(const std::string &file)
{
    const auto name = std::filesystem::path(file).filename();
    if (name != "qvr_proxygentl.cti" && name != "qvr_anygentl.cti")
    {
        return {};
    }
    auto configured = internal::utils::GetEnvironmentVariable("PROXY_TL_CTI_PATH");
    return !configured.empty() ? configured : internal::FindProducerIn(internal::ProducerFolder(file));
}

} // namespace gentlctl
