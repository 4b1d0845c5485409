#include "doctor/own_producers.h"
#include "findings/elf_file.h"
#include "lower/producer_discovery.h"

#include <fmt/format.h>

#include <system_error>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;

constexpr auto lowerArea = "lower producer";

Finding LowerFinding(Level level, const fs::path &file, const std::string &text, const std::string &cure)
{
    return {level, lowerArea, file.filename().string(), text, "", cure};
}

/// Where a lower producer was named.
struct LowerFile
{
    fs::path file;
    std::string origin; ///< "PROXY_TL_CTI_PATH" or a folder
};

LowerFile LowerFileOf(const Surroundings &surroundings, const fs::path &file, const OwnProducer &producer)
{
    const std::string name(producer.lowerVariable);
    if (const auto named = surroundings.Variable(name); named && !named->empty())
    {
        return {*named, name};
    }
    const auto folder = GenTL::internal::ProducerFolder(file.string());
    return {GenTL::internal::FindProducerIn(folder), folder};
}

} // namespace

Finding ProbeLower(const Surroundings &surroundings, const fs::path &file, const OwnProducer &producer)
{
    const auto lower = LowerFileOf(surroundings, file, producer);
    std::error_code ignored;
    const auto cure = fmt::format("export {}=/path/to/the/camera/maker's.cti", producer.lowerVariable);
    if (lower.file.empty())
    {
        return LowerFinding(
            Level::Broken, file,
            fmt::format("{} is not set, and {} has none", producer.lowerVariable, lower.origin), cure);
    }
    const auto named = fmt::format("{} (from {})", lower.file.string(), lower.origin);
    if (!fs::is_regular_file(lower.file, ignored))
    {
        return LowerFinding(
            Level::Broken, file,
            fmt::format("{} {}", named,
                        fs::is_directory(lower.file, ignored) ? "is a folder" : "does not exist"),
            cure + ", the file and not its folder");
    }
    if (fs::equivalent(lower.file, file, ignored) || lower.file.filename() == file.filename())
    {
        return LowerFinding(Level::Broken, file, fmt::format("{} is this producer itself", named), cure);
    }
    if (OwnProducerOf(lower.file) != nullptr)
    {
        return LowerFinding(
            Level::WillHurt, file,
            fmt::format("{} is one of these producers, too: images are worked on twice", named), cure);
    }
    const auto elf = ReadElfFile(lower.file);
    if (!elf || !elf->isOfThisMachine)
    {
        return LowerFinding(Level::Broken, file, fmt::format("{} is no library for this machine", named),
                            cure);
    }
    return LowerFinding(Level::Fine, file, fmt::format("takes {}", named), "");
}

Findings ProbeLowerProducers(const Surroundings &surroundings)
{
    return ProbeOwnProducers(surroundings, [&](const fs::path &file, const OwnProducer &producer)
                             { return ProbeLower(surroundings, file, producer); });
}

} // namespace gentlctl
