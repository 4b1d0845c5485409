#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace gentlctl
{

/// The folder of the libraries of the build or the installation that this program belongs to.
std::filesystem::path LibraryFolder();

/// Loads the vision library of LibraryFolder, if it is there, for the rest of the process: the proxy producer
/// opens it by its bare name, which works once it is loaded. Other producers do not use it.
void LoadVisionLibrary();

/// The producers that GENICAM_GENTL64_PATH names: files that end in ".cti", and such files in its folders, by
/// name.
std::vector<std::string> ProducersInPath();

/// Those of ProducersInPath, then the one of this program, if it is there; each once. The program's own one
/// is the proxy producer, or the one for any camera while ANYGENTL_CTI_PATH alone names a lower producer.
std::vector<std::string> KnownProducers();

/// The producer that is used when the user names none.
struct ProducerChoice
{
    std::string file;
    std::string note; ///< why it is this one; empty where nothing else could be meant
};

/// The first of KnownProducers.
/// @throws std::runtime_error there is none
ProducerChoice ChooseProducer();

/// The producer that the user names: by its file, or by a folder that holds just this one. A path that the
/// loader takes as it is.
/// @throws std::runtime_error the folder holds none, or several
std::string ProducerAt(const std::string &named);

/// File of the lower producer that the proxy producer `file` would load; empty when `file` is another
/// producer or there is no lower one.
std::string LowerProducerFile(const std::string &file);

/// The producer whose frames reach `file` as the camera sent them: the lower one of either producer of this
/// project, which converts frames; else `file` itself.
std::string RawProducerFile(const std::string &file);

/// File of the proxy producer that belongs to this program; empty when there is none.
std::string ProxyProducerFile();

/// File of the producer for any camera that belongs to this program.
/// @throws std::runtime_error there is none
std::string AnyProducerFile();

/// Name of the variable that names the lower producer of `file`; empty when `file` has none.
std::string LowerProducerVariable(const std::string &file);

/// File of the simulator of the build or the installation that this program belongs to.
/// @throws std::runtime_error there is none
std::string SimulatorFile();

} // namespace gentlctl
