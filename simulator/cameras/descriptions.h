#pragma once

#include <string_view>

namespace GenTL::simulator
{

/// The GenICam description of the camera WIDE-G2.
std::string_view WideGigEDescription();

/// The GenICam description of the camera WIDE-U1, without a byte order mark.
std::string_view WideUsbDescription();

} // namespace GenTL::simulator
