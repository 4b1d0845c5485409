#pragma once

#include "simulator/images/image_file.h"

#include <exception>

namespace GenTL::simulator
{

/// Stores why a function failed; a text that is too long is cut off.
void WriteReason(const std::exception &error, QvrReason *reason);

} // namespace GenTL::simulator
