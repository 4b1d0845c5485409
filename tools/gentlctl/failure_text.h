#pragma once

#include <exception>
#include <string>

namespace gentlctl
{

/// What a failure says to a user: the text of the exception, and the code of one that a producer reported.
/// @param failure a std::exception
std::string FailureText(const std::exception_ptr &failure);

} // namespace gentlctl
