#pragma once

#include "doctor/surroundings.h"
#include "findings/finding.h"

#include <filesystem>
#include <vector>

namespace gentlctl
{

/// Looks for what keeps cameras from being found, opened or streamed on this machine.
Findings Examine(const Surroundings &surroundings);

/// The exit status of a program that reports these findings, by the worst of them: 0 nothing is wrong, 3
/// something will hurt, 1 something is broken.
int ExitStatusOf(const Findings &findings);

// The parts of Examine. Each looks at one thing and says of each part of it what is wrong or fine.

/// The producer that was named, when there is no such file.
Findings ProbeNamedProducer(const Surroundings &surroundings);
/// GENICAM_GENTL64_PATH.
Findings ProbePath(const Surroundings &surroundings);
/// The producers: whether they load and list devices, and no device twice.
Findings ProbeProducers(const Surroundings &surroundings);
/// What stands under our own producers.
Findings ProbeLowerProducers(const Surroundings &surroundings);
/// The library that our own producers convert images with.
Findings ProbeVisionLibrary(const Surroundings &surroundings);
/// USB3 Vision cameras: whether the user may open them, and how much memory their transfers have.
Findings ProbeUsb(const Surroundings &surroundings);
/// GigE Vision cameras: receive buffers, packet size and speed of the network adapters.
Findings ProbeNetwork(const Surroundings &surroundings);
/// What the process may do.
Findings ProbeLimits(const Surroundings &surroundings);
/// What the processor offers to the vision library.
Findings ProbeProcessor(const Surroundings &surroundings);

/// The producers that a consumer finds, in the order of the path variable, and the one that was named, if it
/// is there; without any, those of this installation.
std::vector<std::filesystem::path> ProducersIn(const Surroundings &surroundings);

} // namespace gentlctl
