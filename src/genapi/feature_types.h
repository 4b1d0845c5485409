#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal::genapi
{

/// What may be done with a feature now.
struct Access
{
    bool implemented = true;
    /// Only what is implemented is available.
    bool available = true;
    bool locked = false;
    /// Implemented, available, and every node of the value chain allows it.
    bool readable = true;
    /// The same, and not locked.
    bool writable = true;
    /// Why access is restricted; also why a condition could not be evaluated and so counts as "no". Empty
    /// without any restriction.
    std::string cause;
    /// A condition could not be evaluated, or the chain is broken; that counts as "no" above.
    bool failed = false;
};

/// An entry of an enumeration. Its name lies in the document.
struct Entry
{
    std::string_view name;
    int64_t value;
    bool implemented;
    bool available;

    friend bool operator==(const Entry &, const Entry &) = default;
};

/// The least and the greatest value of a feature, and its step if it has one.
template <typename T>
struct Limits
{
    T min;
    T max;
    std::optional<T> increment;

    friend bool operator==(const Limits &, const Limits &) = default;
};

} // namespace GenTL::internal::genapi
