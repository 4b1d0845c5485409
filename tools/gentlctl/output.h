#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace gentlctl
{

/// Keeps standard output for the results of this program: what libraries print there, as the log of a
/// producer, goes to standard error from now on. Called once, before any library is loaded.
void TakeStandardOutput();

/// Writes to standard output. A failure is kept for FinishOutput.
void PrintText(std::string_view text);

template <typename... Arguments>
void Print(fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    PrintText(fmt::format(format, std::forward<Arguments>(arguments)...));
}

/// Says on standard error what went wrong, in a line.
void Complain(std::string_view text);

/// @throws std::runtime_error standard output did not take all that was printed
void FinishOutput();

} // namespace gentlctl
