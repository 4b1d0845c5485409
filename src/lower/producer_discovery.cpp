#include "lower/producer_discovery.h"

#include "utils/environment.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace GenTL::internal
{

namespace
{

namespace fs = std::filesystem;

constexpr std::string_view wantedName = "qvr_gevgentl.pr_cti";

bool EqualIgnoringCase(char a, char b)
{
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part)
{
    return std::search(text.begin(), text.end(), part.begin(), part.end(), EqualIgnoringCase) != text.end();
}

std::string FindByName(const fs::path &folder)
{
    std::error_code error;
    const auto candidate = folder / wantedName;
    return fs::is_regular_file(fs::status(candidate, error)) ? candidate.string() : std::string();
}

// Finds a renamed copy: its name contains the wanted name and ends in ".cti". The wanted name itself ends in
// ".pr_cti", so no file is found by both searches.
std::string FindByPart(const fs::path &folder)
{
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error)
    {
        return {};
    }
    for (const auto end = fs::directory_iterator(); entries != end; ++entries)
    {
        const auto &path = entries->path();
        if (path.extension() == ".cti" && ContainsIgnoringCase(path.filename().string(), wantedName))
        {
            return path.string();
        }
    }
    return {};
}

} // namespace

std::string ProducerFolder(const std::string &libraryPath)
{
    return (fs::path(libraryPath).parent_path() / "producer_registry").string();
}

std::string FindProducerIn(const std::string &folder)
{
    std::error_code error;
    if (!fs::is_directory(fs::status(folder, error)))
    {
        return {};
    }
    const auto found = FindByName(folder);
    return found.empty() ? FindByPart(folder) : found;
}

std::string FindProducer(int32_t tlType, const Identity &identity, const FailureTexts &texts)
{
    const std::string variable(identity.lowerPathVariable);
    if (auto configured = utils::GetEnvironmentVariable(variable); !configured.empty())
    {
        return configured;
    }
    if (tlType != gigeVision)
    {
        throw std::logic_error("Unhandled TlType");
    }
    const auto folder = ProducerFolder(utils::GetOwnPath());
    auto found = FindProducerIn(folder);
    if (found.empty())
    {
        QVR_LOG_FOR("Library::Initialize", spdlog::level::debug, "{} is not set, and {} holds no {}",
                    variable, folder, wantedName);
        throw GenTLException(fmt::format(fmt::runtime(texts.noLowerProducer), variable, folder),
                             GC_ERR_ERROR);
    }
    return found;
}

} // namespace GenTL::internal
