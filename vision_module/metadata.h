#pragma once

#include "vision_module/error.h"
#include "vision_module/handles.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace tarn::vision
{

using Value =
    std::variant<bool, int64_t, uint64_t, double, std::string, std::vector<bool>, std::vector<int64_t>,
                 std::vector<uint64_t>, std::vector<double>, std::vector<std::string>>;

/// Values by name.
struct Metadata
{
    static constexpr Kind kind = Kind::Metadata;

    std::map<std::string, Value, std::less<>> values;
};

/// Sets a value, replacing any of the same name.
/// @throws Failure for a bad handle or a null key
void SetValue(void *metadata, const char *key, Value value);

/// @throws Failure for a null text
std::string TextOf(const char *text);

/// Copies the elements as values of type T. `values` may be null when `count` is 0.
/// @throws Failure for a null pointer, std::length_error when `count` elements cannot fit in memory
template <typename T, typename Element>
std::vector<T> ArrayOf(const Element *values, size_t count)
{
    std::vector<T> elements;
    if (count == 0)
    {
        return elements;
    }
    RequirePointer(values, "the first element");
    elements.reserve(count);
    for (size_t i = 0; i < count; ++i)
    {
        if constexpr (std::is_same_v<T, std::string>)
        {
            elements.push_back(TextOf(values[i]));
        }
        else if constexpr (std::is_same_v<T, bool>)
        {
            elements.push_back(values[i] != 0);
        }
        else
        {
            elements.push_back(values[i]);
        }
    }
    return elements;
}

} // namespace tarn::vision
