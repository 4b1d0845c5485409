#include "gentlctl/man_page.h"

#include "gentlctl/command.h"
#include "gentlctl/command_text.h"
#include "gentlctl/command_tree.h"

#include <fmt/format.h>

#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{
namespace
{

/// A text as roff prints it.
std::string Roff(std::string_view text)
{
    std::string escaped;
    for (const char character : text)
    {
        // A line that begins with a full stop or an apostrophe would be a request to roff.
        const bool isRequest = escaped.empty() && (character == '.' || character == '\'');
        escaped += isRequest ? "\\&" : "";
        escaped += character == '\\' ? "\\e" : character == '-' ? "\\-" : std::string(1, character);
    }
    return escaped;
}

/// A text in lines that fit the page.
/// @param end of each line but the last
std::string Wrapped(const std::string &text, std::string_view end)
{
    constexpr size_t longest = 70; // of 80, with room for escapes
    std::string lines;
    std::string line;
    for (const auto &word : CLI::detail::split(text, ' '))
    {
        if (!line.empty() && line.size() + 1 + word.size() > longest)
        {
            lines += Roff(line) + std::string(end);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return lines + Roff(line) + "\n";
}

std::string Text(std::string_view text)
{
    return Wrapped(std::string(text), "\n");
}

/// A command line, which stays one line for the reader.
std::string Code(const std::string &line)
{
    return Wrapped(line, " \\\n");
}

std::string Bold(std::string_view text)
{
    return fmt::format("\\fB{}\\fR", Roff(text));
}

std::string Italic(std::string_view text)
{
    return fmt::format("\\fI{}\\fR", Roff(text));
}

std::string Section(std::string_view name)
{
    return fmt::format(".SH {}\n", name);
}

std::string Item(const std::string &term, std::string_view meaning)
{
    return fmt::format(".TP\n{}\n{}", term, Text(meaning));
}

std::string Items(std::span<const Explanation> explanations)
{
    std::string items;
    for (const auto &[term, meaning] : explanations)
    {
        items += Item(Bold(term), meaning);
    }
    return items;
}

/// Names and value of an option: "-d, --device DEVICE".
std::string TermOf(const Argument &argument)
{
    std::string term;
    for (const auto &name : argument.names)
    {
        term += (term.empty() ? "" : ", ") + Bold(name);
    }
    const auto value = Italic(argument.valueName);
    if (argument.kind == ValueKind::None)
    {
        return term;
    }
    return term.empty()
               ? value
               : fmt::format("{}{}", term, argument.isValueOptional ? "[=" + value + "]" : " " + value);
}

std::string MeaningOf(const Argument &argument)
{
    auto meaning = argument.description;
    if (!argument.choices.empty())
    {
        meaning += fmt::format(": {}", CLI::detail::join(argument.choices, ", "));
    }
    if (!argument.defaultValue.empty())
    {
        meaning += fmt::format(" (default: {})", argument.defaultValue);
    }
    return meaning + ".";
}

std::string ArgumentItems(const std::vector<Argument> &arguments)
{
    std::string items;
    for (const auto &argument : arguments)
    {
        items += Item(TermOf(argument), MeaningOf(argument));
    }
    return items;
}

/// A text in which lines that begin with spaces stay as they are: command lines.
std::string Paragraphs(const std::string &text)
{
    std::string roff;
    bool isCode = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        const bool isNowCode = line.starts_with("  ");
        if (isNowCode != isCode)
        {
            roff += isNowCode ? ".PP\n.RS 4\n.nf\n" : ".fi\n.RE\n";
        }
        isCode = isNowCode;
        const auto begin = line.find_first_not_of(' ');
        if (begin != std::string::npos)
        {
            roff += isCode ? Code(line.substr(begin)) : ".PP\n" + Text(line);
        }
    }
    return roff + (isCode ? ".fi\n.RE\n" : "");
}

std::string UsageOf(const CLI::App &command)
{
    auto usage = Roff(PathOf(command));
    usage += OptionsOf(command).empty() ? "" : " [option ...]";
    for (const auto &positional : PositionalsOf(command))
    {
        const auto value = Roff(positional.valueName) + (positional.isRepeated ? " ..." : "");
        usage += positional.isRequired ? " " + value : " [" + value + "]";
    }
    return usage;
}

std::string CommandSection(const CLI::App &command)
{
    return fmt::format(".SS {}\n", UsageOf(command)) + Text(command.get_description() + ".") +
           ArgumentItems(PositionalsOf(command)) + ArgumentItems(OptionsOf(command)) +
           Paragraphs(command.get_footer());
}

} // namespace

std::string ManPage(const CLI::App &line)
{
    auto page = fmt::format(".TH GENTLCTL 1 \"{}\" \"{} {}\" \"User Commands\"\n", ReleaseDate(), programName,
                            ProgramVersion()) +
                Section("NAME") + fmt::format("{} \\- {}\n", programName, Roff(programPurpose)) +
                Section("SYNOPSIS") +
                fmt::format("{} [{} ...] {} [{} ...]\n", Bold(programName), Italic("option"),
                            Italic("command"), Italic("argument")) +
                Section("DESCRIPTION") + Text(programDescription) + Section("OPTIONS") +
                Text("These options may come before or after the command. --help after a command "
                     "prints all of its options.") +
                ArgumentItems(OptionsOf(line)) + Section("COMMANDS");
    WalkCommands(line, [&](const CLI::App &command)
                 { page += CommandsOf(command).empty() ? CommandSection(command) : ""; });
    return page + Section("EXIT STATUS") + Items(ExitStatuses()) + Section("ENVIRONMENT") +
           Items(EnvironmentVariables()) + Section("EXAMPLES") + Items(Examples());
}

} // namespace gentlctl
