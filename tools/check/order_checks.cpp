// The four orders in which consumers in the field start and stop.

#include "check/acquisition.h"

#include <fmt/format.h>

#include <string>
#include <vector>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr size_t buffersOfConsumers = 5;
constexpr int framesPerRound = 3;
constexpr int rounds = 2;

/// What a consumer does for each acquisition, and once at the end.
struct Order
{
    std::string consumer;
    std::vector<Step> start;
    std::vector<Step> stop;
    std::vector<Step> end;
};

const std::vector<Order> &Orders()
{
    using enum Step;
    static const std::vector<Order> orders{
        {"Harvesters",
         {Register, AnnounceOwn, Queue, Lock, StartStream, StartDevice},
         {StopDevice, Unlock, KillStream, DiscardAll, FlushEvent, DiscardAll, RevokeEach, FlushEvent},
         {Unregister}},
        {"Aravis",
         {AnnounceOwn, StartStream, Register, Queue, StartDevice},
         {WaitInThread, StopDevice, StopStream, KillEvent, Unregister, DiscardAll},
         {RevokeEach}},
        {"rc_genicam_api",
         {Lock, Allocate, Queue, Register, StartStream, StartDevice},
         {StopDevice, StopStream, Unregister, DiscardAll, RevokeByIndex, Unlock},
         {}},
        {"gentlsrc",
         {Allocate, Queue, AllToInput, Register, StartStream, StartDevice},
         {StopDevice, StopStream, InputToOutput, DiscardOutput, CloseStream},
         {}},
    };
    return orders;
}

/// What to do when a step fails.
std::string CureOf(Step step)
{
    switch (step)
    {
    case Step::RevokeEach:
    case Step::RevokeByIndex:
        return "let each buffer be revoked once the queues are flushed";
    case Step::StartStream:
        return "start again after a stop, with the buffers that are announced";
    case Step::Queue:
        return "let a buffer be queued that was discarded, delivered or just announced";
    case Step::KillEvent:
        return "end the wait with GC_ERR_ABORT";
    default:
        return fmt::format("let {} succeed at this place", NameOf(step));
    }
}

bool TakeAll(Bench &bench, Acquisition &acquisition, const Order &order, const std::vector<Step> &steps,
             const std::string &when)
{
    for (const auto step : steps)
    {
        const auto code = acquisition.Take(step);
        if (!bench.trial.Must(NameOf(step) + when, code, {Level::Broken, order.consumer, CureOf(step)}))
        {
            return false;
        }
    }
    return true;
}

bool TakeFrames(Bench &bench, Acquisition &acquisition, const Order &order, const std::string &when)
{
    for (int i = 0; i < framesPerRound; ++i)
    {
        const auto frame = acquisition.NextFrame();
        if (!frame)
        {
            bench.trial.Add("EventGetData" + when, "gives no frame within 5 s",
                            {Level::Broken, order.consumer,
                             "deliver frames after AcquisitionStart; a camera that waits for a trigger is to "
                             "be set to TriggerMode Off"});
            return false;
        }
        if (!bench.trial.Must("DSQueueBuffer of a delivered buffer" + when,
                              bench.calls.DSQueueBuffer(acquisition.Stream(), frame->BufferHandle),
                              {Level::Broken, order.consumer, CureOf(Step::Queue)}))
        {
            return false;
        }
    }
    return true;
}

void RunOrder(Bench &bench, const Order &order)
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
    for (const auto &order : Orders())
    {
        checks.push_back({"start and stop", fmt::format("the order of {} works, twice", order.consumer),
                          [&order](Bench &bench) { RunOrder(bench, order); }});
    }
    checks.push_back({"start and stop", "a stream may be closed after its device", StreamClosesAfterDevice});
    return checks;
}

} // namespace gentlctl
