#include "gentlctl/command_tree.h"

#include "gentlctl/command.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>

namespace gentlctl
{
namespace
{

struct NamedKind
{
    std::string_view valueName;
    ValueKind kind;
};

/// The kinds of values, by their names in the help.
constexpr NamedKind namedKinds[] = {
    {"FILE", ValueKind::File},
    {"FOLDER", ValueKind::Folder},
    {"DEVICE", ValueKind::Device},
};

/// The values that CLI::IsMember lets pass: its description is the list in braces.
std::vector<std::string> ChoicesIn(const std::string &typeName)
{
    const auto begin = typeName.find('{');
    const auto end = typeName.find('}');
    return begin == std::string::npos || end == std::string::npos
               ? std::vector<std::string>()
               : CLI::detail::split(typeName.substr(begin + 1, end - begin - 1), ',');
}

ValueKind KindOf(const Argument &argument, const CLI::Option &option)
{
    if (option.get_expected_max() == 0 || option.get_type_size_max() == 0)
    {
        return ValueKind::None;
    }
    if (!argument.choices.empty())
    {
        return ValueKind::Choice;
    }
    const auto *const named = std::ranges::find(namedKinds, argument.valueName, &NamedKind::valueName);
    return named != std::end(namedKinds) ? named->kind : ValueKind::Text;
}

Argument ArgumentOf(const CLI::Option &option)
{
    Argument argument;
    for (const auto &name : option.get_snames())
    {
        argument.names.push_back("-" + name);
    }
    for (const auto &name : option.get_lnames())
    {
        argument.names.push_back("--" + name);
    }
    const auto typeName = option.get_type_name();
    argument.valueName = typeName.substr(0, typeName.find_first_of(":{ "));
    if (argument.valueName == "TEXT" || (argument.valueName.empty() && option.get_positional()))
    {
        argument.valueName = option.get_positional() ? option.get_name(true) : option.get_lnames().front();
        std::ranges::transform(argument.valueName, argument.valueName.begin(), toupper);
    }
    argument.choices = ChoicesIn(typeName);
    argument.kind = KindOf(argument, option);
    argument.defaultValue = option.get_default_str();
    argument.description = option.get_description();
    argument.isRequired = option.get_required();
    argument.isRepeated = option.get_expected_max() > 1;
    argument.isValueOptional = option.get_expected_min() == 0;
    return argument;
}

template <typename Condition>
std::vector<Argument> ArgumentsOf(const CLI::App &command, Condition condition)
{
    std::vector<Argument> arguments;
    for (const auto *option : command.get_options(condition))
    {
        arguments.push_back(ArgumentOf(*option));
    }
    return arguments;
}

} // namespace

std::vector<Argument> OptionsOf(const CLI::App &command)
{
    return ArgumentsOf(command,
                       [&](const CLI::Option *option) {
                           return option->nonpositional() && option != command.get_help_ptr() &&
                                  !option->get_group().empty();
                       });
}

const CLI::App &LineOf(const CLI::App &command)
{
    const auto *line = &command;
    while (line->get_parent() != nullptr)
    {
        line = line->get_parent();
    }
    return *line;
}

std::vector<Argument> InheritedOptionsOf(const CLI::App &command)
{
    return command.get_parent() == nullptr || !command.get_fallthrough()
               ? std::vector<Argument>()
               : ArgumentsOf(LineOf(command),
                             [](const CLI::Option *option) { return option->get_group() == commonGroup; });
}

std::vector<Argument> PositionalsOf(const CLI::App &command)
{
    return ArgumentsOf(command, [](const CLI::Option *option) { return option->get_positional(); });
}

std::vector<const CLI::App *> CommandsOf(const CLI::App &command)
{
    return command.get_subcommands([](const CLI::App *below) { return !below->get_group().empty(); });
}

std::string PathOf(const CLI::App &command)
{
    if (command.get_parent() == nullptr)
    {
        return "";
    }
    const auto above = PathOf(*command.get_parent());
    return above.empty() ? command.get_name() : above + " " + command.get_name();
}

} // namespace gentlctl
