#include "gentlctl/commands.h"

#include "doctor/doctor.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

namespace gentlctl
{
namespace
{

int Doctor(const CommonOptions &options)
{
    const auto findings = Examine(OwnSurroundings(options.producer));
    if (options.json)
    {
        PrintJson(ReportJson(findings));
    }
    else
    {
        Print("{}", ReportText(findings));
    }
    return ExitStatusOf(findings);
}

} // namespace

void DeclareDoctor(Commands &commands)
{
    auto &command = commands.AddWithoutProducer(
        "doctor", "Look for what keeps cameras from working on this machine", Doctor);
    command.footer(
        "Exit status: 0 nothing is wrong, 3 something will hurt, 1 something is broken. With --producer it "
        "looks at that producer, too.");
}

} // namespace gentlctl
