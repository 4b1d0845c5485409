#pragma once

#include "support/environment_variable.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace gentlctl
{

/// The file that names the cameras that the simulator takes as unplugged, for the life of this object. Make
/// it before the producer is loaded.
class UnplugFile
{
public:
    UnplugFile() = default;
    ~UnplugFile() { std::filesystem::remove(m_path); }
    UnplugFile(const UnplugFile &) = delete;
    UnplugFile &operator=(const UnplugFile &) = delete;

    void Unplug(const std::string &camera) const { std::ofstream(m_path) << camera << '\n'; }
    void PlugAll() const { std::filesystem::remove(m_path); }

private:
    const std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("unplug-tools-" + std::to_string(getpid()));
    const GenTL::internal::EnvironmentVariable m_variable{"QVR_SIM_UNPLUG", m_path.string()};
};

} // namespace gentlctl
