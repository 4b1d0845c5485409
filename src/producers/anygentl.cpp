// qvr_anygentl.cti: for any camera with a GenTL producer, and for any consumer.

#include "library.h"
#include "nodemap/descriptions.h"

namespace GenTL::internal
{

namespace
{

/// The project's version. GenTL versions of producers have four numbers.
constexpr std::string_view releaseVersion = QVR_VERSION ".0";

constexpr Profile MakeProfile()
{
    Profile profile;
#define PROFILE_GROUP(Type, member, about)                                                                   \
    {                                                                                                        \
        auto &group = profile.member;
#define PROFILE_FIELD(type, name, proxy, any, about) group.name = any;
#define PROFILE_GROUP_END }
#include "profile/profile_fields.inc"
#undef PROFILE_GROUP
#undef PROFILE_FIELD
#undef PROFILE_GROUP_END
    return profile;
}

} // namespace

Library &Library::Instance()
{
    static constexpr auto profile = MakeProfile();
    static constexpr Assembly assembly{
        .systemDescription = nodemap::SystemDescriptionOfAllTypes,
        .makeProxySystem = MakeListedSystem,
        .makeRemoteSide = MakeEditedRemoteSide,
        .makeFrameReader = MakeFullFrameReader,
        .makeOutputQueue = MakeStreamOutput,
    };
    // Never destroyed: CloseAtExit closes what is open, and in a forked child nothing may be closed.
    static auto &library = *new Library(profile, assembly);
    return library;
}

} // namespace GenTL::internal
