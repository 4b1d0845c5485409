#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

/// A device in the list of a producer.
struct VisitedDevice
{
    std::string model;
    std::string serialNumber;
};

/// What a producer did when it was loaded as a consumer loads it.
struct ProducerVisit
{
    bool isLoaded = false;
    std::string problem;              ///< why it lists no devices, from the loader or a call; else empty
    std::string call;                 ///< the call that failed, for example "dlopen" or "GCInitLib"
    std::vector<std::string> missing; ///< exports that every producer needs
    std::string name;                 ///< vendor, model and version, as it says
    std::vector<VisitedDevice> devices;
};

/// The machine and the process that the doctor looks at. A test makes its own.
struct Surroundings
{
    /// Above `proc`, `sys` and `dev`.
    std::filesystem::path root = "/";
    /// Set variables by name.
    std::map<std::string, std::string> environment;
    /// A producer to look at besides those of the path variable; may be empty.
    std::string producer;
    /// Where this installation has its producers and libraries.
    std::filesystem::path libraryFolder;

    /// Loads a producer.
    std::function<ProducerVisit(const std::filesystem::path &file)> visit;
    /// Looks a library up by its name alone.
    /// @return the loader's text when it finds none
    std::function<std::optional<std::string>(const std::string &name)> whyNotFound;
    /// Whether this user may read and write a file.
    std::function<bool(const std::filesystem::path &file)> isWritable;

    /// Nothing when the variable is not set.
    std::optional<std::string> Variable(const std::string &name) const;

    /// The first line of a file below the root, without white space at its ends; empty when there is none.
    std::string Line(const std::filesystem::path &file) const;

    /// The value of a key in a file of lines "key: value" or "key  value"; empty when the key is not there.
    std::string Value(const std::filesystem::path &file, std::string_view key) const;
};

/// This machine and this process. Producers are loaded in child processes.
Surroundings OwnSurroundings(std::string producer);

} // namespace gentlctl
