#include "simulator/recordings/replay_options.h"

#include "simulator/error.h"

#include <charconv>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

namespace GenTL::simulator
{

namespace
{

/// The value of a variable; empty when it is not set.
std::string Variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

std::vector<std::filesystem::path> RecordingFolders()
{
    std::vector<std::filesystem::path> folders;
    std::istringstream list(Variable("QVR_SIM_RECORDING"));
    for (std::string folder; std::getline(list, folder, ':');)
    {
        if (!folder.empty())
        {
            folders.emplace_back(folder);
        }
    }
    return folders;
}

ReplayOptions ReadReplayOptions()
{
    ReplayOptions options;
    options.once = Variable("QVR_SIM_RECORDING_ONCE") == "1";
    const auto text = Variable("QVR_SIM_RECORDING_RATE");
    if (text.empty())
    {
        return options;
    }
    double rate = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), rate);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !(rate >= 0 && rate < 1e9))
    {
        throw Error(GC_ERR_INVALID_PARAMETER,
                    "QVR_SIM_RECORDING_RATE is \"{}\"; set it to frames in a second, or to 0 for no limit",
                    text);
    }
    options.rate = rate;
    return options;
}

} // namespace GenTL::simulator
