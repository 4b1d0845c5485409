#include "check/trial.h"

#include <algorithm>

namespace gentlctl
{

using namespace GenTL;

void Trial::MustFail(const std::string &call, GC_ERROR code, std::initializer_list<GC_ERROR> expected,
                     const Verdict &success)
{
    if (std::ranges::find(expected, code) != expected.end())
    {
        return;
    }
    const auto wanted = CodeName(*expected.begin());
    if (code == GC_ERR_SUCCESS)
    {
        Add(call, fmt::format("succeeds; {} is expected", wanted), success);
        return;
    }
    Add(call, fmt::format("{}; {} is expected", Failure(code), wanted),
        {Level::WillHurt, "consumers that decide by the code, and users who read the wrong reason",
         fmt::format("return {}", wanted)});
}

} // namespace gentlctl
