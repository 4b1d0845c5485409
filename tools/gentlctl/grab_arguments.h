#pragma once

#include "gentlctl/frame_files.h"
#include "gentlctl/grab.h"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace gentlctl
{

/// The command line of a grab.
struct GrabArguments
{
    std::string settings; ///< file to load first; empty for none
    std::vector<std::string> assignments;
    GrabOptions grab;
    std::string output;     ///< a folder, "-" for standard output, or empty
    FrameFileOptions files; ///< without their folder
    bool isStrict = false;

    bool GoesIntoPipe() const { return output == "-"; }
};

/// Declares the options of the command.
/// @param arguments what they are parsed into
void DeclareGrabArguments(CLI::App &command, GrabArguments &arguments);

/// Checks that the arguments go together.
/// @param devices how many are named
/// @throws CLI::ValidationError they do not; the message says why
void CheckTogether(const GrabArguments &arguments, size_t devices);

} // namespace gentlctl
