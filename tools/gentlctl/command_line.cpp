#include "gentlctl/command_line.h"

#include "consumer/similar_names.h"
#include "gentlctl/command_text.h"
#include "gentlctl/command_tree.h"
#include "gentlctl/commands.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
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

/// Shows the options of every command in the help of a command, too.
class Help final : public CLI::Formatter
{
public:
    std::string make_subcommands(const CLI::App *app, CLI::AppFormatMode mode) const override
    {
        const auto &line = LineOf(*app);
        auto text = CLI::Formatter::make_subcommands(app, mode);
        if (mode == CLI::AppFormatMode::Normal && app != &line && app->get_fallthrough())
        {
            text += make_group(
                commonGroup, false,
                line.get_options([](const auto *option) { return option->get_group() == commonGroup; }));
        }
        return text;
    }
};

/// Says that there is no such command, and what there is instead.
std::string WithoutCommand(const CLI::App &app, const std::vector<std::string> &unknown)
{
    if (!unknown.empty() && unknown[0].starts_with("-"))
    {
        return fmt::format("{} is no option of every command; those of one command stand behind it",
                           unknown[0]);
    }
    std::vector<std::string> commands;
    for (const auto *command : CommandsOf(app))
    {
        commands.push_back(command->get_name());
    }
    const auto similar = unknown.empty() ? commands : SimilarNames(commands, unknown[0]);
    return fmt::format("{}; there is {}",
                       unknown.empty() ? "A command is missing"
                                       : fmt::format("There is no command \"{}\"", unknown[0]),
                       fmt::join(similar.empty() ? commands : similar, ", "));
}

/// Says that a command has no such option, and which one was probably meant.
std::string WithoutOption(const CLI::App &command, const std::string &unknown)
{
    auto options = OptionsOf(command);
    std::ranges::copy(InheritedOptionsOf(command), std::back_inserter(options));
    std::vector<std::string> names;
    for (const auto &option : options)
    {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    const auto name = unknown.substr(0, unknown.find('='));
    if (std::ranges::find(names, name) != names.end())
    {
        return fmt::format("{} stands behind {}", name, command.get_name());
    }
    const auto similar = SimilarNames(names, name);
    return fmt::format("There is no option {}{}", unknown,
                       similar.empty() ? "" : fmt::format("; there is {}", fmt::join(similar, ", ")));
}

/// What is wrong behind the name of a command.
std::string WrongUse(const CLI::App &app, const CLI::App &command, const CLI::Error &error)
{
    const auto extras = app.remaining(true);
    const auto option = std::ranges::find_if(extras, [](const auto &text) { return text.starts_with("-"); });
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) && option != extras.end())
    {
        return WithoutOption(command, *option);
    }
    // The library counts the values, and names their type.
    const std::string_view reason = error.what();
    const auto nameEnd = reason.find(": 1 required ");
    return nameEnd != std::string_view::npos && reason.ends_with(" missing")
               ? fmt::format("{}: its value is missing", reason.substr(0, nameEnd))
               : std::string(reason);
}

/// Says in one line what is wrong with the command line, and which help to read.
std::string WrongUseText(const CLI::App *app, const CLI::Error &error)
{
    const auto chosen = app->get_subcommands();
    return fmt::format("{}: {} (see gentlctl {}--help)\n", programName,
                       chosen.empty() ? WithoutCommand(*app, app->remaining())
                                      : WrongUse(*app, *chosen[0], error),
                       chosen.empty() ? "" : chosen[0]->get_name() + " ");
}

} // namespace

CommandLine::CommandLine(CommonOptions defaults)
    : m_app(std::string(programDescription), std::string(programName)), m_commands(m_app, std::move(defaults))
{
    m_app.require_subcommand(1);
    m_app.failure_message(WrongUseText);
    m_app.fallthrough();
    m_app.formatter(std::make_shared<Help>());
    m_app.set_version_flag("--version", fmt::format("{} {}", programName, ProgramVersion()),
                           "Print the version and exit");
    for (const auto &declare : declarations)
    {
        declare(m_commands);
    }
    RefuseEmptyValues(m_app);
    // Behind the commands, which would inherit it.
    m_app.footer(ExitStatusText());
}

int CommandLine::Run(int argc, char **argv)
{
    try
    {
        m_app.parse(argc, argv);
        return m_commands.Status();
    }
    catch (const CLI::ParseError &error)
    {
        std::ostringstream help;
        const int code = m_app.exit(error, help, std::cerr);
        PrintText(help.str());
        return code == 0 ? success : wrongUsage;
    }
}

} // namespace gentlctl
