// System, interface and device: how they are found, opened and closed.

#include "check/answers.h"
#include "check/check.h"

#include <fmt/format.h>

#include <array>
#include <functional>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr auto unknownId = "no module has this id";
constexpr uint32_t beyondAll = 1000000;
constexpr uint64_t shortLimitMs = 10;

const Verdict acceptsAnything{Level::WillHurt, "users who mistype an id or keep an old one",
                              "look the id up and return GC_ERR_INVALID_ID"};
const Verdict acceptsAnyIndex{Level::Broken, "consumers that count until the error comes",
                              "return GC_ERR_INVALID_INDEX from the number of modules on"};

/// A check that a module opens. What opens it reports the failure by NotReached, which is no finding
/// elsewhere.
Check Opens(const char *area, const char *states, const char *call, void (*open)(Session &session),
            const char *cure)
{
    return {area, states,
            [=](Bench &bench)
            {
                try
                {
                    open(bench.session);
                }
                catch (const NotReached &failure)
                {
                    bench.trial.Add(call, failure.what(), {Level::Broken, "every consumer", cure});
                }
            }};
}

/// A call that is to fail.
struct Attempt
{
    const char *call;
    std::function<GC_ERROR()> run;
};

void MustRefuse(Bench &bench, const Attempt &unknownModule, const Attempt &beyondTheLast)
{
    bench.trial.MustFail(unknownModule.call, unknownModule.run(), {GC_ERR_INVALID_ID}, acceptsAnything);
    bench.trial.MustFail(beyondTheLast.call, beyondTheLast.run(), {GC_ERR_INVALID_INDEX}, acceptsAnyIndex);
}

void SystemOpensOnce(Bench &bench)
{
    bench.session.System();
    TL_HANDLE second = nullptr;
    bench.trial.MustFail("the second TLOpen", bench.calls.TLOpen(&second), {GC_ERR_RESOURCE_IN_USE},
                         {Level::WillHurt, "consumers that close one of the two handles",
                          "return GC_ERR_RESOURCE_IN_USE until TLClose"});
}

void UpdatesWithoutFlag(Bench &bench)
{
    auto *const system = bench.session.System();
    bench.trial.Must("TLUpdateInterfaceList with a null pbChanged",
                     bench.calls.TLUpdateInterfaceList(system, nullptr, shortLimitMs),
                     {Level::Broken, "Aravis, rc_genicam_api and gentlsrc find no camera",
                      "take a null pbChanged for \"does not want to know\""});
    auto *const interface = bench.session.Interface();
    bench.trial.Must("IFUpdateDeviceList with a null pbChanged",
                     bench.calls.IFUpdateDeviceList(interface, nullptr, 100),
                     {Level::Broken, "Aravis, rc_genicam_api and gentlsrc find no camera",
                      "take a null pbChanged for \"does not want to know\""});
}

void UpdatesInShortTime(Bench &bench)
{
    bool8_t changed = 0;
    auto *const system = bench.session.System();
    bench.trial.Must("TLUpdateInterfaceList within 10 ms",
                     bench.calls.TLUpdateInterfaceList(system, &changed, shortLimitMs),
                     {Level::WillHurt, "rc_genicam_api: it allows 10 ms and gives up on any error",
                      "answer with what is known when the time is over, and succeed"});
}

void InterfaceIdsAreKnown(Bench &bench)
{
    auto *const system = bench.session.System();
    IF_HANDLE interface = nullptr;
    size_t size = 0;
    MustRefuse(bench,
               {"TLOpenInterface with an unknown id",
                [&] { return bench.calls.TLOpenInterface(system, unknownId, &interface); }},
               {"TLGetInterfaceID beyond the last interface",
                [&] { return bench.calls.TLGetInterfaceID(system, beyondAll, nullptr, &size); }});
}

void DeviceIdsAreKnown(Bench &bench)
{
    auto *const interface = bench.session.Interface();
    DEV_HANDLE device = nullptr;
    size_t size = 0;
    MustRefuse(bench,
               {"IFOpenDevice with an unknown id", [&]
                { return bench.calls.IFOpenDevice(interface, unknownId, DEVICE_ACCESS_CONTROL, &device); }},
               {"IFGetDeviceID beyond the last device",
                [&] { return bench.calls.IFGetDeviceID(interface, beyondAll, nullptr, &size); }});
}

void DeviceHasNames(Bench &bench)
{
    struct Name
    {
        DEVICE_INFO_CMD command;
        const char *call;
    };
    constexpr std::array names{
        Name{DEVICE_INFO_VENDOR, "IFGetDeviceInfo(DEVICE_INFO_VENDOR)"},
        Name{DEVICE_INFO_MODEL, "IFGetDeviceInfo(DEVICE_INFO_MODEL)"},
        Name{DEVICE_INFO_SERIAL_NUMBER, "IFGetDeviceInfo(DEVICE_INFO_SERIAL_NUMBER)"},
    };
    auto *const interface = bench.session.Interface();
    const auto id = bench.session.Address().deviceId;
    for (const auto &name : names)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        bench.trial.Must(
            name.call,
            bench.calls.IFGetDeviceInfo(interface, id.c_str(), name.command, &type, nullptr, &size),
            {Level::Broken, "Aravis crashes when it lists the devices",
             "answer the device's text before it is opened, an empty one if it has none"});
    }
}

