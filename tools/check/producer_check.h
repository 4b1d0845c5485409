#pragma once

#include "findings/finding.h"

#include <chrono>
#include <string>

namespace gentlctl
{

/// What to check.
struct Examinee
{
    std::string file;
    std::string device; ///< as for Producer::Choose
    /// For each check; afterwards a call that has not returned counts as a hang.
    std::chrono::milliseconds limit = std::chrono::seconds(30);
};

/// Checks a producer as the consumers in the field use it, each module on the way to one device. The producer
/// runs in child processes: when it crashes or hangs, that is a finding, and the next check goes on with a
/// new process.
/// @throws std::system_error no process can be made
Findings CheckProducer(const Examinee &examinee);

} // namespace gentlctl
