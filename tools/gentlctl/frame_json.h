#pragma once

#include "consumer/frame_info.h"
#include "consumer/json.h"

namespace gentlctl
{

/// All that is known of a frame: the answers by the names of their commands, after a number of a format or a
/// type its name, then "parts" and "chunks".
Json ToJson(const FrameInfo &frame);

} // namespace gentlctl
