#pragma once

#include <gentl/gentl.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace gentlctl
{

/// An info function whose module and command are fixed.
using RawQuery = std::function<GenTL::GC_ERROR(GenTL::INFO_DATATYPE *type, void *buffer, size_t *size)>;

/// The text that a function gives, called as function(buffer, size); empty when it fails.
template <typename Function>
std::string TextOf(Function function)
{
    size_t size = 0;
    if (function(nullptr, &size) != GenTL::GC_ERR_SUCCESS || size == 0)
    {
        return {};
    }
    std::string text(size, '\0');
    if (function(text.data(), &size) != GenTL::GC_ERR_SUCCESS)
    {
        return {};
    }
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

/// The text that an info function answers; empty when it fails or answers something else.
inline std::string TextAnswerOf(const RawQuery &query)
{
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    auto text = TextOf([&](char *buffer, size_t *size) { return query(&type, buffer, size); });
    return type == GenTL::INFO_DATATYPE_STRING ? text : std::string();
}

/// The answer of an info function, taken for a T; none when it fails.
template <typename T>
std::optional<T> AnswerOf(const RawQuery &query)
{
    T value{};
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    size_t size = sizeof value;
    return query(&type, &value, &size) == GenTL::GC_ERR_SUCCESS ? std::optional(value) : std::nullopt;
}

} // namespace gentlctl
