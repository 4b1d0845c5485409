#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/command_line.h"
#include "gentlctl/commands.h"
#include "gentlctl/recording_check.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct ReplayCommandOptions
{
    std::string folders;
    bool info = false;
    bool check = false;
    bool once = false;
    std::string rate;
};

void SetVariable(const char *name, const std::string &value)
{
    setenv(name, value.c_str(), 1); // before any library is loaded, so no other thread reads it
}

int PrintInfo(const std::vector<recording::RecordingReader> &recordings, bool asJson)
{
    auto json = Json::array();
    for (const auto &recording : recordings)
    {
        json.push_back(Describe(recording));
    }
    if (asJson)
    {
        PrintJson(json);
        return success;
    }
    for (const auto &entry : json)
    {
        PrintTable(entry, "");
    }
    return success;
}

/// Runs the command of the rest of the line on the recordings.
int RunOn(const std::vector<std::string> &folders, const CommonOptions &options,
          const ReplayCommandOptions &command, const std::vector<std::string> &rest)
{
    SetVariable("QVR_SIM_RECORDING", fmt::format("{}", fmt::join(folders, ":")));
    if (command.once)
    {
        SetVariable("QVR_SIM_RECORDING_ONCE", "1");
    }
    if (!command.rate.empty())
    {
        SetVariable("QVR_SIM_RECORDING_RATE", command.rate);
    }
    if (const auto variable = LowerProducerVariable(options.producer); !variable.empty())
    {
        SetVariable(variable.c_str(), SimulatorFile());
    }
    std::vector<std::string> words{"gentlctl", "--producer", options.producer};
    if (!options.device.empty())
    {
        words.insert(words.end(), {"--device", options.device});
    }
    if (options.json)
    {
        words.emplace_back("--json");
    }
    words.insert(words.end(), rest.begin(), rest.end());
    if (rest.empty())
    {
        words.emplace_back("list");
    }
    std::vector<char *> arguments;
    for (auto &word : words)
    {
        arguments.push_back(word.data());
    }
    return RunCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

int Replay(const CommonOptions &options, const ReplayCommandOptions &command,
           const std::vector<std::string> &rest)
{
    const auto folders = FoldersIn(command.folders);
    std::vector<recording::RecordingReader> recordings;
    recordings.reserve(folders.size());
    for (const auto &folder : folders)
    {
        recordings.emplace_back(folder);
    }
    if (command.check)
    {
        CheckFrames(recordings);
    }
    if (command.info || command.check)
    {
        return PrintInfo(recordings, options.json);
    }
    return RunOn(folders, options, command, rest);
}

constexpr auto replayFooter =
    "Runs another command of gentlctl, list by default, with the recorded cameras in place of real ones. The "
    "options of replay stand before the command. For the cameras of another family than OVRA, name the producer "
    "qvr_anygentl.cti.\n\n"
    "  gentlctl replay depth\n"
    "  gentlctl replay depth grab -n 5 -o pictures\n"
    "  gentlctl replay left:right list";

} // namespace

void DeclareReplay(Commands &commands)
{
    const auto chosen = std::make_shared<ReplayCommandOptions>();
    auto *declared = std::make_shared<CLI::App *>(nullptr).get();
    static_cast<void>(declared);
    CLI::App *app = nullptr;
    app = &commands.Add("replay", "Run a command on recordings", [chosen, &app](const CommonOptions &) { return 0; });
    static_cast<void>(app);
}

} // namespace gentlctl
