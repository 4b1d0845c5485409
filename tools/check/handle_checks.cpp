// Handles that are none: null, closed, of another kind.

#include "check/check.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// Calls a function with null, zero and no memory for all arguments.
template <typename... Arguments>
GC_ERROR CallWithNothing(Calls &calls, GC_ERROR (Calls::*function)(Arguments...))
{
    return (calls.*function)(Arguments{}...);
}

struct NullCall
{
    const char *name;
    GC_ERROR (*call)(Calls &calls);
};

// The functions without arguments have their checks elsewhere. GCGetLastError would replace the error.
constexpr std::array nullCalls{
#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    NullCall{#name, [](Calls &calls) { return CallWithNothing(calls, &Calls::name); }},
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY
};

bool TakesArguments(std::string_view name)
{
    return name != "GCInitLib" && name != "GCCloseLib";
}

void NullsAreRefused(Bench &bench, const NullCall &function)
{
    bench.session.System();
    bench.trial.MustFail(fmt::format("{} with null arguments", function.name), function.call(bench.calls),
                         {GC_ERR_INVALID_HANDLE, GC_ERR_INVALID_PARAMETER, GC_ERR_NOT_IMPLEMENTED},
                         {Level::WillHurt, "consumers do not learn of their mistake",
                          "check handles and pointers before you use them: GC_ERR_INVALID_HANDLE, "
                          "GC_ERR_INVALID_PARAMETER"});
}

const Verdict closesTwice{Level::WillHurt, "consumers that clean up twice close the module of another",
                          "forget a handle when it is closed, and return GC_ERR_INVALID_HANDLE"};

void ModulesCloseOnce(Bench &bench)
{
    auto *const stream = bench.session.Stream();
    auto *const device = bench.session.Device();
    auto *const interface = bench.session.Interface();
    auto *const system = bench.session.System();
    const auto mustFail = [&](const char *call, GC_ERROR code)
    { bench.trial.MustFail(call, code, {GC_ERR_INVALID_HANDLE}, closesTwice); };
    bench.session.CloseStream();
    mustFail("the second DSClose", bench.calls.DSClose(stream));
    bench.session.CloseDevice();
    mustFail("the second DevClose", bench.calls.DevClose(device));
    bench.session.CloseInterface();
    mustFail("the second IFClose", bench.calls.IFClose(interface));
    bench.session.CloseSystem();
    mustFail("the second TLClose", bench.calls.TLClose(system));
}

void ClosedDeviceIsUnknown(Bench &bench)
{
    auto *const remote = bench.session.Remote();
    auto *const device = bench.session.Device();
    bench.session.CloseDevice();
    uint32_t count = 0;
    bench.trial.MustFail("DevGetNumDataStreams of a closed device",
                         bench.calls.DevGetNumDataStreams(device, &count), {GC_ERR_INVALID_HANDLE},
                         closesTwice);
    std::array<uint8_t, 4> bytes{};
    size_t size = bytes.size();
    bench.trial.MustFail("GCReadPort of a closed device",
                         bench.calls.GCReadPort(remote, 0, bytes.data(), &size), {GC_ERR_INVALID_HANDLE},
                         closesTwice);
}

void ForeignHandlesAreRefused(Bench &bench)
{
    auto *const system = bench.session.System();
    uint64_t foreign = 0;
    const auto mustFail = [&](const char *call, GC_ERROR code)
    {
        bench.trial.MustFail(call, code, {GC_ERR_INVALID_HANDLE},
                             {Level::Broken, "consumers with a mistake: the process ends or worse",
                              "look each handle up in a list of what is open"});
    };
    uint32_t count = 0;
    mustFail("TLGetNumInterfaces of an address that is no module",
             bench.calls.TLGetNumInterfaces(&foreign, &count));
    mustFail("IFGetNumDevices of a system", bench.calls.IFGetNumDevices(system, &count));
    mustFail("DSStartAcquisition of a system",
             bench.calls.DSStartAcquisition(system, ACQ_START_FLAGS_DEFAULT, 1));
    mustFail("EventKill of a system", bench.calls.EventKill(system));
}

} // namespace

ChecksOf HandleChecks()
{
    ChecksOf checks{
        {"handles", "a module closes once", ModulesCloseOnce},
        {"handles", "a closed device is unknown", ClosedDeviceIsUnknown},
        {"handles", "what is no module is refused", ForeignHandlesAreRefused},
    };
    for (const auto &function : nullCalls)
    {
        if (TakesArguments(function.name))
        {
            checks.push_back({"handles", fmt::format("{} refuses null", function.name),
                              [&function](Bench &bench) { NullsAreRefused(bench, function); }});
        }
    }
    return checks;
}

} // namespace gentlctl
