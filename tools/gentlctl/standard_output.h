#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace gentlctl
{

/// Keeps standard output for the results of this program: from now on, output of libraries to it, such as a
/// producer's log, goes to standard error. Call it once, before any library is loaded.
void TakeStandardOutput();

/// Writes to standard output. FinishOutput reports a failure.
void PrintText(std::string_view text);

template <typename... Arguments>
void Print(fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    PrintText(fmt::format(format, std::forward<Arguments>(arguments)...));
}

/// Gives standard output to binary data: from now on Print writes to standard error.
/// @return the descriptor of standard output, which stays open
/// @throws std::runtime_error there is no standard output, or it is a terminal
int GiveStandardOutputToData();

/// Writes to standard error. A failure, as of a terminal that was closed, is nothing that anybody could be
/// told.
void PrintError(std::string_view text);

/// Writes a line to standard error, behind the name of the program.
void Complain(std::string_view text);

/// Passes on what was printed, for a reader who waits for each line. FinishOutput reports any other failure.
/// @throws PipeClosed nobody reads it any more
void FlushOutput();

/// Ends the output.
/// @throws PipeClosed nobody reads it any more
/// @throws std::runtime_error standard output did not take all that was printed
void FinishOutput();

} // namespace gentlctl