void DeviceOpensWithEachAccess(Bench &bench)
{
    bench.session.CloseDevice();
    auto *const interface = bench.session.Interface();
    const auto id = bench.session.Address().deviceId;
    DEV_HANDLE device = nullptr;
    if (bench.trial.Must("IFOpenDevice with DEVICE_ACCESS_EXCLUSIVE",
                         bench.calls.IFOpenDevice(interface, id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device),
                         {Level::Broken, "Harvesters asks for nothing else", "accept EXCLUSIVE"}))
    {
        bench.calls.DevClose(device);
    }
    const auto code = bench.calls.IFOpenDevice(interface, id.c_str(), DEVICE_ACCESS_READONLY, &device);
    if (code == GC_ERR_SUCCESS)
    {
        bench.calls.DevClose(device);
        return;
    }
    bench.trial.MustFail("IFOpenDevice with DEVICE_ACCESS_READONLY", code, {GC_ERR_NOT_IMPLEMENTED}, {});
}

void DeviceOpensInNewSession(Bench &bench)
{
    const auto address = bench.session.Address();
    bench.session.CloseSystem();
    auto *const system = bench.session.System();
    const Verdict verdict{Level::WillHurt,
                          "Aravis lists in one session and opens in the next, without update",
                          "look an unknown id up by an update of your own, once"};
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    if (!bench.trial.Must("TLOpenInterface in a new session, without update",
                          bench.calls.TLOpenInterface(system, address.interfaceId.c_str(), &interface),
                          verdict))
    {
        return;
    }
    if (bench.trial.Must(
            "IFOpenDevice in a new session, without update",
            bench.calls.IFOpenDevice(interface, address.deviceId.c_str(), DEVICE_ACCESS_CONTROL, &device),
            verdict))
    {
        bench.calls.DevClose(device);
    }
    bench.calls.IFClose(interface);
}

void DeviceIsTakenOnce(Bench &bench)
{
    auto *const interface = bench.session.Interface();
    bench.session.Device();
    const auto id = bench.session.Address().deviceId;
    DEV_HANDLE second = nullptr;
    bench.trial.MustFail(
        "IFOpenDevice of an open device",
        bench.calls.IFOpenDevice(interface, id.c_str(), DEVICE_ACCESS_CONTROL, &second),
        {GC_ERR_RESOURCE_IN_USE, GC_ERR_ACCESS_DENIED},
        {Level::WillHurt, "two users of one camera disturb each other", "return GC_ERR_RESOURCE_IN_USE"});
}

void StreamIdsAreKnown(Bench &bench)
{
    bench.session.CloseStream();
    auto *const device = bench.session.Device();
    DS_HANDLE stream = nullptr;
    size_t size = 0;
    MustRefuse(bench,
               {"DevOpenDataStream with an unknown id",
                [&] { return bench.calls.DevOpenDataStream(device, unknownId, &stream); }},
               {"DevGetDataStreamID beyond the last stream",
                [&] { return bench.calls.DevGetDataStreamID(device, beyondAll, nullptr, &size); }});
}

template <typename Function>
void MustLeadTo(Bench &bench, const std::string &call, Function parentOf, void *wanted)
{
    void *parent = nullptr;
    const Verdict verdict{Level::WillHurt, "consumers that walk from a module to its parent",
                          "answer the handle that the parent was opened with"};
    if (bench.trial.Must(call, parentOf(&parent), verdict) && parent != wanted)
    {
        bench.trial.Add(call, "gives another handle", verdict);
    }
}

void ModulesKnowTheirParents(Bench &bench)
{
    auto &calls = bench.calls;
    auto *const stream = bench.session.Stream();
    auto *const device = bench.session.Device();
    auto *const interface = bench.session.Interface();
    MustLeadTo(
        bench, "DSGetParentDev", [&](void **parent) { return calls.DSGetParentDev(stream, parent); }, device);
    MustLeadTo(
        bench, "DevGetParentIF", [&](void **parent) { return calls.DevGetParentIF(device, parent); },
        interface);
    MustLeadTo(
        bench, "IFGetParentTL", [&](void **parent) { return calls.IFGetParentTL(interface, parent); },
        bench.session.System());
}

} // namespace

ChecksOf ModuleChecks()
{
    return {
        Opens(
            "system", "it opens", "TLOpen", [](Session &session) { session.System(); },
            "make TLOpen succeed after GCInitLib"),
        {"system", "a second TLOpen is refused", SystemOpensOnce},
        {"system", "updates succeed within 10 ms", UpdatesInShortTime},
        {"system", "unknown interfaces are refused", InterfaceIdsAreKnown},
        Opens(
            "interface", "it opens, and has a device that can be opened", "TLOpenInterface",
            [](Session &session) { session.Interface(); },
            "connect a camera and let `gentlctl list` show it; `gentlctl doctor` looks for the reason"),
        {"interface", "updates need no pbChanged", UpdatesWithoutFlag},
        {"interface", "unknown devices are refused", DeviceIdsAreKnown},
        {"interface", "each device has vendor, model and serial number", DeviceHasNames},
        Opens(
            "device", "it opens", "IFOpenDevice", [](Session &session) { session.Device(); },
            "make IFOpenDevice with DEVICE_ACCESS_CONTROL succeed for a device of status READWRITE"),
        {"device", "it opens exclusively, and read only or not at all", DeviceOpensWithEachAccess},
        {"device", "it opens in a new session without update", DeviceOpensInNewSession},
        {"device", "it opens once at a time", DeviceIsTakenOnce},
        {"device", "unknown streams are refused", StreamIdsAreKnown},
        Opens(
            "stream", "it opens", "DevOpenDataStream", [](Session &session) { session.Stream(); },
            "make DevOpenDataStream succeed with the id of DevGetDataStreamID"),
        {"stream", "each module knows its parent", ModulesKnowTheirParents},
    };
}

} // namespace gentlctl
