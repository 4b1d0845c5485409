#pragma once

namespace gentlctl
{

/// Parses the command line and runs its command. Prints help, and says on standard error what is wrong.
/// @return the exit status
/// @throws std::exception the command cannot answer
int RunCommandLine(int argc, char **argv);

} // namespace gentlctl
