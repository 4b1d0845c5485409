#include "consumer/producer_files.h"

#include "lower/producer_discovery.h"
#include "utils/environment.h"

#include <dlfcn.h>

#include <sstream>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr auto proxyProducer = "qvr_proxygentl.cti";

/// The lower producer that a producer of this project would load.
std::string LowerFileOf(const std::string &file)
{
    auto configured = internal::utils::GetEnvironmentVariable(LowerProducerVariable(file).c_str());
    return !configured.empty() ? configured : internal::FindProducerIn(internal::ProducerFolder(file));
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
    return name == proxyProducer        ? "PROXY_TL_CTI_PATH"
           : name == "qvr_anygentl.cti" ? "ANYGENTL_CTI_PATH"
                                        : "";
}

std::string SimulatorFile()
{
    // Its place in a build, then its place in an installation.
    for (const auto *place : {"producer_registry", "qvr_proxygentl/simulator"})
    {
        const auto file = LibraryFolder() / place / "qvr_gevgentl.pr_cti";
        std::error_code ignored;
        if (std::filesystem::is_regular_file(file, ignored))
        {
            return file.string();
        }
    }
    throw std::runtime_error(
        "The simulator qvr_gevgentl.pr_cti is not installed beside gentlctl, and only it "
        "replays recordings");
}

} // namespace gentlctl
