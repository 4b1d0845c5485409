#pragma once

#include <gentl/gentl.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace GenTL::internal::utils
{

/// Reads the text of an info command through query(type, buffer, size): first its size, then its bytes. The
/// last byte is the terminator.
template <typename Query>
std::string ReadText(Query query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    query(&type, nullptr, &size);
    std::string text(size, '\0');
    query(&type, text.data(), &size);
    // A producer may announce a larger size than it writes.
    text.resize(std::min(text.size(), size));
    if (!text.empty())
    {
        text.pop_back();
    }
    return text;
}

/// Reads the value of an info command through query(type, buffer, size). T has the size of the value.
template <typename T, typename Query>
T ReadValue(INFO_DATATYPE type, Query query)
{
    T value{};
    size_t size = sizeof value;
    query(&type, &value, &size);
    return value;
}

} // namespace GenTL::internal::utils
