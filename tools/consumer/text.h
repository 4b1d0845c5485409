#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace gentlctl
{

/// The text that a GenTL function writes: function(buffer, size) answers the size for a null buffer.
template <typename Function>
std::string ReadText(Function function)
{
    size_t size = 0;
    function(nullptr, &size);
    std::string text(size, '\0');
    function(text.data(), &size);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

/// A text with the letters of ASCII in lower case.
inline std::string Lowercase(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    return text;
}

} // namespace gentlctl
