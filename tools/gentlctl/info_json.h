#pragma once

#include "consumer/info_answers.h"
#include "consumer/json.h"

#include <vector>

namespace gentlctl
{

/// An answer as JSON: a pointer as a text in hexadecimal, a failure as an object with "error" and "text".
Json ToJson(const InfoValue &value);

/// Answers as the members of an object, by the names of their commands.
Json ToJson(const std::vector<InfoAnswer> &answers);

} // namespace gentlctl
