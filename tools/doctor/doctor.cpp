#include "doctor/doctor.h"

#include <algorithm>
#include <iterator>

namespace gentlctl
{
namespace
{

constexpr Findings (*probes[])(const Surroundings &) = {
    ProbeNamedProducer, ProbePath,    ProbeProducers, ProbeLowerProducers, ProbeVisionLibrary,
    ProbeUsb,           ProbeNetwork, ProbeLimits,    ProbeProcessor,
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

int ExitStatusOf(const Findings &findings)
{
    constexpr int broken = 1;
    constexpr int hurts = 3;
    const auto worst = WorstOf(findings);
    return worst == Level::Broken ? broken : worst == Level::WillHurt ? hurts : 0;
}

} // namespace gentlctl
