#pragma once

#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <chrono>
#include <concepts>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace gentlctl
{

/// The options of every command.
struct CommonOptions
{
    std::string producer;             ///< its file, as Commands::Add finds it
    std::string device;               ///< as for Producer::Choose
    std::vector<std::string> devices; ///< for a command that takes several: each of them
    bool json = false;                ///< print JSON
};

/// The group of the options of every command.
inline const std::string commonGroup = "Common options";

// Exit statuses.
constexpr int success = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;
constexpr int killed = 128; ///< plus the number of the signal

/// The commands of the program, as they are declared on its command line. Parsing the line runs the command
/// that it names.
class Commands
{
public:
    /// Returns the exit status, and throws when it cannot answer at all.
    using Run = std::function<int(const CommonOptions &options)>;

    /// Declares the options of every command.
    /// @param app outlives this object
    /// @param defaults what they are where the line does not name them
    Commands(CLI::App &app, CommonOptions defaults);
    Commands(const Commands &) = delete;
    Commands &operator=(const Commands &) = delete;

    /// How many devices `-d` may name.
    enum class Devices
    {
        One,
        Several
    };

    /// Adds a command that talks to a producer. The caller declares the options of the command's own on the
    /// result; what they are parsed into belongs to `run`.
    CLI::App &Add(const std::string &name, const std::string &description, Run run,
                  Devices devices = Devices::One);

    /// The same for a command that finds its producers itself: `run` gets the producer as the user named it,
    /// if at all.
    CLI::App &AddWithoutProducer(const std::string &name, const std::string &description, Run run,
                                 Devices devices = Devices::One);

    /// Adds a command that talks to no producer: it does not take the options of every command.
    CLI::App &AddOwn(const std::string &name, const std::string &description, std::function<int()> run);

    /// The whole command line, for commands that describe it.
    const CLI::App &Line() const { return m_app; }

    /// Exit status of the command that was run.
    int Status() const { return m_status; }

private:
    CLI::App &m_app;
    CommonOptions m_common;
    int m_status = success;
};

/// The producer of a command: what the user named, else that of ChooseProducer, with its note on standard
/// error.
/// @throws std::runtime_error there is none
std::string ProducerFor(const std::string &named);

/// Declares `-m`.
/// @param module takes the choice; its value is the default
void AddModule(CLI::App &command, std::string &module, const std::vector<std::string> &choice,
               const std::string &description);

/// Declares `--duration`, a time span as of ParseDuration.
void AddDuration(CLI::App &command, const std::string &description,
                 const std::function<void(std::chrono::nanoseconds)> &take);

/// Declares `--settings`.
void AddSettingsFile(CLI::App &command, std::string &file);

/// Declares `-s`, which may be repeated.
void AddAssignments(CLI::App &command, std::vector<std::string> &assignments);

/// Names of the modules of a device that have features.
const std::vector<std::string> &ModuleNames();

/// Accepts NAME=VALUE, and NAME for a command.
CLI::Validator Assignment();

/// Accepts a number from `least` to `most`.
template <typename Number>
CLI::Validator Within(Number least, Number most)
{
    return {[least, most](const std::string &text)
            {
                Number value{};
                if (!CLI::detail::lexical_cast(text, value))
                {
                    return fmt::format("\"{}\" is no {}number", text, std::integral<Number> ? "whole " : "");
                }
                return value >= least && value <= most
                           ? std::string()
                           : fmt::format("Value {} not in range {} to {}", text, least, most);
            },
            ""};
}

/// The most that an option takes which counts frames, events or cycles.
constexpr uint64_t largestCount = 1'000'000'000;

/// For a command that prints no JSON.
/// @throws CLI::ValidationError JSON is asked for
void RefuseJson(const CommonOptions &options, const std::string &command);

/// Lets no option of the program and its commands take an empty value: a script with an unset variable must
/// not get the default, such as the first device, in place of what it names.
void RefuseEmptyValues(CLI::App &app);

} // namespace gentlctl
