#pragma once

#include "gentlctl/command.h"

#include <CLI/CLI.hpp>

namespace gentlctl
{

/// The command line of the program: its options and all of its commands.
class CommandLine
{
public:
    /// @param defaults what the options of every command are where the line does not name them
    explicit CommandLine(CommonOptions defaults = {});

    const CLI::App &App() const { return m_app; }

    /// Parses the command line and runs its command. Prints help, and says on standard error what is wrong.
    /// @return the exit status
    /// @throws std::exception the command cannot answer
    int Run(int argc, char **argv);

private:
    CLI::App m_app;
    Commands m_commands;
};

} // namespace gentlctl
