#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace GenTL::internal
{

/// Which functions a lower producer must export. Any other missing function fails when it is called.
enum class NeededFunctions : uint8_t
{
    OfItsVersion, ///< all that the version it reports has
    ToStream,     ///< those without which nothing can be opened or streamed
};

/// Whose logger takes the log.
enum class LogOwner : uint8_t
{
    Process,  ///< the logger becomes spdlog's default logger, which the host shares
    Producer, ///< the logger is the producer's own; spdlog's registry does not know it
};

/// How many parts a buffer with a single image has.
enum class PartsAnswer : uint8_t
{
    Zero,
    NoData, ///< the question fails with GC_ERR_NO_DATA
};

// One struct for each group of profile_fields.inc. A default-constructed one has the values of
// qvr_proxygentl.cti.
#define PROFILE_GROUP(Type, member, about)                                                                   \
    /** about */                                                                                             \
    struct Type                                                                                              \
    {
#define PROFILE_FIELD(type, name, proxy, any, about) type name = proxy;
#define PROFILE_GROUP_END                                                                                    \
    }                                                                                                        \
    ;
#include "profile/profile_fields.inc"
#undef PROFILE_GROUP
#undef PROFILE_FIELD
#undef PROFILE_GROUP_END

/// The values in which the producers of this project differ. Assembly has the behaviour in which they differ.
///
/// Each producer has one, constant for the life of the process. A class takes the group that it needs.
struct Profile
{
#define PROFILE_GROUP(Type, member, about) Type member;
#define PROFILE_FIELD(type, name, proxy, any, about)
#define PROFILE_GROUP_END
#include "profile/profile_fields.inc"
#undef PROFILE_GROUP
#undef PROFILE_FIELD
#undef PROFILE_GROUP_END
};

} // namespace GenTL::internal
