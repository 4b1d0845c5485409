#pragma once

namespace gentlctl
{

class Commands;

// Each of these declares a command and its options.
#define COMMAND(name) void Declare##name(Commands &commands);
#include "gentlctl/commands.inc"
#undef COMMAND

} // namespace gentlctl
