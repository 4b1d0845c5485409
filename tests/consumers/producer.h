#pragma once

#include <gentl/gentl.h>

#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace consumers
{

using namespace GenTL;

/// A call that failed and that the consumer does not survive.
class Refusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A producer as one consumer loads it, with all functions of the interface by their names. It is never
/// unloaded, as the consumers do. One thread makes it; any thread may call.
class Producer
{
public:
#define FN(group, name, parameters, arguments) decltype(&::GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN

    /// `flags` of dlopen.
    /// @throws Refusal the file cannot be loaded or lacks a function
    Producer(const std::string &path, int flags);

    /// @throws Refusal `code` is no success
    void Must(const char *call, GC_ERROR code) const;

    /// Accepts these failures, too.
    /// @throws Refusal `code` is any other failure
    void Survives(const char *call, GC_ERROR code, std::initializer_list<GC_ERROR> failures) const;
};

/// The answer of an info function, called as query(type, buffer, size); none when it fails.
template <typename T, typename Query>
std::optional<T> Answer(Query &&query)
{
    T value{};
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = sizeof value;
    return query(&type, &value, &size) == GC_ERR_SUCCESS ? std::optional(value) : std::nullopt;
}

/// The text that a function gives, called as query(buffer, size); empty when it fails.
template <typename Query>
std::string Text(Query &&query)
{
    size_t size = 0;
    if (query(nullptr, &size) != GC_ERR_SUCCESS)
    {
        return {};
    }
    std::string text(size, '\0');
    return query(text.data(), &size) == GC_ERR_SUCCESS ? text.c_str() : std::string();
}

/// The text that an info function answers, called as query(type, buffer, size); empty when it fails.
template <typename Query>
std::string TextAnswer(Query &&query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    return Text([&](char *buffer, size_t *size) { return query(&type, buffer, size); });
}

} // namespace consumers
