#pragma once

#include <filesystem>
#include <string>

namespace gentlctl
{

/// The folder of the libraries of the build or the installation that this program belongs to.
std::filesystem::path LibraryFolder();

/// File of the producer to use: the argument; else the proxy producer in LibraryFolder; else the first
/// producer in the folders of GENICAM_GENTL64_PATH.
/// @throws std::runtime_error none found
std::string FindProducerFile(const std::string &argument);

/// File of the lower producer that the proxy producer `file` would load; empty when `file` is another
/// producer or there is no lower one.
std::string LowerProducerFile(const std::string &file);

/// The same for either of the two producers that load a lower one.
std::string LoadedByProxy(const std::string &file);

} // namespace gentlctl
