#pragma once

#include <cstdint>
#include <optional>

namespace GenTL::internal
{

/// What the acquisition of a stream is doing. A kill is possible in every state.
///
///           Start            Stop                End
///     Idle -------> Running ------> Stopping ---------> Idle
///                      |                                 ^
///                      +----------> Finishing -----------+
///                       LastFrame                End
///
///                Kill           Start                      Stop
///     any state ------> Killed -------> StartedAfterKill -------> Killed
enum class AcquisitionState : uint8_t
{
    Idle,             ///< no thread, or a thread that is only returning
    Running,          ///< the thread delivers frames
    Stopping,         ///< a consumer's stop waits for the thread, or failed before it could
    Finishing,        ///< the thread has done the last frame and stops the lower stream
    Killed,           ///< the stream object ends; a thread in the loop touches nothing more
    StartedAfterKill, ///< the thread leaves at the first lower buffer that it gets
};

/// What moves an acquisition from one state to the next.
enum class AcquisitionStep : uint8_t
{
    Start,     ///< the lower stream runs and the thread is about to begin
    Stop,      ///< a consumer stops
    LastFrame, ///< the thread has delivered the number of frames asked for
    End,       ///< the thread is about to return
    Kill,      ///< the stream object ends
};

/// The state after a step; nothing for a step that the graph does not have, which leaves the state as it is.
std::optional<AcquisitionState> StateAfter(AcquisitionState state, AcquisitionStep step);

/// From the start until the stop, the kill or the last frame.
bool IsRunning(AcquisitionState state);
/// After the first kill, whatever follows.
bool IsKilled(AcquisitionState state);

} // namespace GenTL::internal
