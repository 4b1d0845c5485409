// The four orders in which consumers in the field start and stop.

#include "check/acquisition.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr int framesPerRound = 3;
constexpr int rounds = 2;

/// What to do when a step fails.
std::string CureOf(StreamStep step)
{
    switch (step)
    {
    case StreamStep::RevokeEach:
    case StreamStep::RevokeByIndex:
        return "let each buffer be revoked once the queues are flushed";
    case StreamStep::StartStream:
        return "start again after a stop, with the buffers that are announced";
    case StreamStep::Queue:
        return "let a buffer be queued that was discarded, delivered or just announced";
    case StreamStep::KillEvent:
        return "end the wait with GC_ERR_ABORT";
    default:
        return fmt::format("let {} succeed at this place", SteppedStream::NameOf(step));
    }
}

bool TakeAll(Bench &bench, Acquisition &acquisition, const StopOrder &order,
             std::span<const StreamStep> steps, const std::string &when)
{
    const auto take = [&](StreamStep step)
    {
        return bench.trial.Must(fmt::format("{}{}", SteppedStream::NameOf(step), when),
                                acquisition.Take(step),
                                {Level::Broken, std::string(order.consumer), CureOf(step)});
    };
    return std::ranges::all_of(steps, take);
}

bool TakeFrame(Bench &bench, Acquisition &acquisition, const StopOrder &order, const std::string &when)
{
    const auto frame = acquisition.NextFrame();
    if (!frame)
    {
        bench.trial.Add("EventGetData" + when, "gives no frame within 5 s",
                        {Level::Broken, std::string(order.consumer),
                         "deliver frames after AcquisitionStart; a camera that waits for a trigger is to "
                         "be set to TriggerMode Off"});
        return false;
    }
    return bench.trial.Must("DSQueueBuffer of a delivered buffer" + when,
                            bench.calls.DSQueueBuffer(acquisition.Running().Stream(), frame->BufferHandle),
                            {Level::Broken, std::string(order.consumer), CureOf(StreamStep::Queue)});
}

bool TakeFrames(Bench &bench, Acquisition &acquisition, const StopOrder &order, const std::string &when)
{
    int taken = 0;
    while (taken < framesPerRound && TakeFrame(bench, acquisition, order, when))
    {
        ++taken;
    }
    return taken == framesPerRound;
}

void RunOrder(Bench &bench, const StopOrder &order)
{
    Acquisition acquisition(bench, buffersOfConsumers);
    for (int round = 0; round < rounds; ++round)
    {
        const std::string when = round == 0 ? "" : " at the second start and stop";
        const bool isDone = TakeAll(bench, acquisition, order, order.start, when) &&
                            TakeFrames(bench, acquisition, order, when) &&
                            TakeAll(bench, acquisition, order, order.stop, when);
        if (!isDone)
        {
            return;
        }
    }
    TakeAll(bench, acquisition, order, order.end, " at the end");
}

/// rc_genicam_api may close the stream after its device.
void StreamClosesAfterDevice(Bench &bench)
{
    auto *const device = bench.session.Device();
    auto *const stream = bench.session.Stream();
    bench.trial.Must("DevClose with an open stream", bench.calls.DevClose(device),
                     {Level::Broken, "rc_genicam_api", "close what is open on the device, too"});
    bench.trial.MustFail("DSClose after DevClose", bench.calls.DSClose(stream), {GC_ERR_INVALID_HANDLE},
                         {Level::WillHurt, "consumers that trust the code", "return GC_ERR_INVALID_HANDLE"});
    bench.session.CloseLibrary();
    bench.trial.Must("GCInitLib after that", bench.calls.GCInitLib(),
                     {Level::Broken, "rc_genicam_api", "forget the device's modules at DevClose"});
    bench.calls.GCCloseLib();
}

} // namespace

ChecksOf OrderChecks()
{
    ChecksOf checks;
    for (const auto &order : StopOrders())
    {
        checks.push_back({"start and stop", fmt::format("the order of {} works, twice", order.consumer),
                          [&order](Bench &bench) { RunOrder(bench, order); }});
    }
    checks.push_back({"start and stop", "a stream may be closed after its device", StreamClosesAfterDevice});
    return checks;
}

} // namespace gentlctl
