#pragma once

#include <gentl/gentl.h>

#include <cstddef>
#include <type_traits>

namespace GenTL
{

template <typename Pointer>
struct MemberType;

template <typename Class, typename Type>
struct MemberType<Type Class::*>
{
    using type = Type;
};

template <auto member, typename Type>
inline constexpr bool IsMember = std::is_same_v<typename MemberType<decltype(member)>::type, Type>;

} // namespace GenTL
