#pragma once

#include <gentl/gentl.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace GenTL::internal::utils
{

/// A text of an info command, by a size query and a read: query(type, buffer, size). The last byte that the
/// query announces is its terminator.
template <typename Query>
std::string ReadText(Query query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    query(&type, nullptr, &size);
    std::string text(size, '\0');
    query(&type, text.data(), &size);
    // A producer may announce more than it writes in the end.
    text.resize(std::min(text.size(), size));
    if (!text.empty())
    {
        text.pop_back();
    }
    return text;
}

/// A value of fixed width of an info command: query(type, buffer, size).
template <typename T, typename Query>
T ReadValue(INFO_DATATYPE type, Query query)
{
    T value{};
    size_t size = sizeof value;
    query(&type, &value, &size);
    return value;
}

} // namespace GenTL::internal::utils
