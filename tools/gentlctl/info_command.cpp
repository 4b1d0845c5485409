#include "gentlctl/commands.h"

#include "consumer/info_answers.h"
#include "consumer/modules.h"
#include "gentlctl/command.h"
#include "gentlctl/info_json.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <exception>
#include <span>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// Infos of a port and of its first description.
Json PortInfos(internal::IGenTLProxy &calls, void *port)
{
    const auto ports = [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.GCGetPortInfo(port, command, type, buffer, size); };
    const auto urls = [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.GCGetPortURLInfo(port, 0, command, type, buffer, size); };
    return {{"port", ToJson(Answers(PortInfoCommands(), ports))},
            {"url", ToJson(Answers(UrlInfoCommands(), urls))}};
}

/// Infos of a module and of its port.
Json ModuleInfos(internal::IGenTLProxy &calls, void *port, std::span<const InfoCommand> commands,
                 const InfoFunction &function)
{
    Json infos{{"module", ToJson(Answers(commands, function))}};
    infos.update(PortInfos(calls, port));
    return infos;
}

/// Infos of the modules that need no device.
Json InfosAboveDevice(Producer &producer, Modules &modules)
{
    auto &calls = producer.Calls();
    auto *system = producer.System();
    auto *interface = modules.Interface();
    return {
        {"system", ModuleInfos(calls, system, SystemInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.TLGetInfo(system, command, type, buffer, size); })},
        {"interface", ModuleInfos(calls, interface, InterfaceInfoCommands(),
                                  [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                                  { calls.IFGetInfo(interface, command, type, buffer, size); })},
    };
}

Json InfosOfDevice(internal::IGenTLProxy &calls, OpenDevice &device)
{
    auto *opened = device.DeviceHandle();
    auto *stream = device.Stream();
    return {
        {"device", ModuleInfos(calls, opened, DeviceInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.DevGetInfo(opened, command, type, buffer, size); })},
        {"remote", PortInfos(calls, device.RemotePortHandle())},
        {"stream", ModuleInfos(calls, stream, StreamInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.DSGetInfo(stream, command, type, buffer, size); })},
    };
}

/// When the device cannot be opened, leaves out its modules and says why.
int Info(const CommonOptions &options)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    auto infos = InfosAboveDevice(producer, modules);
    int status = success;
    try
    {
        infos.update(InfosOfDevice(producer.Calls(), modules.Device()));
    }
    catch (const std::exception &exception)
    {
        Complain(exception.what());
        status = options.device.empty() ? success : failed;
    }
    if (options.json)
    {
        PrintJson(infos);
        return status;
    }
    for (const auto &module : infos.items())
    {
        for (const auto &group : module.value().items())
        {
            Print("{} {}\n", module.key(), group.key());
            PrintTable(group.value(), "    ");
        }
    }
    return status;
}

} // namespace

void DeclareInfo(Commands &commands)
{
    auto &command = commands.Add("info", "Print every info command of every module", Info);
    command.footer("  gentlctl info -d OVRA-M5");
}

} // namespace gentlctl
