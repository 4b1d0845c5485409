#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace gentlctl
{

/// Keeps the members of an object in the order in which they were added.
using Json = nlohmann::ordered_json;

/// JSON as text: one line, or indented. U+FFFD stands for each byte that is no UTF-8, since the names of a
/// camera and the paths of a file system need not be UTF-8.
inline std::string JsonText(const Json &json, int indent = -1)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace gentlctl
