#pragma once

#include <span>
#include <string>
#include <string_view>

/// The texts on the whole program, for help and man page.
namespace gentlctl
{

/// A term and what it means.
struct Explanation
{
    std::string_view term;
    std::string_view meaning;
};

inline constexpr std::string_view programName = "gentlctl";
inline constexpr std::string_view programPurpose = "work with the devices of any GenTL producer";
inline constexpr std::string_view programDescription =
    "Lists the devices of any GenTL producer, reads and writes their features, grabs and records frames, and "
    "finds what is wrong with a producer or a machine. Only results go to standard output; progress, "
    "failures "
    "and the log of a producer go to standard error.";

std::span<const Explanation> ExitStatuses();
std::span<const Explanation> EnvironmentVariables();
/// Command lines, each with what it does.
std::span<const Explanation> Examples();

/// The version of this program, as in "1.2.3".
std::string_view ProgramVersion();
/// The day of that version, as in "2020-12-31".
std::string_view ReleaseDate();

/// The exit statuses in one sentence.
std::string ExitStatusText();

} // namespace gentlctl
