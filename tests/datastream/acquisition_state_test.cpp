#include "datastream/acquisition_state.h"

#include <gtest/gtest.h>

#include <array>

namespace GenTL::internal
{
namespace
{

using State = AcquisitionState;
using enum AcquisitionStep;

constexpr std::array allStates{State::Idle,      State::Running, State::Stopping,
                               State::Finishing, State::Killed,  State::StartedAfterKill};

/// A step, and the state that it leads to from each of `allStates`.
struct StepCase
{
    AcquisitionStep step;
    std::array<std::optional<State>, allStates.size()> expected;
};

constexpr std::nullopt_t noStep = std::nullopt;

const std::array allSteps{
    StepCase{Start, {State::Running, noStep, noStep, noStep, State::StartedAfterKill, noStep}},
    StepCase{Stop, {noStep, State::Stopping, noStep, noStep, noStep, State::Killed}},
    StepCase{LastFrame, {noStep, State::Finishing, noStep, noStep, noStep, noStep}},
    StepCase{End, {noStep, noStep, State::Idle, State::Idle, noStep, noStep}},
    StepCase{Kill,
             {State::Killed, State::Killed, State::Killed, State::Killed, State::Killed, State::Killed}},
};

TEST(AcquisitionState, MovesAlongItsGraphOnly)
{
    for (const auto &[step, expected] : allSteps)
    {
        for (size_t i = 0; i < allStates.size(); ++i)
        {
            EXPECT_EQ(StateAfter(allStates[i], step), expected[i]) << "state " << i << ", step " << int(step);
        }
    }
}

TEST(AcquisitionState, RunsFromTheStartToTheStopKillOrLastFrame)
{
    constexpr std::array<bool, allStates.size()> running{false, true, false, false, false, true};
    constexpr std::array<bool, allStates.size()> killed{false, false, false, false, true, true};
    for (size_t i = 0; i < allStates.size(); ++i)
    {
        EXPECT_EQ(IsRunning(allStates[i]), running[i]) << "state " << i;
        EXPECT_EQ(IsKilled(allStates[i]), killed[i]) << "state " << i;
    }
}

} // namespace
} // namespace GenTL::internal
