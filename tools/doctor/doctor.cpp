#include "doctor/doctor.h"

#include <algorithm>
#include <iterator>

namespace gentlctl
{
namespace
{

constexpr Findings (*probes[])(const Surroundings &) = {
    ProbePath, ProbeProducers, ProbeLowerProducers, ProbeVisionLibrary,
    ProbeUsb,  ProbeNetwork,   ProbeLimits,         ProbeProcessor,
};

} // namespace

Findings Examine(const Surroundings &surroundings)
{
    Findings findings;
    for (const auto &probe : probes)
    {
        std::ranges::move(probe(surroundings), std::back_inserter(findings));
    }
    return findings;
}

} // namespace gentlctl
