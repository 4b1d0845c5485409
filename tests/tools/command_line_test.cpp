// The command line as a whole, and what is made from it.

#include "gentlctl/command_line.h"

#include "gentlctl/command_tree.h"
#include "gentlctl/completion_scripts.h"
#include "gentlctl/man_page.h"

#include "gentlctl_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

/// Calls `check` with each option and argument of each command, and the command's path.
template <typename Check>
void ForEachArgument(Check check)
{
    const CommandLine line;
    int count = 0;
    WalkCommands(line.App(),
                 [&](const CLI::App &command)
                 {
                     auto arguments = OptionsOf(command);
                     std::ranges::move(PositionalsOf(command), std::back_inserter(arguments));
                     for (const auto &argument : arguments)
                     {
                         check(argument, PathOf(command));
                         ++count;
                     }
                 });
    EXPECT_GT(count, 60);
}

std::string NameOf(const Argument &argument, const std::string &command)
{
    return command + " " + (argument.names.empty() ? argument.valueName : argument.names.back());
}

/// What a text has from `begin` up to `end`; empty when it lacks one of them.
std::string Between(const std::string &text, const std::string &begin, const std::string &end)
{
    const auto from = text.find(begin);
    const auto to = from == std::string::npos ? from : text.find(end, from + begin.size());
    return to == std::string::npos ? "" : text.substr(from, to - from);
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
    ForEachArgument(
        [](const Argument &argument, const std::string &command)
        {
            EXPECT_FALSE(argument.description.empty()) << NameOf(argument, command);
            EXPECT_FALSE(argument.description.ends_with('.')) << NameOf(argument, command);
        });
}

TEST(CommandLine, KnowsWhatTheValueOfAnOptionIs)
{
    std::map<std::string, Argument> arguments;
    ForEachArgument([&](const Argument &argument, const std::string &command)
                    { arguments[NameOf(argument, command)] = argument; });
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
    std::vector<std::string> without;
    for (const auto *command : CommandsOf(line.App()))
    {
        const auto help = command->help();
        const auto &name = command->get_name();
        const bool isShown =
            std::ranges::all_of(std::array{"--producer FILE", "--device DEVICE", "--json "},
                                [&](const char *option) { return help.find(option) != std::string::npos; });
        if (!isShown)
        {
            without.push_back(name);
        }
        if (name != "replay") // whose options are those of the command behind the folder
        {
            EXPECT_EQ(command->get_fallthrough(), isShown) << name;
        }
    }
    EXPECT_EQ(without, (std::vector<std::string>{"replay", "completion", "man"}));
}

TEST(ManPage, TellsAllOptions)
{
    const auto page = LineText(ManPage);
    ForEachArgument(
        [&](const Argument &argument, const std::string &command)
        {
            const auto section = Between(page, command.empty() ? ".SH OPTIONS" : ".SS " + command, "\n.S");
            for (const auto &option : argument.names)
            {
                const auto roff = "\\fB" + CLI::detail::find_and_replace(option, "-", "\\-") + "\\fR";
                EXPECT_NE(section.find(roff), std::string::npos) << NameOf(argument, command);
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
    const auto bashOptions = Between(LineText(BashCompletion), "_gentlctl_options()", "\n}\n");
    const auto zsh = LineText(ZshCompletion);
    ForEachArgument(
        [&](const Argument &argument, const std::string &command)
        {
            const auto words = Between(bashOptions, "    \"" + command + "\") echo \"", "\" ;;") + " ";
            const auto function =
                Between(zsh, command.empty() ? "\n_gentlctl()" : "\n_gentlctl_" + command + "()", "\n}\n");
            for (const auto &option : argument.names)
            {
                EXPECT_THAT(words, testing::ContainsRegex("[ \"]" + option + " "))
                    << NameOf(argument, command);
                EXPECT_THAT(function, testing::ContainsRegex("[*)]" + option + "[=+[]"))
                    << NameOf(argument, command);
            }
        });
}

TEST(CompletionScripts, ReachCommandsBelowCommands)
{
    CLI::App line("A program", "gentlctl");
    line.fallthrough();
    line.add_flag("--json")->description("Print JSON")->group(commonGroup);
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
