// qvr_proxygentl.cti: the defaults of profile and assembly.

#include "library.h"

namespace GenTL::internal
{

Library &Library::Instance()
{
    static constexpr Profile profile;
    static constexpr Assembly assembly;
    static Library library(profile, assembly);
    return library;
}

} // namespace GenTL::internal
