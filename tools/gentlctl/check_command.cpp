#include "gentlctl/commands.h"

#include "check/producer_check.h"
#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

/// The arguments of the command.
struct CheckOptions
{
    std::string file;
    std::string area;
};

int CheckOne(const CommonOptions &options, const CheckOptions &own)
{
    Examinee examinee{own.file.empty() ? ProducerFor(options.producer) : ProducerAt(own.file), options.device,
                      own.area};
    if (!std::filesystem::exists(examinee.file))
    {
        throw std::runtime_error(fmt::format("There is no file {}", examinee.file));
    }
    if (!examinee.device.empty())
    {
        examinee.device = DeviceToCheck(examinee);
    }
    const auto findings = CheckProducer(examinee);
    if (options.json)
    {
        Json report{{"file", examinee.file}};
        report.update(ReportJson(findings));
        PrintJson(report);
    }
    else
    {
        Print("{}\n\n{}", examinee.file, ReportText(findings));
    }
    return WorstOf(findings) == Level::Broken ? failed : success;
}

} // namespace

void DeclareCheck(Commands &commands)
{
    const auto own = std::make_shared<CheckOptions>();
    auto &command =
        commands.AddWithoutProducer("check", "Check a producer against what consumers in the field need",
                                    [own](const CommonOptions &options) { return CheckOne(options, *own); });
    command.add_option("file", own->file, "The producer's .cti; default: as for --producer")
        ->type_name("FILE");
    command.add_option("--area", own->area, "Check this area only")->check(CLI::IsMember(CheckAreas()));
    command.footer(
        "Exit status: 0 nothing is broken, 1 something is. With -d it checks the way to that device.");
}

} // namespace gentlctl
