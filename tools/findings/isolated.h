#pragma once

#include "consumer/json.h"

#include <chrono>
#include <functional>
#include <string>

namespace gentlctl
{

/// Sends a message to the parent. Called in the child.
using Send = std::function<void(const Json &message)>;

/// Takes a message of the child. Called in the parent.
/// @return whether the time limit starts anew
using Receive = std::function<bool(const Json &message)>;

/// How the work in a child process ended.
struct Ending
{
    enum class Kind : uint8_t
    {
        Finished, ///< the work returned
        Died,     ///< a signal, or code that ended the process
        TookTooLong,
    };

    Kind kind = Kind::Finished;
    std::string how; ///< for example "Segmentation fault" or "exit status 3"; empty when it finished
};

/// Runs code that may crash, hang or end the process, such as that of a foreign library, in a child process.
/// The child writes no core file, runs no destructor or handler at its exit, and ends with this process.
///
/// Only for a process in which no other thread runs code of its own.
///
/// @param work runs in the child; an exception counts as an end of the process
/// @param limit for the whole work, or from the last message that starts it anew
/// @throws std::system_error no child can be made
Ending RunIsolated(const std::function<void(const Send &)> &work, const Receive &receive,
                   std::chrono::milliseconds limit);

} // namespace gentlctl
