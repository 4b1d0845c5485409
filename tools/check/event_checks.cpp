// Events: registering, waiting, ending a wait.

#include "check/check.h"
#include "check/info_rules.h"

#include <fmt/format.h>

#include <array>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr uint64_t shortWaitMs = 1;
constexpr uint64_t longWaitMs = 1000;

struct ModuleEvent
{
    const char *call;
    EVENT_TYPE type;
    void *(*handle)(Session &session);
};

const std::array<ModuleEvent, 5> moduleEvents{{
    {"GCRegisterEvent(EVENT_MODULE) on the system", EVENT_MODULE, [](Session &s) { return s.System(); }},
    {"GCRegisterEvent(EVENT_MODULE) on the interface", EVENT_MODULE,
     [](Session &s) { return s.Interface(); }},
    {"GCRegisterEvent(EVENT_MODULE) on the device", EVENT_MODULE, [](Session &s) { return s.Device(); }},
    {"GCRegisterEvent(EVENT_REMOTE_DEVICE) on the device", EVENT_REMOTE_DEVICE,
     [](Session &s) { return s.Device(); }},
    {"GCRegisterEvent(EVENT_MODULE) on the stream", EVENT_MODULE, [](Session &s) { return s.Stream(); }},
}};

constexpr auto registerCall = "GCRegisterEvent(EVENT_NEW_BUFFER)";

/// A stream with a registered event and no frames.
class Registered
{
public:
    explicit Registered(Bench &bench) : m_session(bench.session)
    {
        // An event of before ends with its stream.
        m_session.CloseStream();
        const auto code = bench.calls.GCRegisterEvent(Stream(), EVENT_NEW_BUFFER, &m_event);
        if (code != GC_ERR_SUCCESS)
        {
            throw NotReached(fmt::format("{} {}", registerCall, bench.trial.Failure(code)));
        }
    }
    Registered(const Registered &) = delete;
    Registered &operator=(const Registered &) = delete;
    ~Registered() { m_session.CloseStream(); }

    EVENT_HANDLE Event() const { return m_event; }
    DS_HANDLE Stream() { return m_session.Stream(); }

private:
    Session &m_session;
    EVENT_HANDLE m_event = nullptr;
};

GC_ERROR WaitForEvent(Bench &bench, EVENT_HANDLE event, uint64_t limitMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    return bench.calls.EventGetData(event, &data, &size, limitMs);
}

void NewBufferRegisters(Bench &bench)
{
    bench.session.CloseStream();
    EVENT_HANDLE event = nullptr;
    bench.trial.Must(registerCall,
                     bench.calls.GCRegisterEvent(bench.session.Stream(), EVENT_NEW_BUFFER, &event),
                     {Level::Broken, "every consumer: it learns of no frame",
                      "register EVENT_NEW_BUFFER on an open stream"});
}

void ModuleEventsAreSurvived(Bench &bench)
{
    for (const auto &event : moduleEvents)
    {
        auto *const module = event.handle(bench.session);
        EVENT_HANDLE handle = nullptr;
        const auto code = bench.calls.GCRegisterEvent(module, event.type, &handle);
        if (code == GC_ERR_SUCCESS)
        {
            bench.calls.GCUnregisterEvent(module, event.type);
        }
        else if (code != GC_ERR_NOT_IMPLEMENTED && code != GC_ERR_RESOURCE_IN_USE &&
                 code != GC_ERR_INVALID_PARAMETER)
        {
            bench.trial.Add(event.call, bench.trial.Failure(code),
                            {Level::WillHurt, "Harvesters survives three codes only and ends here",
                             "return GC_ERR_NOT_IMPLEMENTED for events that you do not have"});
        }
    }
}

void RegistersOnce(Bench &bench)
{
    Registered registered(bench);
    EVENT_HANDLE second = nullptr;
    bench.trial.MustFail("the second GCRegisterEvent",
                         bench.calls.GCRegisterEvent(registered.Stream(), EVENT_NEW_BUFFER, &second),
                         {GC_ERR_RESOURCE_IN_USE},
                         {Level::WillHurt, "two parts of a consumer share the frames without knowing",
                          "return GC_ERR_RESOURCE_IN_USE"});
}

void EventInfosFollowTheRules(Bench &bench)
{
    Registered registered(bench);
    CheckInfoRules(bench.trial, EventInfos("EventGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.EventGetInfo(registered.Event(), command, type, buffer, size); });
}

void WaitsEndInTime(Bench &bench)
{
    Registered registered(bench);
    bench.trial.MustFail("EventGetData with a limit of 1 ms and no frame",
                         WaitForEvent(bench, registered.Event(), shortWaitMs), {GC_ERR_TIMEOUT},
                         {Level::Broken, "Harvesters polls with 1 ms, and takes success for a frame",
                          "return GC_ERR_TIMEOUT when the time is over"});
}

void KillEndsOneWait(Bench &bench)
{
    Registered registered(bench);
    const Verdict verdict{Level::Broken, "Aravis waits without limit and never stops",
                          "end the present wait, else the next one, with GC_ERR_ABORT"};
    if (!bench.trial.Must("EventKill", bench.calls.EventKill(registered.Event()), verdict))
    {
        return;
    }
    const auto code = WaitForEvent(bench, registered.Event(), longWaitMs);
    if (code != GC_ERR_ABORT)
    {
        bench.trial.Add("EventKill",
                        fmt::format("does not end the wait: EventGetData gives {}", CodeName(code)), verdict);
    }
}

void UnregistersOnce(Bench &bench)
{
    Registered registered(bench);
    auto *const event = registered.Event();
    bench.trial.Must("GCUnregisterEvent",
                     bench.calls.GCUnregisterEvent(registered.Stream(), EVENT_NEW_BUFFER),
                     {Level::Broken, "rc_genicam_api fails at its stop", "end the event"});
    bench.trial.MustFail("the second GCUnregisterEvent",
                         bench.calls.GCUnregisterEvent(registered.Stream(), EVENT_NEW_BUFFER),
                         {GC_ERR_NOT_AVAILABLE, GC_ERR_INVALID_PARAMETER, GC_ERR_INVALID_HANDLE,
                          GC_ERR_NOT_INITIALIZED, GC_ERR_NOT_IMPLEMENTED},
                         {Level::WillHurt, "consumers that clean up twice", "return GC_ERR_NOT_AVAILABLE"});
    bench.trial.MustFail("EventGetData of an event that has ended", WaitForEvent(bench, event, shortWaitMs),
                         {GC_ERR_INVALID_HANDLE},
                         {Level::WillHurt, "a thread that still waits", "return GC_ERR_INVALID_HANDLE"});
}

} // namespace

ChecksOf EventChecks()
{
    return {
        {"event", "GCRegisterEvent takes EVENT_NEW_BUFFER", NewBufferRegisters},
        {"event", "module events are there or refused as consumers expect", ModuleEventsAreSurvived},
        {"event", "GCRegisterEvent registers once", RegistersOnce},
        {"event", "EventGetInfo answers every command by the rules", EventInfosFollowTheRules},
        {"event", "EventGetData ends in time", WaitsEndInTime},
        {"event", "EventKill ends one wait", KillEndsOneWait},
        {"event", "GCUnregisterEvent ends an event, once", UnregistersOnce},
    };
}

} // namespace gentlctl
