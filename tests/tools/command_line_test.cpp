// The command line as a whole, and what is made from it.

#include "gentlctl/command_line.h"

#include "gentlctl/command_tree.h"
#include "gentlctl/completion_scripts.h"
#include "gentlctl/man_page.h"

#include "gentlctl_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

/// Calls `check` with each option and argument of each command, and a name for it.
template <typename Check>
void ForEachArgument(Check check)
{
    const CommandLine line;
    WalkCommands(line.App(),
                 [&](const CLI::App &command)
                 {
                     auto arguments = OptionsOf(command);
                     std::ranges::move(PositionalsOf(command), std::back_inserter(arguments));
                     for (const auto &argument : arguments)
                     {
                         check(argument,
                               PathOf(command) + " " +
                                   (argument.names.empty() ? argument.valueName : argument.names.back()));
                     }
                 });
}

std::string LineText(std::string (*make)(const CLI::App &))
{
    const CommandLine line;
    return make(line.App());
}

TEST(CommandLine, ExplainsEachCommand)
{
    const CommandLine line;
    int commands = 0;
    WalkCommands(line.App(),
                 [&](const CLI::App &command)
                 {
                     EXPECT_FALSE(command.get_description().empty()) << PathOf(command);
                     ++commands;
                 });
    EXPECT_GT(commands, 10);
}

TEST(CommandLine, ExplainsEachOption)
{
    int count = 0;
    ForEachArgument(
        [&](const Argument &argument, const std::string &name)
        {
            EXPECT_FALSE(argument.description.empty()) << name;
            EXPECT_FALSE(argument.description.ends_with('.')) << name;
            ++count;
        });
    EXPECT_GT(count, 20);
}

TEST(CommandLine, KnowsWhatTheValueOfAnOptionIs)
{
    std::map<std::string, Argument> arguments;
    ForEachArgument([&](const Argument &argument, const std::string &name) { arguments[name] = argument; });
    EXPECT_EQ(arguments[" --json"].kind, ValueKind::None);
    EXPECT_EQ(arguments[" --producer"].kind, ValueKind::File);
    EXPECT_EQ(arguments[" --device"].kind, ValueKind::Device);
    EXPECT_EQ(arguments["grab --output"].kind, ValueKind::Folder);
    EXPECT_EQ(arguments["get --module"].kind, ValueKind::Choice);
    EXPECT_EQ(arguments["get --module"].choices.back(), "frame");
    EXPECT_EQ(arguments["get NAME"].kind, ValueKind::Text);
    EXPECT_TRUE(arguments["get NAME"].isRepeated);
    EXPECT_TRUE(arguments["set NAME[=VALUE]"].isRequired);
    EXPECT_TRUE(arguments["grab --view"].isValueOptional);
    EXPECT_EQ(arguments["completion SHELL"].choices, (std::vector<std::string>{"bash", "zsh"}));
}

TEST(CommandLine, ShowsTheOptionsOfEveryCommandInItsHelp)
{
    const CommandLine line;
    for (const auto *command : CommandsOf(line.App()))
    {
        if (command->get_name() == "replay") // whose options are those of the command behind the folder
        {
            continue;
        }
        EXPECT_EQ(command->help().find("--producer") != std::string::npos, command->get_fallthrough())
            << command->get_name();
    }
    EXPECT_NE(line.App().get_subcommand("get")->help().find("--device"), std::string::npos);
    EXPECT_EQ(line.App().get_subcommand("man")->help().find("--device"), std::string::npos);
}

TEST(ManPage, TellsAllOptions)
{
    const auto page = LineText(ManPage);
    ForEachArgument(
        [&](const Argument &argument, const std::string &name)
        {
            for (const auto &option : argument.names)
            {
                const auto roff = "\\fB" + CLI::detail::find_and_replace(option, "-", "\\-") + "\\fR";
                EXPECT_NE(page.find(roff), std::string::npos) << name;
            }
        });
}

TEST(ManPage, HasNothingToComplainAbout)
{
    const gentlctl_run::Folder folder;
    std::filesystem::create_directories(folder.Path());
    const auto file = (folder.Path() / "gentlctl.1").string();
    std::ofstream(file) << LineText(ManPage);
    for (const std::string command : {"mandoc -T lint ", "groff -ww -man -T utf8 "})
    {
        std::string said;
        auto *const pipe = popen((command + file + " 2>&1 >/dev/null").c_str(), "r");
        for (int character = fgetc(pipe); character != EOF; character = fgetc(pipe))
        {
            said.push_back(static_cast<char>(character));
        }
        EXPECT_EQ(pclose(pipe), 0) << command;
        EXPECT_EQ(said, "") << command;
    }
}

TEST(CompletionScripts, NameEachOptionOfEachCommand)
{
    const auto bash = LineText(BashCompletion);
    const auto zsh = LineText(ZshCompletion);
    ForEachArgument(
        [&](const Argument &argument, const std::string &name)
        {
            for (const auto &option : argument.names)
            {
                EXPECT_NE(bash.find(option), std::string::npos) << name;
                EXPECT_NE(zsh.find(option), std::string::npos) << name;
            }
        });
}

TEST(CompletionScripts, ReachCommandsBelowCommands)
{
    CLI::App line("A program", "gentlctl");
    line.fallthrough();
    line.add_flag("--json", "Print JSON")->group(commonGroup);
    auto *const save = line.add_subcommand("settings", "Settings")->add_subcommand("save", "Save them");
    std::string file;
    save->add_option("file", file, "Where to")->type_name("FILE")->required();
    EXPECT_EQ(PathOf(*save), "settings save");
    const auto bash = BashCompletion(line);
    EXPECT_NE(bash.find("\"settings\") echo \"save\" ;;"), std::string::npos) << bash;
    EXPECT_NE(bash.find("\"settings save|0\") echo \"file\" ;;"), std::string::npos) << bash;
    EXPECT_NE(bash.find("\"settings save\") echo \"--json\" ;;"), std::string::npos) << bash;
    const auto zsh = ZshCompletion(line);
    EXPECT_NE(zsh.find("save) _gentlctl_settings_save ;;"), std::string::npos) << zsh;
    EXPECT_NE(zsh.find("'1:FILE:_files'"), std::string::npos) << zsh;
    EXPECT_NE(ManPage(line).find(".SS settings save FILE\nSave them.\n"), std::string::npos) << ManPage(line);
}

} // namespace
} // namespace gentlctl
