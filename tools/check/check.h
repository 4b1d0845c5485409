#pragma once

#include "check/session.h"
#include "check/trial.h"

#include <functional>
#include <string>
#include <vector>

namespace gentlctl
{

/// What a check works with.
struct Bench
{
    Trial &trial;
    Calls &calls;
    Session &session;
};

/// A question to a producer.
struct Check
{
    std::string area;   ///< of the interface: "library", "system", ..., "stream"
    std::string states; ///< what holds when the check finds nothing
    /// @throws NotReached what the check needs is not there
    std::function<void(Bench &bench)> run;
};

using ChecksOf = std::vector<Check>;

// The checks of each area, in the order in which they run.
ChecksOf LibraryChecks();
ChecksOf ModuleChecks();
ChecksOf InfoChecks();
ChecksOf PortChecks();
ChecksOf FrameChecks();
ChecksOf EventChecks();
ChecksOf OrderChecks();
ChecksOf HandleChecks();

/// All of them; the last one closes the producer.
ChecksOf AllChecks();

} // namespace gentlctl
