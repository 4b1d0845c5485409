#include "gentlctl/completion_scripts.h"

#include "gentlctl/command_tree.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace gentlctl
{
namespace
{

// The devices' ids are what `list` prints behind four spaces.

constexpr std::string_view bashEngine = R"sh(
# Prints the ids of the devices: those of the producer that is named, if one is.
_gentlctl_devices()
{
    "$1" list ${2:+--producer "${2/#\~/$HOME}"} 2> /dev/null | sed -n 's/^    \([^ ][^ ]*\) .*/\1/p'
}

_gentlctl()
{
    local current=${COMP_WORDS[COMP_CWORD]} path="" value="" argument=0 word i option="" producer=""
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == "=" ]]; then
            continue # bash splits --option=value into three words
        elif [[ -n $value ]]; then
            value=""
            [[ $option != --producer ]] || producer=$word
        elif [[ $word == -* ]]; then
            option=$word
            value=$(_gentlctl_value "$path|$word")
        elif [[ " $(_gentlctl_commands "$path") " == *" $word "* ]]; then
            path=${path:+$path }$word
        else
            ((++argument))
        fi
    done
    [[ $current != "=" ]] || current=""
    if [[ -z $value && $current == -* ]]; then
        value="words $(_gentlctl_options "$path") --help"
    elif [[ -z $value ]]; then
        word=$(_gentlctl_commands "$path")
        value=${word:+words $word}
        value=${value:-$(_gentlctl_value "$path|$argument")}
    fi
    case $value in
    "words "*) mapfile -t COMPREPLY < <(compgen -W "${value#words }" -- "$current") ;;
    device) mapfile -t COMPREPLY < <(compgen -W "$(_gentlctl_devices "$1" "$producer")" -- "$current") ;;
    file | folder)
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -A "${value/folder/directory}" -- "$current")
        ;;
    *) COMPREPLY=() ;;
    esac
}

complete -F _gentlctl gentlctl
)sh";

