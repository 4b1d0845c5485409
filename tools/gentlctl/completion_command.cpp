#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/completion_scripts.h"
#include "gentlctl/standard_output.h"

#include <memory>
#include <string>

namespace gentlctl
{

void DeclareCompletion(Commands &commands)
{
    const auto shell = std::make_shared<std::string>();
    auto &command = commands.AddOwn("completion", "Print a script that completes gentlctl's command line",
                                    [&commands, shell]
                                    {
                                        PrintText(*shell == "bash" ? BashCompletion(commands.Line())
                                                                   : ZshCompletion(commands.Line()));
                                        return success;
                                    });
    command.add_option("shell", *shell, "Shell that reads the script")
        ->check(CLI::IsMember({"bash", "zsh"}))
        ->required();
    command.footer(
        "bash: put this line into ~/.bashrc. zsh: write the script to a file _gentlctl in a folder of "
        "fpath.\n\n"
        "  source <(gentlctl completion bash)\n"
        "  gentlctl completion zsh > ~/.zfunc/_gentlctl");
}

} // namespace gentlctl
