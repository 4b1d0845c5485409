#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// The command line as data, from which completion and man page are made.
namespace gentlctl
{

/// What the value of an option or argument is.
enum class ValueKind
{
    None, ///< a flag takes none
    Text,
    Choice,
    File,
    Folder,
    Device,
};

/// An option, or an argument without a name.
struct Argument
{
    std::vector<std::string> names; ///< with their dashes; none for an argument
    ValueKind kind = ValueKind::None;
    std::string valueName;            ///< as in "FILE"
    std::vector<std::string> choices; ///< of ValueKind::Choice
    std::string defaultValue;         ///< empty: none, or none that is shown
    std::string description;
    bool isRequired = false;
    bool isRepeated = false;
    bool isValueOptional = false;
};

/// The whole command line that a command is part of.
const CLI::App &LineOf(const CLI::App &command);

/// The options that a command itself declares, without --help.
std::vector<Argument> OptionsOf(const CLI::App &command);
/// The options of every command, for a command that takes them.
std::vector<Argument> InheritedOptionsOf(const CLI::App &command);
/// The arguments without a name, in their order.
std::vector<Argument> PositionalsOf(const CLI::App &command);
std::vector<const CLI::App *> CommandsOf(const CLI::App &command);

/// The names of a command and those that it is part of, as in "settings save"; empty for the program.
std::string PathOf(const CLI::App &command);

/// Visits a command and all those below it, in the order of the help.
template <typename Visit>
void WalkCommands(const CLI::App &command, Visit visit)
{
    visit(command);
    for (const auto *below : CommandsOf(command))
    {
        WalkCommands(*below, visit);
    }
}

} // namespace gentlctl
