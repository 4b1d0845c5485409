#pragma once

#include "nodemap/register_map.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace GenTL::internal::nodemap
{

enum class RegisterKind : int32_t
{
    Number = 0,
    String = 3,
};

/// One row of a local module's register table. The rows form a sequence without gaps from address 0.
struct RegisterDefinition
{
    std::string_view Name; ///< the feature, by its name in the owning module
    uint64_t Size{};       ///< bytes
    uint64_t Address{};
    RegisterKind Kind{};
    int32_t Access{}; ///< a RegisterAccess; the register map refuses other values
    std::variant<int32_t, int64_t, std::string, float> InitialValue{};
    bool Used = true; ///< false for registers that only a GigE interface has; the register map ignores it
    RegisterCallback OnRead{};
    RegisterCallback OnWrite{};
};

} // namespace GenTL::internal::nodemap
