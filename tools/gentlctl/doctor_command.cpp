#include "gentlctl/commands.h"

#include "doctor/doctor.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

namespace gentlctl
{
namespace
{

/// The exit status when something hurts and nothing is broken.
constexpr int hurts = 3;

int StatusOf(Level worst)
{
    return worst == Level::Broken ? failed : worst == Level::WillHurt ? hurts : success;
}

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
    return StatusOf(WorstOf(findings));
}

} // namespace

void DeclareDoctor(Commands &commands)
{
    auto &command = commands.AddWithoutProducer(
        "doctor", "Look for what keeps cameras from working on this machine", Doctor);
    command.footer(
        "Exit status: 0 all is fine, 3 something will hurt, 1 something is broken. With --producer it "
        "looks at that producer, too.");
}

} // namespace gentlctl
