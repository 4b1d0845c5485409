#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/man_page.h"
#include "gentlctl/standard_output.h"

namespace gentlctl
{

void DeclareMan(Commands &commands)
{
    auto &command = commands.AddOwn("man", "Print the manual page, in roff",
                                    [&commands]
                                    {
                                        PrintText(ManPage(commands.Line()));
                                        return success;
                                    });
    command.footer("  gentlctl man | man -l -");
}

} // namespace gentlctl
