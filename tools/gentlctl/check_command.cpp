#include "gentlctl/commands.h"

#include "check/producer_check.h"
#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <memory>
#include <string>

namespace gentlctl
{
namespace
{

int CheckFileOf(const CommonOptions &options, const std::string &file)
{
    const Examinee examinee{file.empty() ? FindProducerFile(options.producer) : file, options.device};
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
    const auto file = std::make_shared<std::string>();
    auto &command = commands.AddWithoutProducer(
        "check", "Check a producer against what consumers in the field need",
        [file](const CommonOptions &options) { return CheckFileOf(options, *file); });
    command.add_option("file", *file, "The producer's .cti; default: as for --producer")->type_name("FILE");
    command.footer(
        "Exit status: 0 nothing is broken, 1 something is. With -d it checks the way to that device.");
}

} // namespace gentlctl
