#include "doctor/own_producers.h"
#include "findings/elf_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;

constexpr auto visionArea = "vision library";
constexpr auto visionFile = "libqvr_tarn_cvl.so";

constexpr std::string_view visionFunctions[] = {
#define CVL_CALLED(name) std::string_view("tarn_cvl_" #name),
#define CVL_OTHER(name) std::string_view("tarn_cvl_" #name),
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
};

/// The library in the folders that the producer's own file names; empty when it is in none.
fs::path InRunPath(const fs::path &producer)
{
    const auto elf = ReadElfFile(producer);
    std::string rest = elf ? elf->runPath : "";
    while (!rest.empty())
    {
        const auto end = std::min(rest.find(':'), rest.size());
        auto folder = rest.substr(0, end);
        rest.erase(0, std::min(end + 1, rest.size()));
        constexpr std::string_view origin = "$ORIGIN";
        if (const auto place = folder.find(origin); place != std::string::npos)
        {
            folder.replace(place, origin.size(), producer.parent_path().string());
        }
        std::error_code ignored;
        if (const auto file = fs::path(folder) / visionFile; fs::exists(file, ignored))
        {
            return file.lexically_normal();
        }
    }
    return {};
}

/// The first function that a copy of the library lacks; empty when it is whole.
std::string_view MissingFunction(const fs::path &library)
{
    const auto elf = ReadElfFile(library);
    for (const auto name : visionFunctions)
    {
        if (!elf || std::ranges::find(elf->exports, name) == elf->exports.end())
        {
            return name;
        }
    }
    return {};
}

Finding ProbeFor(const Surroundings &surroundings, const fs::path &producer, const OwnProducer &own)
{
    Finding finding{Level::Fine, visionArea, producer.filename().string(), "", "", ""};
    const auto beside = InRunPath(producer);
    const auto reason = beside.empty() ? surroundings.whyNotFound(visionFile) : std::nullopt;
    const auto missing = beside.empty() ? std::string_view() : MissingFunction(beside);
    if (reason || !missing.empty())
    {
        finding.level = own.needsVisionLibrary ? Level::Broken : Level::WillHurt;
        finding.hurts =
            own.needsVisionLibrary ? "GCInitLib fails" : "only formats that the camera sends are offered";
    }
    if (reason)
    {
        finding.text = *reason;
        finding.cure = fmt::format("put {} beside the producer, or export LD_LIBRARY_PATH={}", visionFile,
                                   surroundings.libraryFolder.string());
        return finding;
    }
    finding.text = missing.empty()
                       ? fmt::format("is found: {}", beside.empty() ? visionFile : beside.string())
                       : fmt::format("{} lacks {}", beside.string(), missing);
    finding.cure = missing.empty() ? "" : "install the library of the producer's version";
    return finding;
}

} // namespace

Findings ProbeVisionLibrary(const Surroundings &surroundings)
{
    return ProbeOwnProducers(surroundings, [&](const fs::path &file, const OwnProducer &producer)
                             { return ProbeFor(surroundings, file, producer); });
}

} // namespace gentlctl
