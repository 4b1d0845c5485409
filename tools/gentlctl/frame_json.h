#pragma once

#include "consumer/frame_info.h"
#include "consumer/json.h"

namespace gentlctl
{

/// All that is known of a frame: the answers by the names of their commands, with the names of formats and
/// types behind their numbers, then "parts" and "chunks".
Json ToJson(const FrameInfo &frame);

} // namespace gentlctl
