#include "gentlctl/command_line.h"

#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

constexpr void (*declarations[])(Commands &) = {
#define COMMAND(name) Declare##name,
#include "gentlctl/commands.inc"
#undef COMMAND
};

/// Says in one line what is wrong with the command line, and which help to read.
std::string FailureText(const CLI::App *app, const CLI::Error &error)
{
    const auto unknown = app->remaining();
    const auto chosen = app->get_subcommands();
    std::string what = error.what();
    if (chosen.empty())
    {
        std::vector<std::string> commands;
        for (const auto *command : app->get_subcommands([](const CLI::App *) { return true; }))
        {
            commands.push_back(command->get_name());
        }
        what = fmt::format("{}; there is {}",
                           unknown.empty() ? "A command is missing"
                                           : fmt::format("There is no command \"{}\"", unknown[0]),
                           fmt::join(commands, ", "));
    }
    return fmt::format("gentlctl: {} (see gentlctl {}--help)\n", what,
                       chosen.empty() ? "" : chosen[0]->get_name() + " ");
}

} // namespace

int RunCommandLine(int argc, char **argv)
{
    CLI::App app{"Works with the devices of any GenTL producer."};
    app.require_subcommand(1);
    app.failure_message(FailureText);
    app.fallthrough();
    app.footer("Exit status: 0 done, 1 failed (the reason is on standard error), 2 wrong usage, "
               "130 or 143 ended by SIGINT or SIGTERM.");
    Commands commands(app);
    for (const auto &declare : declarations)
    {
        declare(commands);
    }
    try
    {
        app.parse(argc, argv);
        return commands.Status();
    }
    catch (const CLI::ParseError &error)
    {
        std::ostringstream help;
        const int code = app.exit(error, help, std::cerr);
        PrintText(help.str());
        return code == 0 ? success : wrongUsage;
    }
}

} // namespace gentlctl
