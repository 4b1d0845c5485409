// Every info command of every module.

#include "check/check.h"
#include "check/info_rules.h"

#include <fmt/format.h>

namespace gentlctl
{

using namespace GenTL;

namespace
{

void OfLibrary(Bench &bench)
{
    bench.session.Library();
    CheckInfoRules(bench.trial, SystemInfos("GCGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.GCGetInfo(command, type, buffer, size); });
}

void OfSystem(Bench &bench)
{
    auto *const system = bench.session.System();
    CheckInfoRules(bench.trial, SystemInfos("TLGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.TLGetInfo(system, command, type, buffer, size); });
}

void OfListedInterface(Bench &bench)
{
    auto *const system = bench.session.System();
    const auto id = bench.session.Address().interfaceId;
    CheckInfoRules(bench.trial, InterfaceInfos("TLGetInterfaceInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size) {
                       return bench.calls.TLGetInterfaceInfo(system, id.c_str(), command, type, buffer, size);
                   });
}

void OfInterface(Bench &bench)
{
    auto *const interface = bench.session.Interface();
    CheckInfoRules(bench.trial, InterfaceInfos("IFGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.IFGetInfo(interface, command, type, buffer, size); });
}

void OfListedDevice(Bench &bench)
{
    auto *const interface = bench.session.Interface();
    const auto id = bench.session.Address().deviceId;
    CheckInfoRules(bench.trial, DeviceInfos("IFGetDeviceInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size) {
                       return bench.calls.IFGetDeviceInfo(interface, id.c_str(), command, type, buffer, size);
                   });
}

void OfDevice(Bench &bench)
{
    auto *const device = bench.session.Device();
    CheckInfoRules(bench.trial, DeviceInfos("DevGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.DevGetInfo(device, command, type, buffer, size); });
}

void OfStream(Bench &bench)
{
    auto *const stream = bench.session.Stream();
    CheckInfoRules(bench.trial, StreamInfos("DSGetInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.DSGetInfo(stream, command, type, buffer, size); });
}

} // namespace

ChecksOf InfoChecks()
{
    const auto answers = [](const char *function)
    { return fmt::format("{} answers every command by the rules", function); };
    return {
        {"library", answers("GCGetInfo"), OfLibrary},
        {"system", answers("TLGetInfo"), OfSystem},
        {"system", answers("TLGetInterfaceInfo"), OfListedInterface},
        {"interface", answers("IFGetInfo"), OfInterface},
        {"interface", answers("IFGetDeviceInfo"), OfListedDevice},
        {"device", answers("DevGetInfo"), OfDevice},
        {"stream", answers("DSGetInfo"), OfStream},
    };
}

} // namespace gentlctl
