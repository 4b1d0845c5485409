#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace GenTL::simulator
{

/// The folders in QVR_SIM_RECORDING, separated by ':'.
std::vector<std::filesystem::path> RecordingFolders();

/// How recordings are replayed.
struct ReplayOptions
{
    std::optional<double> rate; ///< frames in a second, 0 for no limit; none for the recorded rate
    bool once = false;          ///< stop after the last frame
};

/// From QVR_SIM_RECORDING_RATE and QVR_SIM_RECORDING_ONCE.
/// @throws Error GC_ERR_INVALID_PARAMETER: the rate is not a number of at least 0.
ReplayOptions ReadReplayOptions();

} // namespace GenTL::simulator
