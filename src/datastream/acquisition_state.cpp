#include "datastream/acquisition_state.h"

#include <algorithm>
#include <array>

namespace GenTL::internal
{

namespace
{

struct Edge
{
    AcquisitionState from;
    AcquisitionStep step;
    AcquisitionState to;
};

constexpr std::array acquisitionGraph{
    Edge{AcquisitionState::Idle, AcquisitionStep::Start, AcquisitionState::Running},
    Edge{AcquisitionState::Running, AcquisitionStep::Stop, AcquisitionState::Stopping},
    Edge{AcquisitionState::Stopping, AcquisitionStep::End, AcquisitionState::Idle},
    Edge{AcquisitionState::Running, AcquisitionStep::LastFrame, AcquisitionState::Finishing},
    Edge{AcquisitionState::Finishing, AcquisitionStep::End, AcquisitionState::Idle},
    Edge{AcquisitionState::Killed, AcquisitionStep::Start, AcquisitionState::StartedAfterKill},
    Edge{AcquisitionState::StartedAfterKill, AcquisitionStep::Stop, AcquisitionState::Killed},
};

} // namespace

std::optional<AcquisitionState> StateAfter(AcquisitionState state, AcquisitionStep step)
{
    if (step == AcquisitionStep::Kill)
    {
        return AcquisitionState::Killed;
    }
    const auto *const edge = std::ranges::find_if(acquisitionGraph, [&](const Edge &known)
                                                  { return known.from == state && known.step == step; });
    return edge != acquisitionGraph.end() ? std::optional(edge->to) : std::nullopt;
}

bool IsRunning(AcquisitionState state)
{
    return state == AcquisitionState::Running || state == AcquisitionState::StartedAfterKill;
}

bool IsKilled(AcquisitionState state)
{
    return state == AcquisitionState::Killed || state == AcquisitionState::StartedAfterKill;
}

} // namespace GenTL::internal
