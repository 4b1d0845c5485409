#pragma once

#include "findings/finding.h"

#include <chrono>
#include <string>
#include <vector>

namespace gentlctl
{

/// What to check.
struct Examinee
{
    std::string file;
    std::string device; ///< as for Producer::Choose
    std::string area;   ///< only the checks of this area, and not those of the file; empty: all
    /// For each check; afterwards a call that has not returned counts as a hang.
    std::chrono::milliseconds limit = std::chrono::seconds(30);
};

/// The areas of the checks, in the order in which they are first checked.
std::vector<std::string> CheckAreas();

/// The id of the device that the user means by the examinee's name for it. When the producer cannot tell, it
/// is the name: the check will find why. The producer runs in a child process.
/// @throws std::runtime_error the producer lists devices, and none or several are meant
std::string DeviceToCheck(const Examinee &examinee);

/// Checks a producer as the consumers in the field use it, each module on the way to one device. The producer
/// runs in child processes: when it crashes or hangs, that is a finding, and the next check goes on with a
/// new process.
/// @throws std::system_error no process can be made
Findings CheckProducer(const Examinee &examinee);

} // namespace gentlctl
