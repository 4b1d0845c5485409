#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace gentlctl
{

/// The folder of the libraries of the build or the installation that this program belongs to.
std::filesystem::path LibraryFolder();

/// The producers that GENICAM_GENTL64_PATH names: files that end in ".cti", and such files in its folders, by
/// name.
std::vector<std::string> ProducersInPath();

/// The proxy producer in LibraryFolder, if it is there, and those of ProducersInPath; each once.
std::vector<std::string> KnownProducers();

/// File of the producer to use: the argument; else the first of KnownProducers.
/// @throws std::runtime_error none found
std::string FindProducerFile(const std::string &argument);

/// File of the lower producer that the proxy producer `file` would load; empty when `file` is another
/// producer or there is no lower one.
std::string LowerProducerFile(const std::string &file);

} // namespace gentlctl
