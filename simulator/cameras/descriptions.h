#pragma once

#include <string_view>

namespace GenTL::simulator
{

/// The GenICam description of the camera WIDE-G2.
std::string_view WideGigEDescription();

} // namespace GenTL::simulator
