#include "profile_table.h"

#include <fmt/format.h>

#include <string_view>

namespace GenTL::internal
{

namespace
{

/// A value as the list has it, without the name of its enumeration and without quotes.
std::string Shown(std::string_view value)
{
    if (value.starts_with('"'))
    {
        value.remove_prefix(1);
        value.remove_suffix(1);
        return std::string(value);
    }
    if (const auto scope = value.rfind("::"); scope != std::string_view::npos)
    {
        value.remove_prefix(scope + 2);
    }
    if (value == "true" || value == "false")
    {
        return value == "true" ? "yes" : "no";
    }
    return std::string(value);
}

} // namespace

std::string ProfileTable()
{
    std::string text =
        "# The two producers\n\n"
        "`qvr_proxygentl.cti` and `qvr_anygentl.cti` share their code. They differ in these values, "
        "and in the parts that\n`src/producers` puts together. `bin/profile_table` prints this "
        "page from `src/profile/profile_fields.inc`; a test compares the two.\n";
#define PROFILE_GROUP(Type, member, about)                                                                   \
    text += fmt::format(                                                                                     \
        "\n## {}\n\n{}.\n\n| field | qvr_proxygentl | qvr_anygentl | decides |\n|---|---|---|---|\n",        \
        #member, about);
#define PROFILE_FIELD(type, name, proxy, any, about)                                                         \
    text += fmt::format("| `{}` | {} | {} | {} |\n", #name, Shown(#proxy), Shown(#any), about);
#define PROFILE_GROUP_END
#include "profile/profile_fields.inc"
#undef PROFILE_GROUP
#undef PROFILE_FIELD
#undef PROFILE_GROUP_END
    return text;
}

} // namespace GenTL::internal
