#pragma once

namespace gentlctl
{

/// The whole program: prepares the process, runs the command line and says on standard error why it failed.
/// @return the exit status
int RunProgram(int argc, char **argv);

} // namespace gentlctl
