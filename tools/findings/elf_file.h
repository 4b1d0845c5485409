#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

/// A shared library as it lies on the disk. Nothing of it is run.
struct ElfFile
{
    int bits = 0;                     ///< 32 or 64
    std::string machine;              ///< "x86-64", "AArch64", ..., or "machine 243"
    bool isOfThisMachine = false;     ///< a process like this one can load it
    std::string runPath;              ///< where its own libraries are searched; with $ORIGIN as it stands
    std::vector<std::string> exports; ///< names of the functions and data that others can use
};

/// Nothing when the file cannot be read or is no ELF file.
std::optional<ElfFile> ReadElfFile(const std::filesystem::path &file);

} // namespace gentlctl
