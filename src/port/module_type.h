#pragma once

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// Which GenTL module a port belongs to.
enum class ModuleType : int32_t
{
    System = 0,
    Interface = 1,
    Device = 2,
    RemoteDevice = 3,
    Buffer = 4,
    Event = 5,
    DataStream = 6,
};

/// The enumerator's name; a value outside of the enumeration as a decimal number.
inline std::string ToString(ModuleType type)
{
    static constexpr std::array<std::string_view, 7> names{"System", "Interface", "Device",    "RemoteDevice",
                                                           "Buffer", "Event",     "DataStream"};
    const auto value = static_cast<int32_t>(type);
    if (value < 0 || value >= static_cast<int32_t>(names.size()))
    {
        return std::to_string(value);
    }
    return std::string(names.at(static_cast<size_t>(value)));
}

} // namespace GenTL::internal

template <>
struct fmt::formatter<GenTL::internal::ModuleType> : fmt::formatter<std::string_view>
{
    template <typename Context>
    auto format(GenTL::internal::ModuleType type, Context &context) const
    {
        return fmt::formatter<std::string_view>::format(GenTL::internal::ToString(type), context);
    }
};
