#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/command_line.h"
#include "gentlctl/commands.h"
#include "gentlctl/recording_report.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <strings.h>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

using Words = std::vector<std::string>;

struct ReplayCommandOptions
{
    std::string folders;
    std::string rate;
    bool once = false;
    bool info = false;
    bool check = false;
};

bool IsOfTheFamily(const std::string &model)
{
    constexpr std::string_view family = "ovra";
    return strncasecmp(model.c_str(), family.data(), family.size()) == 0;
}

/// Reads the recordings, so that a broken one is reported before a producer is loaded.
/// @return their descriptions
Json ReadRecordings(const ReplayCommandOptions &command)
{
    auto recordings = Json::array();
    std::istringstream folders(command.folders);
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        const recording::RecordingReader recording(folder);
        if (command.check)
        {
            CheckDescription(recording);
            CheckFrames(recording);
        }
        if (!recording.End())
        {
            Complain(fmt::format("{} ends early: {} frames can be replayed. Copy it again, or record again",
                                 folder, recording.Frames()));
        }
        recordings.push_back(DescribeRecording(recording));
    }
    return recordings;
}

void PrintRecordings(const Json &recordings, bool asJson)
{
    if (asJson)
    {
        return PrintJson(recordings);
    }
    for (const auto &recording : recordings)
    {
        PrintTable(recording, "");
    }
}

/// Puts the simulator with the recordings below the producers of this project. Sets variables before a
/// library is loaded, so no other thread reads them.
void SetEnvironment(const ReplayCommandOptions &command)
{
    const auto simulator = SimulatorFile();
    for (const auto &[name, value] : {std::pair{"QVR_SIM_RECORDING", command.folders},
                                      {"QVR_SIM_RECORDING_RATE", command.rate},
                                      {"QVR_SIM_RECORDING_ONCE", command.once ? "1" : ""},
                                      {"PROXY_TL_CTI_PATH", simulator},
                                      {"ANYGENTL_CTI_PATH", simulator}})
    {
        setenv(name, value.c_str(), 1);
    }
}

/// The producer that plays the recordings.
std::string ProducerOf(const Json &recordings)
{
    const bool areOfTheFamily =
        std::ranges::all_of(recordings, [](const Json &recording)
                            { return IsOfTheFamily(recording.at("model").get<std::string>()); });
    const auto proxy = areOfTheFamily ? ProxyProducerFile() : std::string();
    return proxy.empty() ? AnyProducerFile() : proxy;
}

int Replay(const CommonOptions &options, const ReplayCommandOptions &command, const Words &rest)
{
    const auto recordings = ReadRecordings(command);
    if (command.info || command.check)
    {
        PrintRecordings(recordings, options.json);
        return success;
    }
    SetEnvironment(command);
    auto defaults = options;
    // Another producer in GENICAM_GENTL64_PATH does not know the recordings.
    defaults.producer = options.producer.empty() ? ProducerOf(recordings) : options.producer;
    Words words{"gentlctl"};
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
    return CommandLine(std::move(defaults)).Run(static_cast<int>(arguments.size()), arguments.data());
}

constexpr auto replayFooter = "Runs another command of gentlctl on recorded cameras, in place of the real "
                              "ones. The options of replay stand "
                              "before FOLDER, the command and its own options behind it. Without --producer, "
                              "a camera of another family "
                              "than OVRA is opened through qvr_anygentl.cti.\n\n"
                              "  gentlctl replay depth\n"
                              "  gentlctl replay --once depth grab -n 5 -o pictures\n"
                              "  gentlctl replay left:right list";

} // namespace

void DeclareReplay(Commands &commands)
{
    const auto chosen = std::make_shared<ReplayCommandOptions>();
    const auto self = std::make_shared<const CLI::App *>();
    auto &command = commands.AddWithoutProducer("replay", "Run a command on recordings in place of cameras",
                                                [chosen, self](const CommonOptions &common)
                                                { return Replay(common, *chosen, (*self)->remaining()); });
    *self = &command;
    command.add_option("FOLDER", chosen->folders, "Recordings, separated by ':'; each is a camera")
        ->type_name("")
        ->required();
    command.add_option("-r,--rate", chosen->rate, "Frames in a second, 0 for no limit; default: as recorded")
        ->check(Within(0.0, 1e6))
        ->type_name("RATE");
    command.add_flag("--once", chosen->once, "Stop after the last frame; default: begin again");
    command.add_flag("-i,--info", chosen->info, "Print what the recordings hold, and run nothing");
    command.add_flag("--check", chosen->check, "Read the description and all frames, too");
    command.footer(replayFooter);
    // What follows FOLDER belongs to the command, be it the name of a command or an option.
    command.fallthrough(false);
    command.prefix_command();
}

} // namespace gentlctl