constexpr std::string_view zshDevices = R"sh(
_gentlctl_devices()
{
    local -a devices producer
    local line=${LBUFFER##*gentlctl } i
    for i in ${(z)line}; do
        case $i in
        --producer=*) producer=(--producer ${~${(Q)i#*=}}) ;;
        --producer) producer=($i) ;;
        *) ((${#producer} == 1)) && producer+=(${~${(Q)i}}) ;;
        esac
    done
    devices=(${(f)"$(gentlctl list $producer 2> /dev/null | sed -n 's/^    \([^ ][^ ]*\) .*/\1/p')"})
    compadd -a devices
}
)sh";

constexpr std::string_view zshEnd = R"sh(
if [[ $funcstack[1] == _gentlctl ]]; then
    _gentlctl "$@"
else
    compdef _gentlctl gentlctl
fi
)sh";

/// What the function _gentlctl_value of the script prints for a value.
std::string BashValue(const Argument &argument)
{
    switch (argument.kind)
    {
    case ValueKind::Choice:
        return fmt::format("words {}", fmt::join(argument.choices, " "));
    case ValueKind::File:
        return "file";
    case ValueKind::Folder:
        return "folder";
    case ValueKind::Device:
        return "device";
    default:
        return "text";
    }
}

/// A shell function that prints the text of the first pattern that its argument matches.
std::string BashTable(std::string_view name, const std::string &rows)
{
    return fmt::format("\n{}()\n{{\n    case $1 in\n{}    esac\n}}\n", name, rows);
}

std::string BashRow(const std::string &pattern, const std::string &text)
{
    return fmt::format("    {}) echo \"{}\" ;;\n", pattern, text);
}

std::vector<std::string> NamesOf(const std::vector<Argument> &arguments)
{
    std::vector<std::string> names;
    for (const auto &argument : arguments)
    {
        names.insert(names.end(), argument.names.begin(), argument.names.end());
    }
    return names;
}

std::vector<Argument> AllOptionsOf(const CLI::App &command)
{
    auto options = OptionsOf(command);
    const auto inherited = InheritedOptionsOf(command);
    options.insert(options.end(), inherited.begin(), inherited.end());
    return options;
}

/// The rows of _gentlctl_value: of options by name, of other arguments by number.
std::string BashValueRows(const CLI::App &command)
{
    const auto path = PathOf(command);
    std::string rows;
    for (const auto &option : AllOptionsOf(command))
    {
        for (const auto &name : option.names)
        {
            if (option.kind != ValueKind::None && !option.isValueOptional)
            {
                rows += BashRow(fmt::format("\"{}|{}\"", path, name), BashValue(option));
            }
        }
    }
    size_t number = 0;
    for (const auto &positional : PositionalsOf(command))
    {
        rows += BashRow(positional.isRepeated ? fmt::format("\"{}|\"[0-9]*", path)
                                              : fmt::format("\"{}|{}\"", path, number++),
                        BashValue(positional));
    }
    return rows;
}

/// A text between single quotes.
std::string Quoted(const std::string &text)
{
    return "'" + CLI::detail::find_and_replace(text, "'", "'\\''") + "'";
}

/// A text that stands in brackets or between colons of a parameter of _arguments.
std::string ZshText(const std::string &text)
{
    std::string escaped;
    for (const char character : text)
    {
        escaped += std::string_view("[]:\\").find(character) == std::string_view::npos ? "" : "\\";
        escaped += character;
    }
    return escaped;
}

/// What completes a value.
std::string ZshAction(const Argument &argument)
{
    switch (argument.kind)
    {
    case ValueKind::Choice:
        return fmt::format("({})", fmt::join(argument.choices, " "));
    case ValueKind::File:
        return "_files";
    case ValueKind::Folder:
        return "_files -/";
    case ValueKind::Device:
        return "_gentlctl_devices";
    default:
        return " ";
    }
}

std::string ZshValue(const Argument &argument, bool isOptional)
{
    return fmt::format("{}{}:{}", isOptional ? "::" : ":", ZshText(argument.valueName), ZshAction(argument));
}

/// What _arguments is told of an option, once for each of its names.
std::string ZshOption(const Argument &option)
{
    const auto excludes =
        option.isRepeated ? std::string("*") : fmt::format("({})", fmt::join(option.names, " "));
    std::string lines;
    for (const auto &name : option.names)
    {
        const auto takesValue = option.kind != ValueKind::None;
        const auto *const joined = !takesValue ? "" : name.starts_with("--") ? "=" : "+";
        lines += fmt::format(
            " \\\n        {}",
            Quoted(fmt::format("{}{}{}[{}]{}", excludes, name, joined, ZshText(option.description),
                               takesValue ? ZshValue(option, option.isValueOptional) : "")));
    }
    return lines;
}

std::string ZshArguments(const CLI::App &command)
{
    std::string lines = " \\\n        '(- *)'{-h,--help}'[Print help and exit]'";
    for (const auto &option : AllOptionsOf(command))
    {
        lines += ZshOption(option);
    }
    size_t number = 0;
    for (const auto &positional : PositionalsOf(command))
    {
        const auto place = positional.isRepeated ? "*" : std::to_string(++number);
        lines += fmt::format(" \\\n        {}",
                             Quoted(place + ZshValue(positional, !positional.isRequired && place != "*")));
    }
    return lines;
}

std::string ZshFunctionName(const CLI::App &command)
{
    const auto path = PathOf(command);
    return path.empty() ? "_gentlctl" : "_gentlctl_" + CLI::detail::find_and_replace(path, " ", "_");
}

/// The function that completes a command that has commands below it.
std::string ZshGroup(const CLI::App &command)
{
    std::string names;
    std::string calls;
    for (const auto *below : CommandsOf(command))
    {
        names += fmt::format("\n            {}",
                             Quoted(below->get_name() + ":" + ZshText(below->get_description())));
        calls += fmt::format("\n        {}) {} ;;", below->get_name(), ZshFunctionName(*below));
    }
    return fmt::format(R"sh(
{}()
{{
    local curcontext=$curcontext context state state_descr line
    local -a commands
    typeset -A opt_args
    _arguments -C -A '-*'{} \
        '1: :->command' \
        '*:: :->below'
    case $state in
    command)
        commands=({})
        _describe command commands
        ;;
    below)
        case $words[1] in{}
        esac
        ;;
    esac
}}
)sh",
                       ZshFunctionName(command), ZshArguments(command), names, calls);
}

std::string ZshFunction(const CLI::App &command)
{
    return !CommandsOf(command).empty() ? ZshGroup(command)
                                        : fmt::format("\n{}()\n{{\n    _arguments{}\n}}\n",
                                                      ZshFunctionName(command), ZshArguments(command));
}

} // namespace

std::string BashCompletion(const CLI::App &line)
{
    std::string commands;
    std::string options;
    std::string values;
    WalkCommands(line,
                 [&](const CLI::App &command)
                 {
                     const auto pattern = "\"" + PathOf(command) + "\"";
                     std::vector<std::string> below;
                     for (const auto *one : CommandsOf(command))
                     {
                         below.push_back(one->get_name());
                     }
                     commands += below.empty() ? "" : BashRow(pattern, fmt::to_string(fmt::join(below, " ")));
                     const auto names = NamesOf(AllOptionsOf(command));
                     options += BashRow(pattern, fmt::to_string(fmt::join(names, " ")));
                     values += BashValueRows(command);
                 });
    return "# Completes the command line of gentlctl in bash.\n" + BashTable("_gentlctl_commands", commands) +
           BashTable("_gentlctl_options", options) + BashTable("_gentlctl_value", values) +
           std::string(bashEngine);
}

std::string ZshCompletion(const CLI::App &line)
{
    auto script = std::string("#compdef gentlctl\n") + std::string(zshDevices);
    WalkCommands(line, [&](const CLI::App &command) { script += ZshFunction(command); });
    return script + std::string(zshEnd);
}

} // namespace gentlctl
