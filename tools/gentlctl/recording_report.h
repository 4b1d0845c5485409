#pragma once

#include "consumer/json.h"
#include "recording/recording_reader.h"

namespace gentlctl
{

/// What a recording holds, for people.
Json DescribeRecording(const recording::RecordingReader &recording);

/// @throws recording::Error the description is empty or damaged
void CheckDescription(const recording::RecordingReader &recording);

/// Reads all frames.
/// @throws recording::Error a frame is damaged
void CheckFrames(const recording::RecordingReader &recording);

} // namespace gentlctl
