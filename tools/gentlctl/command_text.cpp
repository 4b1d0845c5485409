#include "gentlctl/command_text.h"

#include <fmt/format.h>

namespace gentlctl
{
namespace
{

constexpr Explanation exitStatuses[] = {
    {"0", "done"},
    {"1", "failed (the reason is on standard error)"},
    {"2", "wrong usage"},
    {"129, 130 or 143", "ended by SIGHUP, SIGINT or SIGTERM"},
};

constexpr Explanation environmentVariables[] = {
    {"GENICAM_GENTL64_PATH", "Folders of producers, and files of producers that end in .cti, separated by "
                             "colons. The first producer is "
                             "taken; without the variable, the one that belongs to this program."},
    {"PROXY_TL_CTI_PATH", "Lower producer of qvr_proxygentl.cti."},
    {"ANYGENTL_CTI_PATH", "Lower producer of qvr_anygentl.cti, which is taken in place of qvr_proxygentl.cti "
                          "when this variable is set and the two above are not."},
    {"PROXY_TL_LOG_LEVEL",
     "Log of qvr_proxygentl.cti: trace, debug, info, warn, error or critical. It goes to standard error."},
    {"ANYGENTL_LOG_LEVEL", "The same of qvr_anygentl.cti."},
};

constexpr Explanation examples[] = {
    {"gentlctl list --all", "List the devices of every producer, and why one cannot be opened."},
    {"gentlctl get -d OVRA-M5 -l 'Exposure*'", "Print all that is known of the features whose names match."},
    {"gentlctl set -d OVRA-M5 ExposureTime=5000 TimestampLatch", "Set a feature, then execute a command."},
    {"gentlctl grab -d OVRA-M5 -n 10 -o frames", "Write ten frames as pictures."},
    {"gentlctl record -d OVRA-D1 -n 100 -o depth", "Record a camera, to replay it without the camera."},
    {"gentlctl replay depth grab -n 100 -o pictures", "Grab from the recording."},
    {"gentlctl doctor", "Look for what keeps cameras from working on this machine."},
};

} // namespace

std::span<const Explanation> ExitStatuses()
{
    return exitStatuses;
}

std::span<const Explanation> EnvironmentVariables()
{
    return environmentVariables;
}

std::span<const Explanation> Examples()
{
    return examples;
}

std::string_view ProgramVersion()
{
    return QVR_VERSION;
}

std::string_view ReleaseDate()
{
    return QVR_RELEASE_DATE;
}

std::string ExitStatusText()
{
    std::string text = "Exit status:";
    for (const auto &[status, meaning] : exitStatuses)
    {
        text += fmt::format("{} {} {}", text.back() == ':' ? "" : ",", status, meaning);
    }
    return text + ".";
}

} // namespace gentlctl
